#pragma once

#include "DeviceInfo.h"

#include <string>
#include <vector>

/** A writer of device records as one XML document. */
class IDeviceXMLWriter {
public:
    virtual ~IDeviceXMLWriter() = default;

    /**
     * Builds the document of the records and writes it to a file, emptying an existing one.
     *
     * @param devices   the records; they stay the caller's
     * @param fileName  the file; empty to write none
     * @return false only if opening the file raised an exception. A file that cannot be opened otherwise is
     *         not reported
     */
    virtual bool GetXML(const std::vector<CDeviceInfo*>& devices, std::string fileName) = 0;
};
