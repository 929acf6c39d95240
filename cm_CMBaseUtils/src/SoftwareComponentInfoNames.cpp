#include "LogSource.h"
#include "SoftwareComponentInfo.h"
#include "XPathQuery.h"
#include "XmlNodes.h"
#include "XmlText.h"

#include <algorithm>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/SoftwareComponentInfo");

/** The text of the device's first Display that has one, or null. */
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

bool startsWithDisplay(const xmlNode* device) {
    return device->children != nullptr && isElementNamed(device->children, "Display");
}

}  // namespace

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
