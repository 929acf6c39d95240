#include "XmlPruning.h"

#include <libxml/SAX2.h>
#include <libxml/parserInternals.h>

#include <limits>

namespace {

/** The state of one parse. libxml2 passes it on to the parsers of entities. */
struct Pruning {
    const std::function<bool(const xmlNode*)>& isWanted;
    const xmlParserCtxt* parser;  // of the document itself
};

/** The number of open nodes (xmlParserCtxt::nodeNr) where only the root is open. */
constexpr int kInsideRoot = 1;

/** Drops the child if it is unwanted. The root's first node stays: libxml2 looks at it to decide whether
 * blank text counts. */
void dropUnwanted(xmlNode* child, const Pruning& pruning) {
    if (child != nullptr && child->prev != nullptr && !pruning.isWanted(child)) {
        xmlUnlinkNode(child);
        xmlFreeNode(child);
    }
}

/** Ends an element, and drops the root's child before it. The child that ends must stay until the next one
 * has ended: without it libxml2 would join the texts before and after it. The signature is libxml2's. */
void endElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri) {
    const xmlParserCtxt& parser = *static_cast<xmlParserCtxt*>(context);
    xmlNode* const ended = parser.node;
    xmlSAX2EndElementNs(context, name, prefix, uri);
    const Pruning& pruning = *static_cast<Pruning*>(parser._private);
    if (&parser == pruning.parser && parser.nodeNr == kInsideRoot) {
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
    Pruning pruning{isWanted, parser.get()};
    parser->_private = &pruning;
    parser->sax->endElementNs = endElement;
    xmlParseDocument(parser.get());
    XmlDocPtr doc(parser->myDoc);
    parser->myDoc = nullptr;
    return parser->wellFormed != 0 ? std::move(doc) : nullptr;
}
