#include "SoftwareComponentInfo.h"

#include "LogSource.h"
#include "PlatformLayer.h"
#include "XmlReading.h"

#include <utility>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/SoftwareComponentInfo");

constexpr const char* kPackageXml = "package.xml";
constexpr const char* kRollbackPath = "//SoftwareComponent/SupportedDevices/Device/RollbackInformation";

// Before and after the id in the expression that finds a component in a controller's inventory. The id is not
// escaped: one with a double quote makes an expression that libxml2 refuses.
constexpr const char* QUERYCOMPID = "/SVMInventory/Device[@componentID = \"";
constexpr const char* XPATH_SUFFIX = "\"]";

// How xmlNodeDump lays out a record: from the left margin, with line breaks and indentation.
constexpr int kIndentationLevel = 0;
constexpr int kFormatted = 1;

/** Appends the element as text to out. False if out of memory. */
bool appendElement(xmlDoc* doc, xmlNode* element, std::ostream& out) {
    const XmlBufferPtr buffer(xmlBufferCreate());
    if (!buffer) {
        return false;
    }
    xmlNodeDump(buffer.get(), doc, element, kIndentationLevel, kFormatted);
    out << asChars(xmlBufferContent(buffer.get()));
    return true;
}

}  // namespace

CSoftwareComponentInfo::CSoftwareComponentInfo() {
    if (CPlatformLayer::IsFileExits("enabledebug.txt")) {
        CLogger::GetInstance()->InitializeFromMarker("baseutils.log");
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
    xmlKeepBlanksDefault(0);  // indentation between elements makes no nodes in any later parse
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
    SXPathResult result = evaluateXPath(doc, expression);
    switch (result.outcome) {
        case eXPathOutcome::FOUND:
            debugLog("CSoftwareComponentInfo::GetNodeSet() Exiting");
            break;
        case eXPathOutcome::EMPTY:
            debugLog("CSoftwareComponentInfo::GetNodeSet() Empty nodeset");
            break;
        case eXPathOutcome::NO_CONTEXT:
            debugLog("CSoftwareComponentInfo::GetNodeSet() Error in xmlXPathNewContext");
            break;
        case eXPathOutcome::NOT_EVALUATED:
            debugLog("CSoftwareComponentInfo::GetNodeSet() Error in xmlXPathEvalExpression");
            break;
    }
    return std::move(result.nodes);
}

XPathObjectPtr CSoftwareComponentInfo::getnodeset(xmlDoc* doc, const xmlChar* expression) {
    SXPathResult result = evaluateXPath(doc, expression);
    if (result.outcome == eXPathOutcome::NO_CONTEXT) {
        debugLog("CIdentityModuleInventory::getnodeset :: Error in xmlXPathNewContext");
    } else if (result.outcome == eXPathOutcome::NOT_EVALUATED) {
        debugLog("CIdentityModuleInventory::getnodeset :: Error in xmlXPathEvalExpression");
    }
    return std::move(result.nodes);
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
    return attributeText(node, name);
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

bool CSoftwareComponentInfo::GetInvFromTVK(std::string componentID, std::stringstream& record,
                                           std::stringstream& inventory) {
    const XmlDocPtr doc = parseXmlText(inventory.str());
    if (!doc) {
        return false;
    }
    const std::string expression = QUERYCOMPID + std::move(componentID) + XPATH_SUFFIX;
    const XPathObjectPtr devices = getnodeset(doc.get(), asXmlChars(expression.c_str()));
    if (!devices) {
        debugLog("CIdentityModuleInventory::GetInvFromTVK:: component ID not found");
        return true;
    }
    debugLog("CIdentityModuleInventory::GetInvFromTVK:: component ID found");
    for (xmlNode* device : nodesOf(devices)) {
        if (!appendElement(doc.get(), device, record)) {
            return false;
        }
    }
    return true;
}

void CSoftwareComponentInfo::parsePackageXml() {
    m_pXmlDoc.reset();  // first, so that two documents are never in memory together
    m_pXmlDoc = parseXmlFile(m_strPackageXmlPath);
}

/** Parses the file without testing whether it exists, and reads one attribute of the elements at expression.
 *  The last element decides, even if it lacks the attribute. */
std::string CSoftwareComponentInfo::lastAttributeOf(const char* expression, const char* name) {
    parsePackageXml();
    std::string value;
    const XPathObjectPtr elements = GetNodeSet(m_pXmlDoc.get(), asXmlChars(expression));
    if (!elements) {
        return value;
    }
    for (xmlNode* element : nodesOf(elements)) {
        // No element is named like a whole path, so this always holds.
        if (xmlStrcasecmp(element->name, asXmlChars(expression)) != 0) {
            value = textOrEmpty(GetAttributeValue(element, name));
        }
    }
    return value;
}
