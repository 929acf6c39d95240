#pragma once

#include <libxml/tree.h>

#include <functional>
#include <string>
#include <string_view>

namespace test {

/** Walks a parsed document element by element, to check the results of XPath. */

/** True for an element of this name; unless `anyNamespace`, only for one without a namespace. */
bool isElement(const xmlNode* node, std::string_view name, bool anyNamespace = false);

/** Calls `use` for `element` and each element below it, in document order. */
void forEachElement(const xmlNode* element, const std::function<void(const xmlNode*)>& use);

/** An attribute's text as the package readers see it: the content of its first child, in any namespace. */
std::string firstChildText(const xmlNode* element, std::string_view attribute);

}  // namespace test
