#pragma once

#include <libxml/tree.h>

#include <functional>
#include <string>
#include <string_view>

namespace test {

/** A second way through a parsed document, element by element, to compare XPath's answers with. */

/** Whether the node is an element of that name; `anyNamespace` false also asks that it has no namespace. */
bool isElement(const xmlNode* node, std::string_view name, bool anyNamespace = false);

/** Calls `use` for each element below and including `element`, in document order. */
void forEachElement(const xmlNode* element, const std::function<void(const xmlNode*)>& use);

/** What the package readers take as an attribute's text: the content of its first child, whatever its
 * namespace. */
std::string firstChildText(const xmlNode* element, std::string_view attribute);

}  // namespace test
