#include "InventoryReader.h"

#include "DeviceInventoryInfo.h"
#include "MemoryFile.h"

#include <memory>
#include <string>

namespace tools {

Result<std::vector<CDeviceInfo>> readInventory(std::string_view text) {
    const MemoryFile file(text);
    if (!file.isUsable()) {
        return Problem{"no file in memory to hand the report to its reader"};
    }
    CDeviceInventoryInfo inventory(file.path());
    std::vector<CDeviceInfo> devices;
    for (CDeviceInfo* record : inventory.GetDeviceInfo()) {
        devices.push_back(*std::unique_ptr<CDeviceInfo>(record));
    }
    std::string message;
    if (inventory.GetInventoryStatus(message)) {
        // The records of a success keep the status of new ones.
        for (CDeviceInfo& device : devices) {
            device.setStatus(0);
        }
    }
    return devices;
}

}  // namespace tools
