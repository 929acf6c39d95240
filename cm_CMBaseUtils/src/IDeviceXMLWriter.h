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
     * @param devices   the records, only read; they stay the caller's
     * @param fileName  the file; empty writes none
     * @return false only when opening the file raised an exception. A file that merely cannot be opened is
     *         not reported
     */
    virtual bool GetXML(const std::vector<CDeviceInfo*>& devices, std::string fileName) = 0;
};
