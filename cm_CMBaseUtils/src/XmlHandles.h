#pragma once

#include <libxml/parser.h>
#include <libxml/xpath.h>

#include <memory>

/** Owners of libxml2's objects: each frees what it holds with the library's own function. */

struct XmlDocDeleter {
    void operator()(xmlDoc* doc) const { xmlFreeDoc(doc); }
};
using XmlDocPtr = std::unique_ptr<xmlDoc, XmlDocDeleter>;

struct XmlParserDeleter {
    void operator()(xmlParserCtxt* parser) const { xmlFreeParserCtxt(parser); }
};
/** Owns the parser alone: the document that it makes is taken from it, or freed, apart. */
using XmlParserPtr = std::unique_ptr<xmlParserCtxt, XmlParserDeleter>;

struct XPathContextDeleter {
    void operator()(xmlXPathContext* context) const { xmlXPathFreeContext(context); }
};
using XPathContextPtr = std::unique_ptr<xmlXPathContext, XPathContextDeleter>;

struct XPathObjectDeleter {
    void operator()(xmlXPathObject* object) const { xmlXPathFreeObject(object); }
};
/** Must go before the document whose nodes it names. */
using XPathObjectPtr = std::unique_ptr<xmlXPathObject, XPathObjectDeleter>;

struct XmlBufferDeleter {
    void operator()(xmlBuffer* buffer) const { xmlBufferFree(buffer); }
};
using XmlBufferPtr = std::unique_ptr<xmlBuffer, XmlBufferDeleter>;

struct XmlCharDeleter {
    void operator()(xmlChar* text) const { xmlFree(text); }
};
using XmlCharPtr = std::unique_ptr<xmlChar, XmlCharDeleter>;
