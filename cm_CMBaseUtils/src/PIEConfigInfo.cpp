#include "PIEConfigInfo.h"

#include "LogSource.h"
#include "XmlReading.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string_view>
#include <utility>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/PIEConfigInfo");

/** The number of the leading digits: 0 without digits, the largest int if the number is too large. */
int leadingNumber(std::string_view text) {
    constexpr unsigned int kLargest = std::numeric_limits<int>::max();
    unsigned int number = 0;  // unsigned, so that "-1" has no leading digits
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), number);
    if (parsed.ec == std::errc::result_out_of_range) {
        number = kLargest;
    }
    return static_cast<int>(std::min(number, kLargest));
}

/** The text of the last element of this name that has one, among node and its later siblings; or null. */
const xmlChar* lastText(xmlNode* node, const char* name) {
    const xmlChar* last = nullptr;
    for (node = findElement(node, name); node != nullptr; node = findElement(node->next, name)) {
        if (const xmlChar* text = firstChildText(node)) {
            last = text;
        }
    }
    return last;
}

}  // namespace

CPIEConfigInfo::CPIEConfigInfo() : m_pXmlDoc(nullptr), m_nTimeout(0) {}

CPIEConfigInfo::~CPIEConfigInfo() = default;

bool CPIEConfigInfo::Init(const std::string& path) {
    if (path.empty()) {
        debugLog("PIE file path is empty ");
    }
    m_pXmlDoc = xmlParseFile(path.c_str());  // never freed: results of GetPlugins may still refer to it
    if (m_pXmlDoc == nullptr) {
        // The text for the failure is fixed, although it says the opposite.
        debugLog({"CPIEConfigInfo::Init() Document ", path, "  parsed successfully "});
        return false;
    }
    if (!GetInventoryPluginInfo()) {
        debugLog("CPIEConfigInfo::Init() GetInventoryPluginInfo failed ");
        return false;
    }
    debugLog("CPIEConfigInfo::Init() GetInventoryPluginInfo success ");
    return true;
}

std::string CPIEConfigInfo::GetInventoryCommand() const {
    return m_strInventoryCommand;
}

std::string CPIEConfigInfo::GetInventoryCommandOutFileName() const {
    return m_strOutputFileName;
}

int CPIEConfigInfo::GetInventoryTimeout() const {
    return m_nTimeout;
}

XPathObjectPtr CPIEConfigInfo::GetPlugins() {
    return GetNodeSet("//PIEConfig//Plugins//Plugin");
}

XPathObjectPtr CPIEConfigInfo::GetNodeSet(const char* xpath) {
    debugLog("CPIEConfigInfo::GetNodeSet() Start");
    SXPathResult result = evaluateXPath(m_pXmlDoc, asXmlChars(xpath));
    switch (result.outcome) {
        case eXPathOutcome::FOUND:
            debugLog("CPIEConfigInfo::GetNodeSet() END");
            break;
        case eXPathOutcome::EMPTY:
            debugLog("CPIEConfigInfo::GetNodeSet() Empty nodeset");
            break;
        case eXPathOutcome::NO_CONTEXT:
            debugLog("CPIEConfigInfo::GetNodeSet() Error in xmlXPathNewContext");
            break;
        case eXPathOutcome::NOT_EVALUATED:
            debugLog("CPIEConfigInfo::GetNodeSet() Error in xmlXPathEvalExpression");
            break;
    }
    return std::move(result.nodes);
}

bool CPIEConfigInfo::GetInventoryPluginInfo() {
    debugLog("CPIEConfigInfo::GetInventoryPluginInfo() Start");
    const XPathObjectPtr result = GetPlugins();
    if (!result) {
        debugLog("CPIEConfigInfo::GetInventoryPluginInfo() pXpathResult is NULL");
        return false;
    }
    const auto plugins = nodesOf(result);
    const auto inventory = std::find_if(plugins.begin(), plugins.end(),
                                        [this](xmlNode* plugin) { return isInventoryPlugin(plugin); });
    if (inventory == plugins.end()) {
        debugLog("CPIEConfigInfo::GetInventoryPluginInfo() pInventoyNode is NULL");
        return false;
    }
    m_nTimeout = leadingNumber(asChars(GetAttributeValue(*inventory, "timeout")));
    const bool found = GetInventoryCommandInfo(*inventory);
    if (!found) {
        debugLog("CPIEConfigInfo::GetInventoryPluginInfo() GetInventoryCommandInfo  is failed");
    }
    debugLog("CPIEConfigInfo::GetInventoryPluginInfo() END");
    return found;
}

bool CPIEConfigInfo::GetInventoryCommandInfo(xmlNode* node) {
    debugLog("CPIEConfigInfo::GetInventoryCommandInfo() START");
    if (node == nullptr) {
        debugLog("CPIEConfigInfo::GetInventoryCommandInfo() is NULL");
        return false;
    }
    const xmlNode* cliToFile = findElement(node->children, "CliToFile");
    const xmlChar* command = cliToFile != nullptr ? lastText(cliToFile->children, "Command") : nullptr;
    const xmlChar* output = cliToFile != nullptr ? lastText(cliToFile->children, "Output") : nullptr;
    const bool found = command != nullptr && output != nullptr;
    if (found) {
        m_strOutputFileName = asChars(output);
        m_strInventoryCommand = asChars(command);
    } else {
        debugLog("CPIEConfigInfo::GetInventoryCommandInfo() Inventory or output filename is empty");
    }
    debugLog("CPIEConfigInfo::GetInventoryCommandInfo() END");
    return found;
}

const xmlChar* CPIEConfigInfo::GetAttributeValue(xmlNode* node, const char* name) {
    return node == nullptr || name == nullptr ? nullptr : attributeText(node, name);
}

bool CPIEConfigInfo::isInventoryPlugin(xmlNode* plugin) {
    const xmlChar* description = GetAttributeValue(plugin, "description");
    const xmlChar* type = GetAttributeValue(plugin, "type");
    const xmlChar* timeout = GetAttributeValue(plugin, "timeout");
    return description != nullptr && type != nullptr && timeout != nullptr &&
           xmlStrcasecmp(description, asXmlChars("Inventory")) == 0 &&
           xmlStrcasecmp(type, asXmlChars("0")) == 0;
}
