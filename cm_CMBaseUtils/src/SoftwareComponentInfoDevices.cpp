#include "LogSource.h"
#include "SoftwareComponentInfo.h"
#include "XPathQuery.h"
#include "XmlNodes.h"
#include "XmlText.h"

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/SoftwareComponentInfo");

constexpr std::size_t kIdWidth = 4;

void padWithZeros(std::string& id) {
    if (!id.empty() && id.size() < kIdWidth) {
        id.insert(0, kIdWidth - id.size(), '0');
    }
}

/** An id that the element lacks stays as it is: padded before, or still empty. */
void readPaddedIds(const xmlNode* pciInfo, SPCIInfo& device) {
    readPciIds(pciInfo, device);
    padWithZeros(device.deviceID);
    padWithZeros(device.subDeviceID);
    padWithZeros(device.vendorID);
    padWithZeros(device.subVendorID);
}

/** Replaces the name by that of the first Display after the PCIInfo that has a text. */
void readMarketingName(const xmlNode* pciInfo, SPCIInfo& device) {
    for (xmlNode* display = findElement(pciInfo->next, "Display"); display != nullptr;
         display = findElement(display->next, "Display")) {
        debugLog(
            "CSoftwareComponentInfo::GetSupportedDevices() Found a Display element under Device element");
        if (const xmlChar* name = firstChildText(display)) {
            device.marketingName = asChars(name);
            debugLog(
                {"CSoftwareComponentInfo::GetSupportedDevices() Got the marketing name/Display name for a "
                 "PCI Device as ",
                 device.marketingName});
            return;
        }
    }
}

/** Adds each PCI identity of the device. current is the one before, which fills what the next one lacks. */
void addIdentities(const xmlNode* device, SPCIInfo& current, std::vector<SPCIInfo>& supported) {
    debugLog("CSoftwareComponentInfo::GetSupportedDevices() Finding the Component ID and PCI Info");
    current.componentID = textOrEmpty(attributeText(device, "componentID"));
    for (const xmlNode* pciInfo = findElement(device->children, "PCIInfo"); pciInfo != nullptr;
         pciInfo = findElement(pciInfo->next, "PCIInfo")) {
        debugLog("CSoftwareComponentInfo::GetSupportedDevices() Found a PCI Device");
        readPaddedIds(pciInfo, current);
        readMarketingName(pciInfo, current);
        supported.push_back(current);
    }
}

bool sameIds(const SPCIInfo& one, const SPCIInfo& other) {
    return equalsIgnoringCase(one.deviceID, other.deviceID) &&
           equalsIgnoringCase(one.subDeviceID, other.subDeviceID) &&
           equalsIgnoringCase(one.vendorID, other.vendorID) &&
           equalsIgnoringCase(one.subVendorID, other.subVendorID);
}

}  // namespace

std::vector<SPCIInfo> CSoftwareComponentInfo::GetSupportedDevices() {
    debugLog("CSoftwareComponentInfo::GetSupportedDevices() Entering");
    std::vector<SPCIInfo> supported;
    const XPathObjectPtr devices = ParseXmlUsingXpath(kDevicePath);
    if (!devices) {
        debugLog("CSoftwareComponentInfo::GetSupportedDevices() Error during calculating xpath expression");
        debugLog("CSoftwareComponentInfo::GetSupportedDevices() Exiting");
        return supported;
    }
    debugLog("CSoftwareComponentInfo::GetSupportedDevices() Found Some Device Nodes");
    supported.reserve(nodesOf(devices).size());
    SPCIInfo current;  // one for all devices: what an element lacks carries over
    for (const xmlNode* device : nodesOf(devices)) {
        addIdentities(device, current, supported);
    }
    debugLog("CSoftwareComponentInfo::GetSupportedDevices() Exiting");
    return supported;
}

std::string CSoftwareComponentInfo::getMarketingNameForPCIDevice(const SPCIInfo& device) {
    debugLog("CSoftwareComponentInfo::getMarketingNameForPCIDevice() Entering");
    std::string name;
    for (const SPCIInfo& supported : GetSupportedDevices()) {
        debugLog("CSoftwareComponentInfo::getMarketingNameForPCIDevice() Finding a match with PCI Device");
        if (sameIds(device, supported)) {
            name = supported.marketingName;
            debugLog(
                "CSoftwareComponentInfo::getMarketingNameForPCIDevice() Found a match with PCI Devices "
                "from package.xml");
        }
    }
    debugLog("CSoftwareComponentInfo::getMarketingNameForPCIDevice() Exiting");
    return name;
}
