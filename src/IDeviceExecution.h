#pragma once

#include "DeviceInfo.h"

#include <vector>

/** An update: gives devices new firmware and records each outcome. */
class IDeviceExecution {
public:
    virtual ~IDeviceExecution() = default;

    /** The records of the devices that were to be updated, failed ones among them; the records pass to the
     *  caller. */
    virtual std::vector<CDeviceInfo*> Update() = 0;
};
