#pragma once

#include "DeviceInfo.h"

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <memory>
#include <span>
#include <string>
#include <string_view>

/**
 * What the readers of XML documents share: owners of libxml2's objects, XPath queries, and the texts of
 * nodes. Nothing here logs, because each reader has its own words for the same outcome.
 */

// Owners. Each frees its object with the function that libxml2 has for it.

struct XmlDocDeleter {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using XmlDocPtr = std::unique_ptr<xmlDoc, XmlDocDeleter>;

struct XPathContextDeleter {
    void operator()(xmlXPathContext* context) const { xmlXPathFreeContext(context); }
};
using XPathContextPtr = std::unique_ptr<xmlXPathContext, XPathContextDeleter>;

struct XPathObjectDeleter {
    void operator()(xmlXPathObject* object) const { xmlXPathFreeObject(object); }
};
/** Must be released before the document that its nodes belong to. */
using XPathObjectPtr = std::unique_ptr<xmlXPathObject, XPathObjectDeleter>;

struct XmlBufferDeleter {
    void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
};
using XmlBufferPtr = std::unique_ptr<xmlBuffer, XmlBufferDeleter>;

struct XmlCharDeleter {
    void operator()(xmlChar* text) const { xmlFree(text); }
};
using XmlCharPtr = std::unique_ptr<xmlChar, XmlCharDeleter>;

// Texts. libxml2 uses xmlChar, the rest of the program char; the bytes are the same.

inline const char* asChars(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

inline const xmlChar* asXmlChars(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

/** A copy of the text; an empty string for null. */
inline std::string textOrEmpty(const xmlChar* text) {
    return text == nullptr ? std::string() : asChars(text);
}

// Documents.

/** Parses a file as xmlParseFile does, but never waits for input: a FIFO or a device such as a terminal
 *  counts as a file that cannot be read. */
XmlDocPtr parseXmlFile(const std::string& path);

/** Parses a text. Null if it is not XML, or is longer than libxml2 can count (2 GiB). */
XmlDocPtr parseXmlText(std::string_view text);

// XPath.

/** The outcome of an XPath query. */
enum class eXPathOutcome {
    FOUND,          // at least one node
    EMPTY,          // no nodes, or a value that is not a node set
    NO_CONTEXT,     // out of memory before the evaluation
    NOT_EVALUATED,  // not an XPath expression, or out of memory
};

struct SXPathResult {
    eXPathOutcome outcome;
    XPathObjectPtr nodes;  // null unless FOUND
};

/** Evaluates an expression over a document; a null document has no nodes. */
SXPathResult evaluateXPath(xmlDoc* doc, const xmlChar* expression);

/** The nodes of a result, which must not be null, in document order. */
inline std::span<xmlNode* const> nodesOf(const XPathObjectPtr& result) {
    return {result->nodesetval->nodeTab, static_cast<std::size_t>(result->nodesetval->nodeNr)};
}

// Nodes. Element names are compared without regard to case. Texts belong to the document.

/** Whether the node is an element of this name. Comments and processing instructions are not elements. */
bool isElementNamed(const xmlNode* node, const char* name);

/** The first element of this name among node, which may be null, and its later siblings; or null. */
xmlNode* findElement(xmlNode* node, const char* name);

/** The text of an element's attribute; null if it is absent or empty. */
const xmlChar* attributeText(const xmlNode* node, const char* name);

/** The text of the node's first child, which for an entity reference is the entity's replacement text, as in
 *  an attribute; null if there is no child, or if it is not a text, or is empty. */
const xmlChar* firstChildText(const xmlNode* node);

/** Replaces each PCI id that the element has an attribute for, unchanged in form. The other ids stay. */
void readPciIds(const xmlNode* element, SPCIInfo& ids);
