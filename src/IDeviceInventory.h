#pragma once

#include "DeviceInfo.h"

#include <vector>

/** An inventory: finds devices and describes each in a record. */
class IDeviceInventory {
public:
    virtual ~IDeviceInventory() = default;

    /** The records of the devices found, failed ones among them; the records pass to the caller. */
    virtual std::vector<CDeviceInfo*> GetInventory() = 0;
};
