#include "base/Xml.h"

#include <libxml/parser.h>
#include <libxml/xmlstring.h>

namespace vtek {

const int kXmlOptions = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;

namespace {

// Also white space: a parser would turn it into a plain blank inside an attribute.
constexpr std::string_view kSpecial = "&<>\"\t\n\r";

std::string_view replacement(char c) {
    switch (c) {
        case '&':
            return "&amp;";
        case '<':
            return "&lt;";
        case '>':
            return "&gt;";
        case '"':
            return "&quot;";
        case '\t':
            return "&#9;";
        case '\n':
            return "&#10;";
        default:
            return "&#13;";
    }
}

/** The production Char of XML 1.0: no control characters, no surrogates, no U+FFFE or U+FFFF. */
bool isXmlCharacter(int c) {
    return c == '\t' || c == '\n' || c == '\r' || (c >= 0x20 && c <= 0xD7FF) ||
           (c >= 0xE000 && c <= 0xFFFD) || (c >= 0x10000 && c <= 0x10FFFF);
}

}  // namespace

void appendEscaped(std::string& out, std::string_view text) {
    for (;;) {
        const auto special = text.find_first_of(kSpecial);
        out += text.substr(0, special);
        if (special == std::string_view::npos) {
            return;
        }
        out += replacement(text[special]);
        text.remove_prefix(special + 1);
    }
}

bool isXmlText(std::string_view text) {
    const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
    std::size_t position = 0;
    while (position < text.size()) {
        int length = static_cast<int>(text.size() - position);
        const int c = xmlGetUTF8Char(bytes + position, &length);
        if (c < 0 || !isXmlCharacter(c)) {
            return false;
        }
        position += static_cast<std::size_t>(length);
    }
    return true;
}

}  // namespace vtek
