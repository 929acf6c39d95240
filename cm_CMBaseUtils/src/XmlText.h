#pragma once

#include <libxml/xmlstring.h>
#include <strings.h>

#include <string>

/** libxml2 speaks xmlChar, the rest of the program char; both are the same bytes. */

inline const char* asChars(const xmlChar* text) {
    return reinterpret_cast<const char*>(text);
}

inline const xmlChar* asXmlChars(const char* text) {
    return reinterpret_cast<const xmlChar*>(text);
}

/** The text, or an empty string where there is none. */
inline std::string textOrEmpty(const xmlChar* text) {
    return text == nullptr ? std::string() : asChars(text);
}

/** Whether the two are the same text but for the case of its letters. */
inline bool equalsIgnoringCase(const std::string& one, const std::string& other) {
    return one.size() == other.size() && strncasecmp(one.data(), other.data(), one.size()) == 0;
}
