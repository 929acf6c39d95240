#pragma once

#include "DeviceInfo.h"

#include <libxml/tree.h>

/** Small questions about the nodes of a document. Names of elements are compared without regard to case; the
 *  texts that come back belong to the document. */

/** Whether the node is an element of this name; comments and processing instructions are not. */
bool isElementNamed(const xmlNode* node, const char* name);

/** The first element of this name among node and the siblings that follow it, or null. node may be null. */
xmlNode* findElement(xmlNode* node, const char* name);

/** The text of an element's attribute; null where it is absent or empty. */
const xmlChar* attributeText(const xmlNode* node, const char* name);

/** The text of the node's first child; null where there is none, where it is no text, or empty. */
const xmlChar* firstChildText(const xmlNode* node);

/** Replaces, as written, the PCI ids that the element has an attribute for; the others stay. */
void readPciIds(const xmlNode* element, SPCIInfo& ids);
