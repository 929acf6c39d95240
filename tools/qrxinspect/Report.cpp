#include "Report.h"

namespace tools {

std::string nameOf(Report::Operation operation) {
    switch (operation) {
        case Report::Operation::Inventory:
            return "inventory";
        case Report::Operation::Update:
            return "update";
        case Report::Operation::Unknown:
            break;
    }
    return "";
}

std::string nameOf(Report::Outcome outcome) {
    switch (outcome) {
        case Report::Outcome::Success:
            return "success";
        case Report::Outcome::Failure:
            return "failure";
        case Report::Outcome::Damaged:
            return "damaged";
        case Report::Outcome::Unreadable:
            break;
    }
    return "unreadable";
}

bool isSuccess(const CDeviceInfo& device) {
    return device.getStatus() == 0;
}

std::string pciIdOf(const SPCIInfo& pci) {
    return pci.vendorID + ":" + pci.deviceID + ":" + pci.subVendorID + ":" + pci.subDeviceID;
}

std::string idOf(const CDeviceInfo& device) {
    return device.getDeviceType() == CDeviceInfo::PCI_DEVICE ? pciIdOf(device.getPCIInfo())
                                                             : device.getComponentID();
}

}  // namespace tools
