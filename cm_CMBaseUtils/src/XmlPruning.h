#pragma once

#include "XmlReading.h"

#include <functional>
#include <string_view>

/**
 * Parses a document like xmlParseMemory, but drops the unwanted child elements of the root, so that a long
 * document takes little memory. The root's first node and its last child stay even if they are unwanted.
 *
 * An unwanted child is parsed whole before it is dropped: the limits of libxml2 hold as in any other parse.
 *
 * @param isWanted  asked about a complete child of the root
 * @return null if the text is not a well-formed document
 */
XmlDocPtr parseXmlPruned(std::string_view text, const std::function<bool(const xmlNode*)>& isWanted);
