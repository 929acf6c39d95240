#include "LogSource.h"
#include "SharedConstants.h"
#include "SoftwareComponentInfo.h"
#include "XPathQuery.h"
#include "XmlText.h"

#include <limits>
#include <string>
#include <utility>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/SoftwareComponentInfo");

constexpr int kIndentationLevel = 0;
constexpr int kFormatted = 1;

XmlDocPtr parseXml(const std::string& text) {
    const bool fits = text.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max());
    return XmlDocPtr(fits ? xmlParseMemory(text.data(), static_cast<int>(text.size())) : nullptr);
}

/** Appends the element's text to out. False when no buffer could be made. */
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

bool CSoftwareComponentInfo::GetInvFromTVK(std::string componentID, std::stringstream& record,
                                           std::stringstream& inventory) {
    m_pInventoryDoc = parseXml(inventory.str());
    xmlDoc* const doc = m_pInventoryDoc.get();
    if (doc == nullptr) {
        return false;
    }
    const std::string expression = QUERYCOMPID + std::move(componentID) + XPATH_SUFFIX;
    const XPathObjectPtr devices = getnodeset(doc, asXmlChars(expression.c_str()));
    if (!devices) {
        debugLog("CIdentityModuleInventory::GetInvFromTVK:: component ID not found");
        return true;
    }
    debugLog("CIdentityModuleInventory::GetInvFromTVK:: component ID found");
    for (xmlNode* device : nodesOf(devices)) {
        if (!appendElement(doc, device, record)) {
            return false;
        }
    }
    return true;
}
