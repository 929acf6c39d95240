#pragma once

#include "DeviceInfo.h"

#include <vector>

/** An update of the firmware of devices, with a record of each outcome. */
class IDeviceExecution {
public:
    virtual ~IDeviceExecution() = default;

    /** Updates the devices. Returns a record of each one, including failures; the caller owns the records. */
    virtual std::vector<CDeviceInfo*> Update() = 0;
};
