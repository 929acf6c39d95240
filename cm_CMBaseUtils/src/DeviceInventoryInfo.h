#pragma once

#include "DeviceInfo.h"
#include "XmlReading.h"

#include <string>
#include <vector>

/**
 * Reads an inventory result, an SVMInventory document, back into device records.
 *
 * The reader owns the document that GetDeviceInfo parses; nodes and XPath results must not be used after the
 * next GetDeviceInfo or after the reader's destruction. Construction makes libxml2 drop blank text nodes in
 * the whole process.
 */
class CDeviceInventoryInfo {
public:
    /** Reads nothing yet. */
    explicit CDeviceInventoryInfo(const std::string& path);
    /** Takes a document that is already parsed, with blank text dropped; GetDeviceInfo then reads no file. */
    explicit CDeviceInventoryInfo(XmlDocPtr document);
    virtual ~CDeviceInventoryInfo();
    CDeviceInventoryInfo(const CDeviceInventoryInfo&) = delete;
    CDeviceInventoryInfo& operator=(const CDeviceInventoryInfo&) = delete;

    /**
     * Parses the file and returns one record per device, owned by the caller; none if it cannot be read.
     *
     * A failure in the document concerns the whole inventory: every record then carries its message and
     * status 1, and a document without devices gives one record with just these. Otherwise the status keeps
     * its default, so ask GetInventoryStatus, not a record, about success.
     */
    std::vector<CDeviceInfo*> GetDeviceInfo();

    /** True if the last parsed document reports no failure. Otherwise message receives the text of the first
     *  failure, if it has one. */
    bool GetInventoryStatus(std::string& message);

    /** The nodes that the expression selects, at least one, or null. */
    XPathObjectPtr GetNodeSet(const char* xpath);

    /** The attribute's text, which belongs to the document; null if it is absent or empty, or if node or name
     *  is null. */
    const xmlChar* GetAttributeValue(xmlNode* node, const char* name);

private:
    std::string m_strPath;
    XmlDocPtr m_pXmlDoc;
};
