// Takes a component id, a newline and a controller's inventory, and compares both look-ups with a walk over
// the tree.

#include "Harness.h"
#include "Logger.h"
#include "QRXInventory.h"
#include "XmlTree.h"

#include <libxml/parser.h>

#include <optional>

namespace test {
namespace {

// The log is on, so that the code that builds its texts runs too.
[[maybe_unused]] const int kLogged = CLogger::GetInstance()->Initialize("/dev/null");

constexpr const char* kVersionBefore = "the version before";

std::optional<std::string> attribute(const xmlNode* element, std::string_view name, bool anyNamespace) {
    for (const xmlAttr* candidate = element->properties; candidate != nullptr; candidate = candidate->next) {
        if (reinterpret_cast<const char*>(candidate->name) == name &&
            (anyNamespace || candidate->ns == nullptr)) {
            const XmlCharPtr value(xmlNodeListGetString(element->doc, candidate->children, 1));
            return value ? reinterpret_cast<const char*>(value.get()) : "";
        }
    }
    return std::nullopt;
}

XmlDocPtr parse(std::string_view text) {
    return XmlDocPtr(
        xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, XML_PARSE_NOBLANKS));
}

const xmlNode* firstChild(const xmlNode* parent, const std::function<bool(const xmlNode*)>& isWanted) {
    const xmlNode* child = parent->children;
    while (child != nullptr && !isWanted(child)) {
        child = child->next;
    }
    return child;
}

/** The result of looking up the version: 0 if the inventory lists the component. */
int walkForVersion(const std::string& id, std::string_view inventory, std::string& version) {
    const XmlDocPtr doc = parse(inventory.substr(0, inventory.find('\0')));
    const xmlNode* const root = xmlDocGetRootElement(doc.get());
    if (!isElement(root, "SVMInventory", true)) {
        return 1;
    }
    const xmlNode* const device = firstChild(root, [&id](const xmlNode* child) {
        return isElement(child, "Device", true) && attribute(child, "componentID", true) == id.c_str();
    });
    if (device == nullptr) {
        return 1;
    }
    const xmlNode* const application =
        firstChild(device, [](const xmlNode* child) { return isElement(child, "Application", true); });
    if (application != nullptr) {
        version = attribute(application, "version", true).value_or(version);
    }
    return 0;
}

/** The number of a component's records in an inventory; nothing if it is not XML. */
std::optional<std::size_t> walkForRecords(const std::string& id, std::string_view inventory) {
    const XmlDocPtr doc = parse(inventory);
    if (!doc) {
        return std::nullopt;
    }
    std::size_t records = 0;
    forEachElement(xmlDocGetRootElement(doc.get()), [&](const xmlNode* element) {
        const bool inRoot = isElement(element, "Device") && isElement(element->parent, "SVMInventory") &&
                            element->parent->parent == reinterpret_cast<const xmlNode*>(element->doc);
        records += inRoot && attribute(element, "componentID", false) == id ? 1 : 0;
    });
    return records;
}

void requireVersion(const std::string& id, const std::string& inventory) {
    CDeviceInfo device;
    device.setVersion(kVersionBefore);
    std::string version = kVersionBefore;
    require(GetQRXVersion(id.c_str(), inventory.c_str(), &device) == walkForVersion(id, inventory, version),
            "whether the component is there");
    require(device.getVersion() == version, "its version");
}

void requireRecord(CSoftwareComponentInfo& reader, const std::string& id, const std::string& inventory) {
    std::stringstream in(inventory);
    std::stringstream out;
    out << "before";
    const bool lookedUp = reader.GetInvFromTVK(id, out, in);
    const std::optional<std::size_t> records = walkForRecords(id, inventory);
    require(lookedUp == records.has_value(), "a look-up if and only if the text is XML");
    require(out.str().starts_with("before"), "the stream keeps its earlier content");
    // A double quote in the id ends the string in the XPath expression, which then means something else.
    if (id.find('"') == std::string::npos) {
        require((out.str().size() > std::string("before").size()) == (records.value_or(0) > 0),
                "a record where the tree has one");
    }
    std::stringstream again;
    again << "before";
    std::stringstream inAgain(inventory);
    require(reader.GetInvFromTVK(id, again, inAgain) == lookedUp && again.str() == out.str(),
            "the same record when asked again");
}

}  // namespace

void examine(std::string_view input) {
    workingFolder();
    static CSoftwareComponentInfo reader;
    const std::string id = takeUntil(input, '\n');
    const std::string inventory(input);
    requireVersion(id, inventory);
    requireRecord(reader, id, inventory);
}

}  // namespace test
