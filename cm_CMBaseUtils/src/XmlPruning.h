#pragma once

#include "XmlHandles.h"

#include <functional>
#include <string_view>

/**
 * Parses a document as xmlParseMemory does, but leaves out the child elements of its root that are not
 * wanted, so that a document of any length takes little memory. The last one stays, without its own children.
 *
 * @param isWanted  is asked about each of these elements more than once, from when its attributes are known;
 *                  has to give the same answer
 * @return null when the text is no well-formed document
 */
XmlDocPtr parseXmlPruned(std::string_view text, const std::function<bool(const xmlNode*)>& isWanted);
