#pragma once

#include "DeviceInfo.h"
#include "XmlHandles.h"

#include <string>
#include <vector>

/**
 * Reader of an inventory result, an SVMInventory document: turns it back into device records.
 *
 * The reader owns the document that GetDeviceInfo parses; nodes and XPath results must not be used after the
 * next GetDeviceInfo, nor after the reader has gone. Construction switches libxml2's keeping of blank text
 * nodes off for the whole process.
 */
class CDeviceInventoryInfo {
public:
    /** Reads nothing yet. */
    explicit CDeviceInventoryInfo(const std::string& path);
    virtual ~CDeviceInventoryInfo();
    CDeviceInventoryInfo(const CDeviceInventoryInfo&) = delete;
    CDeviceInventoryInfo& operator=(const CDeviceInventoryInfo&) = delete;

    /**
     * Parses the file and returns one record per device, which is the caller's; none where it cannot be read.
     *
     * A failure that the document reports is one of the whole inventory: every record then carries its
     * message and status 1, and a document without devices yields one record with just these. Otherwise the
     * status stays at its default, so success is what GetInventoryStatus says, never a record.
     */
    std::vector<CDeviceInfo*> GetDeviceInfo();

    /** Whether the document that was parsed last reports no failure. Where it does, message receives the text
     *  of the first failure, if that has one. */
    bool GetInventoryStatus(std::string& message);

    /** The nodes that the expression selects, at least one, or null. */
    XPathObjectPtr GetNodeSet(const char* xpath);

    /** The attribute's text; null where it is absent or empty, or where node or name is null. Belongs to the
     *  document. */
    const xmlChar* GetAttributeValue(xmlNode* node, const char* name);

private:
    std::string m_strPath;
    XmlDocPtr m_pXmlDoc;
};
