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

/** The options of every parse: no network access, no messages on standard error. Callers refuse a document
 * type, and with it every entity. */
extern const int kXmlOptions;

inline const char* toChars(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

/** Appends text, escaped for an attribute value in double quotes. */
void appendEscaped(std::string& out, std::string_view text);

/** Whether text is valid UTF-8 and contains only characters that XML allows. */
bool isXmlText(std::string_view text);

}  // namespace vtek
