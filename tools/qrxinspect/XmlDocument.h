#pragma once

#include "XmlReading.h"
#include "base/Result.h"

#include <string>
#include <string_view>
#include <vector>

namespace qrxinspect {

/** What becomes of blank text between elements. */
enum class Blanks { Dropped, Kept };

/**
 * Parses a document in memory. Loads nothing from the network or from files, and prints nothing.
 *
 * Keeps line numbers. Refuses a document type declaration: no file of this tool has one, and entities can
 * make a small file huge. The error names the line.
 */
vtek::Result<XmlDocPtr> parseDocument(std::string_view text, Blanks blanks = Blanks::Dropped);

/** Like parseDocument; the root element must be rootName. */
vtek::Result<XmlDocPtr> parseDocumentOf(std::string_view text, const char* rootName);

/** The name of the root element, "{namespace}name" if it is in a namespace. */
std::string rootNameOf(const xmlDoc& document);

/** The child elements in document order. */
std::vector<const xmlNode*> childElements(const xmlNode& parent);

/** The child elements of one name. */
std::vector<const xmlNode*> childElements(const xmlNode& parent, const char* name);

/** The elements of one name at and below an element, in document order. */
std::vector<const xmlNode*> elementsNamed(const xmlNode& top, const char* name);

bool isNamed(const xmlNode& element, const char* name);

/** The attribute's text; empty if it is absent. */
std::string attributeOf(const xmlNode& element, const char* name);

/** The whole text content of the node. */
std::string contentOf(const xmlNode& node);

/** The line on which the element starts. */
long lineOf(const xmlNode& element);

}  // namespace qrxinspect
