#include "XPathQuery.h"

#include <algorithm>
#include <cstdint>
#include <utility>

SXPathResult evaluateXPath(xmlDoc* doc, const xmlChar* expression) {
    const XPathContextPtr context(xmlXPathNewContext(doc));
    if (!context) {
        return {eXPathOutcome::NO_CONTEXT, nullptr};
    }
    XPathObjectPtr result(xmlXPathEvalExpression(expression, context.get()));
    if (!result) {
        return {eXPathOutcome::NOT_EVALUATED, nullptr};
    }
    if (xmlXPathNodeSetIsEmpty(result->nodesetval)) {
        return {eXPathOutcome::EMPTY, nullptr};
    }
    return {eXPathOutcome::FOUND, std::move(result)};
}

void fetchNext(std::span<xmlNode* const> elements) {
    constexpr std::uintptr_t kMost = 4096;
    constexpr std::uintptr_t kCacheLine = 64;
    if (elements.size() < 3) {
        return;
    }
    // The parser has put it between that element and the one after it.
    const auto begin = reinterpret_cast<std::uintptr_t>(elements[1]);
    const auto size = std::min(reinterpret_cast<std::uintptr_t>(elements[2]) - begin, kMost);
    for (std::uintptr_t offset = 0; offset < size; offset += kCacheLine) {
        __builtin_prefetch(reinterpret_cast<const void*>(begin + offset));
    }
}
