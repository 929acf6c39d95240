#include "LogSource.h"
#include "SoftwareComponentInfo.h"
#include "XmlReading.h"

#include <strings.h>

#include <algorithm>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/SoftwareComponentInfo");

/** PCI ids are 16-bit numbers: four hexadecimal digits. */
constexpr std::size_t kIdWidth = 4;

void padWithZeros(std::string& id) {
    if (!id.empty() && id.size() < kIdWidth) {
        id.insert(0, kIdWidth - id.size(), '0');
    }
}

/** Ids that the element lacks keep their value: padded earlier, or still empty. */
void readPaddedIds(const xmlNode* pciInfo, SPCIInfo& device) {
    readPciIds(pciInfo, device);
    padWithZeros(device.deviceID);
    padWithZeros(device.subDeviceID);
    padWithZeros(device.vendorID);
    padWithZeros(device.subVendorID);
}

/** Takes the name from the first Display after the PCIInfo that has a text. */
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

/** Adds each PCI identity of the device. current holds the previous identity, which supplies missing values.
 */
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

bool equalsIgnoringCase(const std::string& one, const std::string& other) {
    return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}

bool sameIds(const SPCIInfo& one, const SPCIInfo& other) {
    return equalsIgnoringCase(one.deviceID, other.deviceID) &&
           equalsIgnoringCase(one.subDeviceID, other.subDeviceID) &&
           equalsIgnoringCase(one.vendorID, other.vendorID) &&
           equalsIgnoringCase(one.subVendorID, other.subVendorID);
}

/** The text of the device's first Display that has a text, or null. */
const xmlChar* displayTextOf(const xmlNode* device) {
    for (const xmlNode* display = findElement(device->children, "Display"); display != nullptr;
         display = findElement(display->next, "Display")) {
        debugLog("GetCompIDMarkNameInfo() Found a Display element under Device element");
        if (const xmlChar* text = firstChildText(display)) {
            return text;
        }
    }
    return nullptr;
}

/** Whether the device's very first node is a Display; even a comment before it counts. */
bool startsWithDisplay(const xmlNode* device) {
    return device->children != nullptr && isElementNamed(device->children, "Display");
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
    SPCIInfo current;  // shared by all devices, so that missing values carry over
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

std::map<std::string, std::string> CSoftwareComponentInfo::getCompIDMarkNameInfo() {
    debugLog("Entering CSoftwareComponentInfo::GetCompIDMarkNameInfo()");
    std::map<std::string, std::string> names;
    if (const XPathObjectPtr devices = ParseXmlUsingXpath()) {
        for (const xmlNode* device : nodesOf(devices)) {
            const std::string componentID = textOrEmpty(attributeText(device, "componentID"));
            debugLog({"GetCompIDMarkNameInfo() Found the Component ID as ", componentID});
            debugLog({"GetCompIDMarkNameInfo() Finding the Marketing name for device with component id ",
                      componentID});
            if (const xmlChar* name = displayTextOf(device)) {
                debugLog(
                    {"GetCompIDMarkNameInfo() Got the marketing name/Display name for a Non-PCI Device "
                     "with Component ID  ",
                     componentID, " as ", asChars(name)});
                names[componentID] = asChars(name);
            }
        }
    }
    debugLog("Leaving CSoftwareComponentInfo::GetCompIDMarkNameInfo()");
    return names;
}

std::string CSoftwareComponentInfo::getMarketingNameForNonPCIDevice(const std::string& componentID) {
    debugLog("Entering CSoftwareComponentInfo::getMarketingNameForNonPCIDevice()");
    std::string found;
    for (const auto& [id, name] : getCompIDMarkNameInfo()) {
        debugLog("getMarketingNameForNonPCIDevice() Finding a match with PCI Device");
        if (equalsIgnoringCase(componentID, id)) {
            found = name;
            debugLog("getMarketingNameForNonPCIDevice() Found a match with Non-PCI Devices from package.xml");
        }
    }
    debugLog("Leaving CSoftwareComponentInfo::getMarketingNameForNonPCIDevice()");
    return found;
}

std::string CSoftwareComponentInfo::GetComponentDisplayString() {
    const XPathObjectPtr result = ParseXmlUsingXpath();
    if (!result) {
        return {};
    }
    const auto devices = nodesOf(result);
    const auto device = std::find_if(devices.begin(), devices.end(), startsWithDisplay);
    if (device == devices.end()) {
        return {};
    }
    const xmlChar* text = firstChildText((*device)->children);
    if (text == nullptr) {
        debugLog(
            "CSoftwareComponentInfo::GetComponentDisplayString() failed to get the Display info from "
            "package.xml for device");
        return {};
    }
    debugLog({"CSoftwareComponentInfo::GetComponentDisplayString()  ", asChars(text), "\n"});
    return asChars(text);
}
