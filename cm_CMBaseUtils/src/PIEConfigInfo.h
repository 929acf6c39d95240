#pragma once

#include "XmlReading.h"

#include <string>

/**
 * Reads a package's plug-in configuration, a PIEConfig document: finds the inventory plug-in, its command
 * line, the file that the command writes, and its time-out.
 *
 * Values that were not found keep their state: empty texts and a time-out of 0 in a new reader. The reader
 * never frees a document, so nodes and XPath results outlive it and its next Init. A caller that needs the
 * memory back frees the documents itself: GetNodeSet("/") returns the document of the last Init.
 */
class CPIEConfigInfo {
public:
    CPIEConfigInfo();
    virtual ~CPIEConfigInfo();
    CPIEConfigInfo(const CPIEConfigInfo&) = delete;
    CPIEConfigInfo& operator=(const CPIEConfigInfo&) = delete;

    /** Parses the file at path and finds its inventory plug-in. False if either fails. */
    bool Init(const std::string& path);

    std::string GetInventoryCommand() const;
    std::string GetInventoryCommandOutFileName() const;
    /** The leading digits of the attribute, in the file's own unit: 0 if there are none, at most INT_MAX. */
    int GetInventoryTimeout() const;

    /** All plug-ins, at least one, or null. */
    XPathObjectPtr GetPlugins();

    /** The nodes that the expression selects, at least one, or null. */
    XPathObjectPtr GetNodeSet(const char* xpath);

    /** Takes the time-out, command and output file of the first inventory plug-in: the one with description
     *  "Inventory" in any case, type "0", and a time-out. False if there is none, or if its command or output
     *  file is missing. */
    bool GetInventoryPluginInfo();

    /** Takes the command and the output file from the plug-in's first CliToFile; of several, the last one
     * with a text. False, without a change, if one is missing or node is null. */
    bool GetInventoryCommandInfo(xmlNode* node);

    /** The attribute's text, which belongs to the document; null if it is absent or empty, or if node or name
     *  is null. */
    const xmlChar* GetAttributeValue(xmlNode* node, const char* name);

private:
    xmlDoc* m_pXmlDoc;
    std::string m_strInventoryCommand;
    std::string m_strOutputFileName;
    int m_nTimeout;

    bool isInventoryPlugin(xmlNode* plugin);
};
