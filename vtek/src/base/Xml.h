#pragma once

#include <libxml/tree.h>
#include <libxml/xmlreader.h>

#include <memory>
#include <string>
#include <string_view>

namespace vtek {

struct FreeXml {
    void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
    void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
    void operator()(xmlChar* text) const { xmlFree(text); }
};

using XmlDocPtr = std::unique_ptr<xmlDoc, FreeXml>;
using XmlReaderPtr = std::unique_ptr<xmlTextReader, FreeXml>;
using XmlTextPtr = std::unique_ptr<xmlChar, FreeXml>;

/** Said with every parse: nothing from the network, nothing printed; a document type is refused by the
 * callers. */
extern const int kXmlOptions;

inline const char* toChars(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

/** Appends text as it must stand between an attribute's double quotes. */
void appendEscaped(std::string& out, std::string_view text);

/** Whether text is UTF-8 and made of characters that an XML document can hold. */
bool isXmlText(std::string_view text);

}  // namespace vtek
