#include "DocumentReaders.h"

#include "DeviceInventoryInfo.h"
#include "XmlDocument.h"
#include "XmlReading.h"

#include <algorithm>
#include <array>
#include <memory>
#include <utility>

namespace qrxinspect {
namespace {

/** Takes outcome and message from a status element; its first child holds the message. */
void readStatus(const xmlNode& status, CDeviceInfo& device) {
    const std::string result = attributeOf(status, "result");
    device.setStatus(xmlStrcasecmp(asXmlChars(result.c_str()), asXmlChars("true")) == 0 ? 0 : 1);
    if (status.children != nullptr) {
        device.setErrorMsg(contentOf(*status.children));
    }
}

void readIdentity(const xmlNode& element, CDeviceInfo& device) {
    device.setDeviceName(attributeOf(element, "display"));
    device.setComponentID(attributeOf(element, "componentID"));
    if (!device.getComponentID().empty()) {
        device.setDeviceType(CDeviceInfo::NON_PCI_DEVICE);
        return;
    }
    SPCIInfo pci;
    pci.vendorID = attributeOf(element, "vendorID");
    pci.deviceID = attributeOf(element, "deviceID");
    pci.subVendorID = attributeOf(element, "subVendorID");
    pci.subDeviceID = attributeOf(element, "subDeviceID");
    device.setPCIInfo(pci);
    device.setDeviceType(CDeviceInfo::PCI_DEVICE);
}

/** A device without a status keeps the status of a new record, a failure: only "true" is a success. */
CDeviceInfo readDevice(const xmlNode& element) {
    CDeviceInfo device;
    readIdentity(element, device);
    for (const xmlNode* application : childElements(element, "Application")) {
        device.setComponentType(attributeOf(*application, "componentType"));
        device.setVersion(attributeOf(*application, "version"));
        for (const xmlNode* status : childElements(*application, "SPStatus")) {
            readStatus(*status, device);
            if (!isSuccess(device)) {
                return device;
            }
        }
    }
    return device;
}

/** The base utilities' own reader decides. A failure in the document is one of all its devices. */
void readInventory(XmlDocPtr document, Report& report) {
    CDeviceInventoryInfo inventory(std::move(document));
    for (CDeviceInfo* record : inventory.GetDeviceInfo()) {
        report.devices.push_back(*std::unique_ptr<CDeviceInfo>(record));
    }
    std::string message;
    if (inventory.GetInventoryStatus(message)) {
        // The reader leaves the status of a successful record as a new one has it, a failure.
        for (CDeviceInfo& device : report.devices) {
            device.setStatus(0);
        }
    }
}

void readUpdate(XmlDocPtr document, Report& report) {
    for (const xmlNode* element : childElements(*xmlDocGetRootElement(document.get()))) {
        if (isNamed(*element, "Device")) {
            report.devices.push_back(readDevice(*element));
        } else if (isNamed(*element, "SPStatus")) {
            CDeviceInfo failure;
            readStatus(*element, failure);
            report.devices.push_back(failure);
        } else if (isNamed(*element, "RebootRequired")) {
            report.rebootRequired = report.rebootRequired || contentOf(*element) == "1";
        }
    }
}

constexpr std::array kKinds{
    ReportKind{"SVMInventory", "inventory", "Inventory", readInventory},
    ReportKind{"SVMExecution", "update", "Update", readUpdate},
};

}  // namespace

std::span<const ReportKind> reportKinds() {
    return kKinds;
}

const ReportKind* kindWithRoot(std::string_view rootElement) {
    const auto kind = std::find_if(kKinds.begin(), kKinds.end(),
                                   [&](const ReportKind& row) { return row.rootElement == rootElement; });
    return kind == kKinds.end() ? nullptr : &*kind;
}

}  // namespace qrxinspect
