#include "ExecutionReader.h"

#include "XmlDocument.h"
#include "XmlReading.h"

namespace tools {
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

}  // namespace

void readExecution(const xmlNode& root, Report& report) {
    for (const xmlNode* element : childElements(root)) {
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

}  // namespace tools
