#pragma once

#include "XmlReading.h"

#include <functional>
#include <string_view>

/**
 * Parses a document like xmlParseMemory, but drops the unwanted child elements of the root, so that a long
 * document takes little memory. The last child stays even if it is unwanted, without its own children.
 *
 * @param isWanted  asked about each child of the root more than once, with its attributes known; must always
 *                  give the same answer
 * @return null if the text is not a well-formed document
 */
XmlDocPtr parseXmlPruned(std::string_view text, const std::function<bool(const xmlNode*)>& isWanted);
