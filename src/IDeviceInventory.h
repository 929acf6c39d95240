#pragma once

#include "DeviceInfo.h"

#include <vector>

/** An inventory of devices, with a record of each one. */
class IDeviceInventory {
public:
    virtual ~IDeviceInventory() = default;

    /** Finds the devices. Returns a record of each one, including failures; the caller owns the records. */
    virtual std::vector<CDeviceInfo*> GetInventory() = 0;
};
