#pragma once

#include "XmlHandles.h"

#include <span>

/** How the evaluation of an XPath expression went. */
enum class eXPathOutcome {
    FOUND,          // at least one node
    EMPTY,          // no node, or a value that is no node set
    NO_CONTEXT,     // no context could be made: no memory
    NOT_EVALUATED,  // the expression is not XPath, or no memory was left
};

struct SXPathResult {
    eXPathOutcome outcome;
    XPathObjectPtr nodes;  // null unless FOUND
};

/** Evaluates expression over doc, which may be null and then holds no nodes. Logs nothing: each reader words
 *  the outcome in its own way. */
SXPathResult evaluateXPath(xmlDoc* doc, const xmlChar* expression);

/** The nodes of a result, which must not be null, in document order. */
inline std::span<xmlNode* const> nodesOf(const XPathObjectPtr& result) {
    return {result->nodesetval->nodeTab, static_cast<std::size_t>(result->nodesetval->nodeNr)};
}
