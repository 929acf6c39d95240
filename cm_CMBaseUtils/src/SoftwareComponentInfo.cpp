#include "SoftwareComponentInfo.h"

#include "LogSource.h"
#include "PlatformLayer.h"
#include "XmlText.h"

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/SoftwareComponentInfo");

constexpr const char* kPackageXml = "package.xml";
constexpr const char* kDevicePath = "//SoftwareComponent/SupportedDevices/Device";
constexpr const char* kRollbackPath = "//SoftwareComponent/SupportedDevices/Device/RollbackInformation";

}  // namespace

CSoftwareComponentInfo::CSoftwareComponentInfo() {
    if (CPlatformLayer::IsFileExits("enabledebug.txt")) {
        CLogger::GetInstance()->Initialize("baseutils.log");
    }
    debugLog("CSoftwareComponentInfo::CSoftwareComponentInfo() Entering Constructor Method");
    ParseXMl();
}

CSoftwareComponentInfo::~CSoftwareComponentInfo() {
    if (m_pXmlDoc) {
        m_pXmlDoc.reset();
        xmlCleanupParser();
    }
}

void CSoftwareComponentInfo::ParseXMl() {
    debugLog("CSoftwareComponentInfo::Init() Entering");
    xmlKeepBlanksDefault(0);
    m_pXmlDoc.reset();
    m_strPackageXmlPath = CPlatformLayer::getCurrentDirectory() + kPackageXml;
    if (!CPlatformLayer::IsFileExits(kPackageXml)) {
        return;
    }
    parsePackageXml();
    if (!m_pXmlDoc) {
        debugLog(
            {"CSoftwareComponentInfo::Init() Document ", m_strPackageXmlPath, " not parsed successfully "});
    }
    debugLog("CSoftwareComponentInfo::Init() Exiting");
}

XPathObjectPtr CSoftwareComponentInfo::GetNodeSet(xmlDoc* doc, const xmlChar* expression) {
    debugLog("CSoftwareComponentInfo::GetNodeSet() Entering");
    const XPathContextPtr context(xmlXPathNewContext(doc));
    if (!context) {
        debugLog("CSoftwareComponentInfo::GetNodeSet() Error in xmlXPathNewContext");
        return nullptr;
    }
    XPathObjectPtr result(xmlXPathEvalExpression(expression, context.get()));
    if (!result) {
        debugLog("CSoftwareComponentInfo::GetNodeSet() Error in xmlXPathEvalExpression");
        return nullptr;
    }
    if (xmlXPathNodeSetIsEmpty(result->nodesetval)) {
        debugLog("CSoftwareComponentInfo::GetNodeSet() Empty nodeset");
        return nullptr;
    }
    debugLog("CSoftwareComponentInfo::GetNodeSet() Exiting");
    return result;
}

XPathObjectPtr CSoftwareComponentInfo::getnodeset(xmlDoc* doc, const xmlChar* expression) {
    const XPathContextPtr context(xmlXPathNewContext(doc));
    if (!context) {
        debugLog("CIdentityModuleInventory::getnodeset :: Error in xmlXPathNewContext");
        return nullptr;
    }
    XPathObjectPtr result(xmlXPathEvalExpression(expression, context.get()));
    if (!result) {
        debugLog("CIdentityModuleInventory::getnodeset :: Error in xmlXPathEvalExpression");
        return nullptr;
    }
    if (xmlXPathNodeSetIsEmpty(result->nodesetval)) {
        return nullptr;
    }
    return result;
}

XPathObjectPtr CSoftwareComponentInfo::ParseXmlUsingXpath() {
    debugLog("CSoftwareComponentInfo::ParseXmlUsingXpath() Entering");
    if (!CPlatformLayer::IsFileExits(kPackageXml)) {
        m_pXmlDoc.reset();
        return nullptr;
    }
    parsePackageXml();
    XPathObjectPtr devices = GetNodeSet(m_pXmlDoc.get(), asXmlChars(kDevicePath));
    debugLog("CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting");
    return devices;
}

XPathObjectPtr CSoftwareComponentInfo::ParseXmlUsingXpath(const char* expression) {
    if (!CPlatformLayer::IsFileExits(kPackageXml)) {
        m_pXmlDoc.reset();
        return nullptr;
    }
    parsePackageXml();
    return GetNodeSet(m_pXmlDoc.get(), asXmlChars(expression));
}

const xmlChar* CSoftwareComponentInfo::GetAttributeValue(xmlNode* node, const char* name) {
    const xmlAttr* attribute = xmlHasProp(node, asXmlChars(name));
    if (attribute == nullptr || attribute->children == nullptr) {
        return nullptr;
    }
    const xmlChar* text = attribute->children->content;
    // libxml2 hangs an empty text node under an empty attribute.
    return text != nullptr && *text != '\0' ? text : nullptr;
}

std::string CSoftwareComponentInfo::GetComponentID() {
    debugLog("Entering CSoftwareComponentInfo::GetComponentID()");
    std::string componentID;
    if (const XPathObjectPtr devices = ParseXmlUsingXpath()) {
        componentID = textOrEmpty(GetAttributeValue(devices->nodesetval->nodeTab[0], "componentID"));
        debugLog({"Found the component id as ", componentID});
    }
    debugLog("Leaving CSoftwareComponentInfo::GetComponentID()");
    return componentID;
}

std::string CSoftwareComponentInfo::GetComponentType() {
    return lastAttributeOf("//SoftwareComponent/ComponentType", "value");
}

std::string CSoftwareComponentInfo::GetComponentVersion() {
    return lastAttributeOf("//SoftwareComponent", "vendorVersion");
}

bool CSoftwareComponentInfo::getPresenceOfRollbackInfo() {
    debugLog("Entering getPresenceOfGuid function");
    const bool present = ParseXmlUsingXpath(kRollbackPath) != nullptr;
    debugLog(present ? "GUID Tag found in package.xml" : "ParseXmlUsingXpath failed");
    debugLog("Leaving getPresenceOfGuid function");
    return present;
}

void CSoftwareComponentInfo::parsePackageXml() {
    m_pXmlDoc.reset(xmlParseFile(m_strPackageXmlPath.c_str()));
}

/** Parses the file, without a test for its existence, and reads one attribute of the elements at expression;
 *  the last element decides. */
std::string CSoftwareComponentInfo::lastAttributeOf(const char* expression, const char* name) {
    parsePackageXml();
    std::string value;
    const XPathObjectPtr elements = GetNodeSet(m_pXmlDoc.get(), asXmlChars(expression));
    if (!elements) {
        return value;
    }
    for (int i = 0; i < elements->nodesetval->nodeNr; ++i) {
        xmlNode* const element = elements->nodesetval->nodeTab[i];
        if (xmlStrcasecmp(element->name, asXmlChars(expression)) != 0) {
            value = textOrEmpty(GetAttributeValue(element, name));
        }
    }
    return value;
}
