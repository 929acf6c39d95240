#include "Report.h"

#include "DocumentReaders.h"

namespace qrxinspect {

std::string operationOf(const Report& report) {
    return report.kind == nullptr ? "" : report.kind->operation;
}

std::string nameOf(Report::Outcome outcome) {
    switch (outcome) {
        case Report::Outcome::Success:
            return "success";
        case Report::Outcome::NotTried:
            return "not tried";
        case Report::Outcome::NotReached:
            return "not reached";
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

}  // namespace qrxinspect
