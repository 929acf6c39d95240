#include "DeviceInventoryInfo.h"

#include "LogSource.h"
#include "XmlReading.h"

#include <algorithm>
#include <utility>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/DeviceInventoryInfo");

constexpr const char* kDevicePath = "//SVMInventory//Device";
constexpr const char* kStatusPath = "//SVMInventory/Device/Application/SPStatus | //SVMInventory/SPStatus";

/** Logs the outcome of a query in the words of GetNodeSet. */
void logEvaluation(eXPathOutcome outcome) {
    debugLog("CDeviceInventoryInfo::GetNodeSet() Start");
    switch (outcome) {
        case eXPathOutcome::FOUND:
            debugLog("CDeviceInventoryInfo::GetNodeSet() END");
            break;
        case eXPathOutcome::EMPTY:
            debugLog("CDeviceInventoryInfo::GetNodeSet() Empty nodeset");
            break;
        case eXPathOutcome::NO_CONTEXT:
            debugLog("CDeviceInventoryInfo::GetNodeSet() Error in xmlXPathNewContext");
            break;
        case eXPathOutcome::NOT_EVALUATED:
            debugLog("CDeviceInventoryInfo::GetNodeSet() Error in xmlXPathEvalExpression");
            break;
    }
}

bool reportsFailure(const xmlNode* status) {
    const xmlChar* result = attributeText(status, "result");
    return result != nullptr && xmlStrcasecmp(result, asXmlChars("false")) == 0;
}

bool isRemark(const xmlNode* node) {
    return node->type == XML_COMMENT_NODE || node->type == XML_PI_NODE;
}

/** The whole text of the node's first child, a text or an element such as Message; empty without one. */
std::string firstChildContent(const xmlNode* node) {
    const xmlNode* child = node->children;
    while (child != nullptr && isRemark(child)) {
        child = child->next;
    }
    const XmlCharPtr content(child != nullptr ? xmlNodeGetContent(child) : nullptr);
    return textOrEmpty(content.get());
}

/** The status of a whole inventory. */
struct SInventoryStatus {
    eXPathOutcome outcome;  // of the search for status elements
    bool failed;
    std::string message;  // of the first failure; may be empty
};

SInventoryStatus statusOf(xmlDoc* doc) {
    const SXPathResult result = evaluateXPath(doc, asXmlChars(kStatusPath));
    if (!result.nodes) {
        return {result.outcome, false, {}};
    }
    const auto statuses = nodesOf(result.nodes);
    const auto failure = std::find_if(statuses.begin(), statuses.end(), reportsFailure);
    if (failure == statuses.end()) {
        return {result.outcome, false, {}};
    }
    return {result.outcome, true, firstChildContent(*failure)};
}

/** Answers GetInventoryStatus from a status that was looked up before, with the same log lines. */
bool answerStatus(const SInventoryStatus& status, std::string& message) {
    logEvaluation(status.outcome);
    if (status.outcome != eXPathOutcome::FOUND) {
        debugLog("CDeviceInventoryInfo::GetInventoryStatus() pXpathObj is NULL");
    }
    if (!status.message.empty()) {
        message = status.message;
        debugLog("CDeviceInventoryInfo::GetInventoryStatus() got message");
    }
    return !status.failed;
}

/** Puts the document's failure on the record. False if there is none. */
bool addFailure(const SInventoryStatus& status, CDeviceInfo& record) {
    std::string message;
    if (answerStatus(status, message)) {
        return false;
    }
    record.setErrorMsg(message);
    record.setStatus(1);
    return true;
}

/** Answers GetAttributeValue, which logs a missing node or name. */
const xmlChar* attributeOrNull(const xmlNode* node, const char* name) {
    if (node == nullptr || name == nullptr) {
        debugLog("CDeviceInventoryInfo::GetAttributeValue() NULL == cur || NULL == propName");
        return nullptr;
    }
    return attributeText(node, name);
}

void readIdentity(const xmlNode* device, CDeviceInfo& record) {
    if (const xmlChar* componentID = attributeText(device, "componentID")) {
        record.setComponentID(asChars(componentID));
        record.setDeviceType(CDeviceInfo::NON_PCI_DEVICE);
        return;
    }
    SPCIInfo ids;
    readPciIds(device, ids);
    record.setPCIInfo(ids);
    record.setDeviceType(CDeviceInfo::PCI_DEVICE);
}

void readDevice(xmlNode* device, CDeviceInfo& record) {
    readIdentity(device, record);
    if (const xmlChar* display = attributeText(device, "display")) {
        record.setDeviceName(asChars(display));
    }
    const xmlNode* application = xmlFirstElementChild(device);
    if (const xmlChar* componentType = attributeOrNull(application, "componentType")) {
        record.setComponentType(asChars(componentType));
    }
    if (const xmlChar* version = attributeOrNull(application, "version")) {
        record.setVersion(asChars(version));
    }
}

}  // namespace

CDeviceInventoryInfo::CDeviceInventoryInfo(const std::string& path) : m_strPath(path) {
    xmlKeepBlanksDefault(0);
}

CDeviceInventoryInfo::CDeviceInventoryInfo(XmlDocPtr document) : m_pXmlDoc(std::move(document)) {}

CDeviceInventoryInfo::~CDeviceInventoryInfo() = default;

std::vector<CDeviceInfo*> CDeviceInventoryInfo::GetDeviceInfo() {
    std::vector<CDeviceInfo*> records;
    if (m_strPath.empty() && !m_pXmlDoc) {
        debugLog("Inventory file path is empty ");
        return records;
    }
    if (!m_strPath.empty()) {
        m_pXmlDoc.reset(xmlParseFile(m_strPath.c_str()));
    }
    if (!m_pXmlDoc) {
        debugLog({"CDeviceInventoryInfo::GetDeviceInfo() Document ", m_strPath, "  parsing failed "});
        return records;
    }
    const XPathObjectPtr devices = GetNodeSet(kDevicePath);
    // Every record logs its own question for the status; the document is searched only once.
    const SInventoryStatus status = statusOf(m_pXmlDoc.get());
    if (!devices) {
        debugLog("CDeviceInventoryInfo::GetDeviceInfo() pXpathObj is NULL");
        if (CDeviceInfo failure; addFailure(status, failure)) {
            records.push_back(new CDeviceInfo(std::move(failure)));
        }
        return records;
    }
    for (xmlNode* device : nodesOf(devices)) {
        CDeviceInfo record;
        addFailure(status, record);
        readDevice(device, record);
        records.push_back(new CDeviceInfo(std::move(record)));
    }
    return records;
}

bool CDeviceInventoryInfo::GetInventoryStatus(std::string& message) {
    return answerStatus(statusOf(m_pXmlDoc.get()), message);
}

XPathObjectPtr CDeviceInventoryInfo::GetNodeSet(const char* xpath) {
    SXPathResult result = evaluateXPath(m_pXmlDoc.get(), asXmlChars(xpath));
    logEvaluation(result.outcome);
    return std::move(result.nodes);
}

const xmlChar* CDeviceInventoryInfo::GetAttributeValue(xmlNode* node, const char* name) {
    return attributeOrNull(node, name);
}
