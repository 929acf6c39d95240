#include "XmlPruning.h"

#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>

#include <limits>

namespace {

/** The state of one parse. libxml2 passes it on to the parsers of entities. */
struct Pruning {
    const std::function<bool(const xmlNode*)>& isWanted;
    int skippedElements = 0;  // depth inside an unwanted child
};

xmlParserCtxt& parserOf(void* context) {
    return *static_cast<xmlParserCtxt*>(context);
}

Pruning& pruningOf(void* context) {
    return *static_cast<Pruning*>(parserOf(context)._private);
}

// Numbers of open nodes (xmlParserCtxt::nodeNr): the root alone, or the root and one of its children.
constexpr int kInsideRoot = 1;
constexpr int kInsideChild = 2;

// The signatures of the next functions are libxml2's.
void startElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri,
                  int namespaceCount, const xmlChar** namespaces, int attributeCount, int defaultedCount,
                  const xmlChar** attributes) {
    const xmlParserCtxt& parser = parserOf(context);
    Pruning& pruning = pruningOf(context);
    if (pruning.skippedElements > 0 || (parser.nodeNr == kInsideChild && !pruning.isWanted(parser.node))) {
        ++pruning.skippedElements;
        return;
    }
    xmlSAX2StartElementNs(context, name, prefix, uri, namespaceCount, namespaces, attributeCount,
                          defaultedCount, attributes);
}

void dropUnwanted(xmlNode* child, const Pruning& pruning) {
    if (child != nullptr && !pruning.isWanted(child)) {
        xmlUnlinkNode(child);
        xmlFreeNode(child);
    }
}

/** Drops the child before the one that ends. The latter must stay until the next child has ended: without it
 *  libxml2 would join the texts before and after it. */
void endElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri) {
    Pruning& pruning = pruningOf(context);
    if (pruning.skippedElements > 0) {
        --pruning.skippedElements;
        return;
    }
    const xmlParserCtxt& parser = parserOf(context);
    xmlNode* const ended = parser.node;
    xmlSAX2EndElementNs(context, name, prefix, uri);
    if (parser.nodeNr == kInsideRoot) {
        dropUnwanted(xmlPreviousElementSibling(ended), pruning);
    }
}

}  // namespace

XmlDocPtr parseXmlPruned(std::string_view text, const std::function<bool(const xmlNode*)>& isWanted) {
    if (text.size() > static_cast<std::size_t>(std::numeric_limits<int>::max())) {
        return nullptr;
    }
    const XmlParserPtr parser(xmlCreateMemoryParserCtxt(text.data(), static_cast<int>(text.size())));
    if (!parser) {
        return nullptr;
    }
    Pruning pruning{isWanted};
    parser->_private = &pruning;
    parser->sax->startElementNs = startElement;
    parser->sax->endElementNs = endElement;
    xmlParseDocument(parser.get());
    XmlDocPtr doc(parser->myDoc);
    parser->myDoc = nullptr;
    return parser->wellFormed != 0 ? std::move(doc) : nullptr;
}
