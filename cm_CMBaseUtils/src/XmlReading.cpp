#include "XmlReading.h"

#include "ReadableFile.h"

#include <libxml/xmlIO.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <limits>
#include <utility>

namespace {

// An empty attribute may have an empty text node as its child.
const xmlChar* nullIfEmpty(const xmlChar* text) {
    return text != nullptr && *text != '\0' ? text : nullptr;
}

void readPciId(const xmlNode* element, const char* name, std::string& id) {
    if (const xmlChar* text = attributeText(element, name)) {
        id = asChars(text);
    }
}

/** libxml2 opens files through this function while parseXmlFile runs. Opening the checked file by its
 * descriptor keeps anyone from putting a FIFO in its place meanwhile. */
xmlParserInputBuffer* openWithoutWaiting(const char* path, xmlCharEncoding encoding) {
    const CReadableFile file(path);
    if (!file.isOpen() || file.canWaitForInput()) {
        return nullptr;
    }
    // Not a string: its exception must not pass through libxml2.
    std::array<char, sizeof "/proc/self/fd/" + std::numeric_limits<int>::digits10 + 1> sameFile{};
    std::snprintf(sameFile.data(), sameFile.size(), "/proc/self/fd/%d", file.descriptor());
    xmlParserInputBuffer* const input = __xmlParserInputBufferCreateFilename(sameFile.data(), encoding);
    // Without /proc, reads only what is not compressed.
    return input != nullptr ? input : xmlParserInputBufferCreateFd(dup(file.descriptor()), encoding);
}

/** An entity reference counts as its replacement text, as in an attribute. */
bool isText(const xmlNode* node) {
    return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE ||
           node->type == XML_ENTITY_REF_NODE;
}

}  // namespace

XmlDocPtr parseXmlFile(const std::string& path) {
    const auto opensByDefault = xmlParserInputBufferCreateFilenameDefault(openWithoutWaiting);
    XmlDocPtr doc(xmlParseFile(path.c_str()));
    xmlParserInputBufferCreateFilenameDefault(opensByDefault);
    return doc;
}

XmlDocPtr parseXmlText(std::string_view text) {
    const bool fits = text.size() <= static_cast<std::size_t>(std::numeric_limits<int>::max());
    return XmlDocPtr(fits ? xmlParseMemory(text.data(), static_cast<int>(text.size())) : nullptr);
}

SXPathResult evaluateXPath(xmlDoc* doc, const xmlChar* expression) {
    const XPathContextPtr context(xmlXPathNewContext(doc));
    if (!context) {
        return {eXPathOutcome::NO_CONTEXT, nullptr};
    }
    XPathObjectPtr result(xmlXPathEvalExpression(expression, context.get()));
    if (!result) {
        return {eXPathOutcome::NOT_EVALUATED, nullptr};
    }
    // Numbers, booleans and strings have no node set, which counts as an empty one.
    if (xmlXPathNodeSetIsEmpty(result->nodesetval)) {
        return {eXPathOutcome::EMPTY, nullptr};
    }
    return {eXPathOutcome::FOUND, std::move(result)};
}

bool isElementNamed(const xmlNode* node, const char* name) {
    return node->type == XML_ELEMENT_NODE && xmlStrcasecmp(node->name, asXmlChars(name)) == 0;
}

xmlNode* findElement(xmlNode* node, const char* name) {
    while (node != nullptr && !isElementNamed(node, name)) {
        node = node->next;
    }
    return node;
}

const xmlChar* attributeText(const xmlNode* node, const char* name) {
    const xmlAttr* attribute = xmlHasProp(node, asXmlChars(name));
    if (attribute == nullptr || attribute->children == nullptr) {
        return nullptr;
    }
    return nullIfEmpty(attribute->children->content);
}

const xmlChar* firstChildText(const xmlNode* node) {
    const xmlNode* child = node->children;
    return child != nullptr && isText(child) ? nullIfEmpty(child->content) : nullptr;
}

void readPciIds(const xmlNode* element, SPCIInfo& ids) {
    readPciId(element, "deviceID", ids.deviceID);
    readPciId(element, "subDeviceID", ids.subDeviceID);
    readPciId(element, "vendorID", ids.vendorID);
    readPciId(element, "subVendorID", ids.subVendorID);
}
