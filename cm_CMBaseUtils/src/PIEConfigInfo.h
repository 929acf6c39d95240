#pragma once

#include "XmlHandles.h"

#include <string>

/**
 * Reader of a package's plug-in configuration, a PIEConfig document: finds the inventory plug-in, that is the
 * command line that makes an inventory, the file into which that command writes it, and the time-out.
 *
 * What was not found stays as it was: empty texts and a time-out of 0 in a new reader. The reader owns the
 * document of its last Init; nodes and XPath results must not be used after the next Init, nor after the
 * reader has gone.
 */
class CPIEConfigInfo {
public:
    CPIEConfigInfo();
    virtual ~CPIEConfigInfo();
    CPIEConfigInfo(const CPIEConfigInfo&) = delete;
    CPIEConfigInfo& operator=(const CPIEConfigInfo&) = delete;

    /** Parses the file at path and looks for its inventory plug-in. False where either fails. */
    bool Init(const std::string& path);

    std::string GetInventoryCommand() const;
    std::string GetInventoryCommandOutFileName() const;
    /** In the unit that the file uses: the leading digits of the attribute, 0 without any, INT_MAX at most.
     */
    int GetInventoryTimeout() const;

    /** All plug-ins, at least one, or null. */
    XPathObjectPtr GetPlugins();

    /** The nodes that the expression selects, at least one, or null. */
    XPathObjectPtr GetNodeSet(const char* xpath);

    /** Takes time-out, command and output file of the first plug-in that makes an inventory: description
     *  "Inventory" and type "0", whatever the case of their letters, and any time-out. False where there is
     *  no such plug-in, or its command or output file is missing. */
    bool GetInventoryPluginInfo();

    /** Takes command and output file from the plug-in's first CliToFile; of several, the last with a text.
     *  False, changing nothing, where one is missing or node is null. */
    bool GetInventoryCommandInfo(xmlNode* node);

    /** The attribute's text; null where it is absent or empty, or where node or name is null. Belongs to the
     *  document. */
    const xmlChar* GetAttributeValue(xmlNode* node, const char* name);

private:
    XmlDocPtr m_pXmlDoc;
    std::string m_strInventoryCommand;
    std::string m_strOutputFileName;
    int m_nTimeout;

    bool isInventoryPlugin(xmlNode* plugin);
};
