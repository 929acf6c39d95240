#include "DocumentReaders.h"

#include "DeviceInventoryInfo.h"
#include "XmlDocument.h"
#include "XmlReading.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <utility>

namespace qrxinspect {
namespace {

/** The text of the status's first element, such as Message, or else its own. */
std::string messageOf(const xmlNode& status) {
    const std::vector<const xmlNode*> elements = childElements(status);
    return contentOf(elements.empty() ? status : *elements.front());
}

/** Takes outcome and message from a status element. */
void readStatus(const xmlNode& status, CDeviceInfo& device) {
    const std::string result = attributeOf(status, "result");
    device.setStatus(xmlStrcasecmp(asXmlChars(result.c_str()), asXmlChars("true")) == 0 ? 0 : 1);
    device.setErrorMsg(messageOf(status));
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

/** Reads all statuses at and below an element, up to the first failure. @return whether there is one */
bool readStatuses(const xmlNode& top, CDeviceInfo& device) {
    for (const xmlNode* status : elementsNamed(top, "SPStatus")) {
        readStatus(*status, device);
        if (!isSuccess(device)) {
            return true;
        }
    }
    return false;
}

/** A device without a status keeps the status of a new record, a failure: only "true" is a success. */
CDeviceInfo readDevice(const xmlNode& element) {
    CDeviceInfo device;
    readIdentity(element, device);
    for (const xmlNode* application : childElements(element, "Application")) {
        device.setComponentType(attributeOf(*application, "componentType"));
        device.setVersion(attributeOf(*application, "version"));
        if (readStatuses(*application, device)) {
            return device;
        }
    }
    readStatuses(element, device);  // a status may stand outside every application
    return device;
}

/** The message of the first failed status anywhere in a document. */
std::optional<std::string> failureIn(const xmlDoc& document) {
    for (const xmlNode* status : elementsNamed(*xmlDocGetRootElement(&document), "SPStatus")) {
        if (xmlStrcasecmp(asXmlChars(attributeOf(*status, "result").c_str()), asXmlChars("false")) == 0) {
            return messageOf(*status);
        }
    }
    return std::nullopt;
}

/**
 * The base utilities' own reader finds the devices; it does not see a failed status below one. A failure in
 * the document is one of all its devices.
 */
void readInventory(XmlDocPtr document, Report& report) {
    const std::optional<std::string> failure = failureIn(*document);
    CDeviceInventoryInfo inventory(std::move(document));
    for (CDeviceInfo* record : inventory.GetDeviceInfo()) {
        report.devices.push_back(*std::unique_ptr<CDeviceInfo>(record));
    }
    if (failure && report.devices.empty()) {
        report.devices.emplace_back();
    }
    for (CDeviceInfo& device : report.devices) {
        // The reader leaves the status of a successful record as a new one has it, a failure.
        device.setStatus(failure ? 1 : 0);
        device.setErrorMsg(failure.value_or(""));
    }
}

void readUpdate(XmlDocPtr document, Report& report) {
    for (const xmlNode* element : childElements(*xmlDocGetRootElement(document.get()))) {
        if (isNamed(*element, "Device")) {
            report.devices.push_back(readDevice(*element));
        } else if (isNamed(*element, "RebootRequired")) {
            report.rebootRequired = report.rebootRequired || contentOf(*element) == "1";
        } else {
            for (const xmlNode* status : elementsNamed(*element, "SPStatus")) {
                CDeviceInfo outcome;
                readStatus(*status, outcome);
                if (!isSuccess(outcome)) {  // a success that belongs to no device says nothing
                    report.devices.push_back(outcome);
                }
            }
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
