// Reads a plug-in configuration and compares it with a walk over the same tree.

#include "Harness.h"
#include "Logger.h"
#include "PIEConfigInfo.h"
#include "TempDir.h"
#include "XmlTree.h"

#include <libxml/xmlstring.h>

#include <limits>
#include <optional>

namespace test {
namespace {

// The log is on, so that the code that builds its texts runs too.
[[maybe_unused]] const int kLogged = CLogger::GetInstance()->Initialize("/dev/null");

/** What the reader returns for the inventory plug-in. */
struct Plugin {
    std::string command;
    std::string output;
    int timeout = 0;
    bool found = false;

    bool operator==(const Plugin&) const = default;
};

bool sameLetters(std::string_view text, const char* word) {
    return xmlStrcasecmp(reinterpret_cast<const xmlChar*>(std::string(text).c_str()),
                         reinterpret_cast<const xmlChar*>(word)) == 0;
}

const xmlNode* ancestor(const xmlNode* element, std::string_view name) {
    do {
        element = element->parent;
    } while (element != nullptr && !isElement(element, name));
    return element;
}

/** True for a Plugin with an ancestor Plugins that has an ancestor PIEConfig. */
bool isPlugin(const xmlNode* element) {
    if (!isElement(element, "Plugin")) {
        return false;
    }
    const xmlNode* plugins = ancestor(element, "Plugins");
    while (plugins != nullptr && ancestor(plugins, "PIEConfig") == nullptr) {
        plugins = ancestor(plugins, "Plugins");
    }
    return plugins != nullptr;
}

bool isInventoryPlugin(const xmlNode* element) {
    return isPlugin(element) && sameLetters(firstChildText(element, "description"), "Inventory") &&
           firstChildText(element, "type") == "0" && !firstChildText(element, "timeout").empty();
}

int leadingNumber(const std::string& text) {
    long long number = 0;
    for (const char c : text) {
        if (c < '0' || c > '9') {
            break;
        }
        number = std::min<long long>(number * 10 + (c - '0'), std::numeric_limits<int>::max());
    }
    return static_cast<int>(number);
}

/** True also for an entity reference, whose content is the entity's. */
bool isText(const xmlNode* node) {
    return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE ||
           node->type == XML_ENTITY_REF_NODE;
}

std::string lastTextOf(const xmlNode* parent, const char* name) {
    std::string last;
    for (const xmlNode* child = parent->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE &&
            sameLetters(reinterpret_cast<const char*>(child->name), name) && child->children != nullptr &&
            isText(child->children) && child->children->content != nullptr &&
            *child->children->content != '\0') {
            last = reinterpret_cast<const char*>(child->children->content);
        }
    }
    return last;
}

void readCommand(const xmlNode* element, Plugin& plugin) {
    for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
        if (child->type == XML_ELEMENT_NODE &&
            sameLetters(reinterpret_cast<const char*>(child->name), "CliToFile")) {
            const std::string command = lastTextOf(child, "Command");
            const std::string output = lastTextOf(child, "Output");
            if (!command.empty() && !output.empty()) {
                plugin = {command, output, plugin.timeout, true};
            }
            return;
        }
    }
}

Plugin walk(const std::filesystem::path& file) {
    Plugin plugin;
    const xmlNode* chosen = nullptr;
    const XmlDocPtr doc(xmlReadFile(file.c_str(), nullptr, 0));
    forEachElement(xmlDocGetRootElement(doc.get()), [&chosen](const xmlNode* element) {
        chosen = chosen == nullptr && isInventoryPlugin(element) ? element : chosen;
    });
    if (chosen != nullptr) {
        plugin.timeout = leadingNumber(firstChildText(chosen, "timeout"));
        readCommand(chosen, plugin);
    }
    return plugin;
}

/** Frees the document of the last Init, which the reader leaves to its caller. */
void freeDocument(CPIEConfigInfo& reader) {
    XmlDocPtr doc;
    if (const XPathObjectPtr root = reader.GetNodeSet("/")) {
        doc.reset(nodesOf(root)[0]->doc);
    }
}

Plugin ask(CPIEConfigInfo& reader, const std::filesystem::path& file) {
    const bool found = reader.Init(file.string());
    freeDocument(reader);
    return {reader.GetInventoryCommand(), reader.GetInventoryCommandOutFileName(),
            reader.GetInventoryTimeout(), found};
}

}  // namespace

void examine(std::string_view input) {
    const std::filesystem::path file = workingFolder() / "PIEConfig.xml";
    writeFile(file, input);
    CPIEConfigInfo reader;
    const Plugin plugin = ask(reader, file);
    require(plugin == walk(file), "the plug-in in the tree");
    require(plugin == ask(reader, file), "the same plug-in when asked again");
}

}  // namespace test
