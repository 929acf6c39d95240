#pragma once

#include "Result.h"
#include "XmlReading.h"

#include <string>
#include <string_view>
#include <vector>

namespace tools {

/**
 * Parses a document held in memory: nothing from the network, no entities from outside, no message printed.
 *
 * Blank text between elements is dropped, line numbers are kept. A document type declaration is refused, for
 * no file of this tool has one and its entities are a way to blow up a small file. The problem names the
 * line.
 */
Result<XmlDocPtr> parseDocument(std::string_view text);

/** As parseDocument, and the root element must be called rootName. */
Result<XmlDocPtr> parseDocumentOf(std::string_view text, const char* rootName);

/** The name of the document's root element; one in a namespace is another name: "{namespace}name". */
std::string rootNameOf(const xmlDoc& document);

/** The child elements in document order. */
std::vector<const xmlNode*> childElements(const xmlNode& parent);

/** As childElements, those of one name only. */
std::vector<const xmlNode*> childElements(const xmlNode& parent, const char* name);

bool isNamed(const xmlNode& element, const char* name);

/** The attribute's text, empty where it is absent. */
std::string attributeOf(const xmlNode& element, const char* name);

/** The whole text content of the node. */
std::string contentOf(const xmlNode& node);

/** The line on which the element starts. */
long lineOf(const xmlNode& element);

}  // namespace tools
