#include "XmlTree.h"

namespace test {
namespace {

std::string_view text(const xmlChar* characters) {
    return characters == nullptr ? std::string_view() : reinterpret_cast<const char*>(characters);
}

}  // namespace

bool isElement(const xmlNode* node, std::string_view name, bool anyNamespace) {
    return node != nullptr && node->type == XML_ELEMENT_NODE && text(node->name) == name &&
           (anyNamespace || node->ns == nullptr);
}

void forEachElement(const xmlNode* element, const std::function<void(const xmlNode*)>& use) {
    if (element == nullptr || element->type != XML_ELEMENT_NODE) {
        return;
    }
    use(element);
    for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
        forEachElement(child, use);
    }
}

std::string firstChildText(const xmlNode* element, std::string_view attribute) {
    for (const xmlAttr* candidate = element->properties; candidate != nullptr; candidate = candidate->next) {
        if (text(candidate->name) == attribute) {
            return std::string(candidate->children == nullptr ? "" : text(candidate->children->content));
        }
    }
    return {};
}

}  // namespace test
