#include "XPathQuery.h"

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
