// Reads an inventory result and compares it with a walk over the same tree.

#include "DeviceInventoryInfo.h"
#include "Harness.h"
#include "Logger.h"
#include "TempDir.h"
#include "XmlTree.h"

#include <libxml/xmlstring.h>

#include <algorithm>
#include <memory>

namespace test {
namespace {

// The log is on, so that the code that builds its texts runs too.
[[maybe_unused]] const int kLogged = CLogger::GetInstance()->Initialize("/dev/null");

using Records = std::vector<std::unique_ptr<CDeviceInfo>>;

/** What a walk over the tree finds. */
struct Content {
    std::vector<std::string> componentIds;  // of all devices; empty for a device without one
    bool failed = false;
};

bool isBelowInventory(const xmlNode* element) {
    do {
        element = element->parent;
    } while (element != nullptr && !isElement(element, "SVMInventory"));
    return element != nullptr;
}

bool isStatus(const xmlNode* element) {
    const xmlNode* parent = element->parent;
    if (!isElement(element, "SPStatus")) {
        return false;
    }
    return isElement(parent, "SVMInventory") ||
           (isElement(parent, "Application") && isElement(parent->parent, "Device") &&
            isElement(parent->parent->parent, "SVMInventory"));
}

bool saysFalse(const xmlNode* status) {
    return xmlStrcasecmp(reinterpret_cast<const xmlChar*>(firstChildText(status, "result").c_str()),
                         reinterpret_cast<const xmlChar*>("false")) == 0;
}

Content walk(const std::filesystem::path& file) {
    Content content;
    const XmlDocPtr doc(xmlReadFile(file.c_str(), nullptr, XML_PARSE_NOBLANKS));
    forEachElement(xmlDocGetRootElement(doc.get()), [&content](const xmlNode* element) {
        if (isElement(element, "Device") && isBelowInventory(element)) {
            content.componentIds.push_back(firstChildText(element, "componentID"));
        }
        content.failed = content.failed || (isStatus(element) && saysFalse(element));
    });
    return content;
}

Records recordsOf(CDeviceInventoryInfo& reader) {
    Records records;
    for (CDeviceInfo* record : reader.GetDeviceInfo()) {
        records.emplace_back(record);
    }
    return records;
}

void requireRecord(const CDeviceInfo& record, const std::string& componentId, bool failed) {
    require(record.getComponentID() == componentId, "the device's component id");
    require(record.getDeviceType() ==
                (componentId.empty() ? CDeviceInfo::PCI_DEVICE : CDeviceInfo::NON_PCI_DEVICE),
            "the device's type");
    require(record.getStatus() == (failed ? 1 : -1), "the document's status");
}

}  // namespace

void examine(std::string_view input) {
    const std::filesystem::path file = workingFolder() / "result.xml";
    writeFile(file, input);
    CDeviceInventoryInfo reader(file.string());
    const Records records = recordsOf(reader);
    const Content content = walk(file);
    const bool failureAlone = content.componentIds.empty() && content.failed;
    require(records.size() == content.componentIds.size() + (failureAlone ? 1 : 0),
            "a record for each device");
    for (std::size_t i = 0; i < content.componentIds.size(); ++i) {
        requireRecord(*records[i], content.componentIds[i], content.failed);
    }
    std::string message;
    require(reader.GetInventoryStatus(message) != content.failed, "the status in the tree");

    const Records again = recordsOf(reader);
    require(std::equal(records.begin(), records.end(), again.begin(), again.end(),
                       [](const auto& one, const auto& other) { return *one == *other; }),
            "the same records when asked again");
}

}  // namespace test
