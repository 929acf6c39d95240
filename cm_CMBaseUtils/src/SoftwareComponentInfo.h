#pragma once

#include "DeviceInfo.h"
#include "XmlHandles.h"

#include <map>
#include <sstream>
#include <string>
#include <vector>

/**
 * Reader of the update package's description, "package.xml" in the working directory.
 *
 * Every query parses the file anew; nothing is cached between queries. The file's full path is fixed at
 * construction, while its existence is tested by bare name and so follows the working directory. Nothing is
 * thrown and no error code returned: an empty text, an empty list or a null result is the only sign of
 * failure, and the debug log tells why.
 *
 * The reader owns the document of its latest parse. Nodes, and texts that belong to them, live until the next
 * query parses the file; an XPath result must be released before that.
 *
 * Construction switches libxml2's keeping of blank text nodes off for the whole process, and destruction of a
 * reader that holds a document calls xmlCleanupParser: no other user of libxml2 may be active then.
 */
class CSoftwareComponentInfo {
public:
    /** Switches the debug log on ("baseutils.log") where the marker file "enabledebug.txt" lies in the
     * working directory, then parses the file. Never fails. */
    CSoftwareComponentInfo();
    ~CSoftwareComponentInfo();
    CSoftwareComponentInfo(const CSoftwareComponentInfo&) = delete;
    CSoftwareComponentInfo& operator=(const CSoftwareComponentInfo&) = delete;

    /** The first parse: sets the path and the document. */
    void ParseXMl();

    /** Evaluates expression over doc. The result holds at least one node, or is null. */
    XPathObjectPtr GetNodeSet(xmlDoc* doc, const xmlChar* expression);

    /** As GetNodeSet, but logs errors only. */
    XPathObjectPtr getnodeset(xmlDoc* doc, const xmlChar* expression);

    /** Parses the file and returns its supported devices, at least one, or null. */
    XPathObjectPtr ParseXmlUsingXpath();

    /** Parses the file and returns the nodes that expression selects, at least one, or null. */
    XPathObjectPtr ParseXmlUsingXpath(const char* expression);

    /** The text of an element's attribute; null where it is absent or empty. Belongs to the document. */
    const xmlChar* GetAttributeValue(xmlNode* node, const char* name);

    /** The component id of the first supported device. */
    std::string GetComponentID();

    /** The package's component type; the last one wins. */
    std::string GetComponentType();

    /** The package's version; the last one wins. */
    std::string GetComponentVersion();

    /** Whether a supported device carries rollback information. */
    bool getPresenceOfRollbackInfo();

    /**
     * Finds a component in a controller's inventory.
     *
     * @param componentID  the id, compared exactly
     * @param record       receives every matching Device element, serialised, after what it already holds
     * @param inventory    holds the inventory document; its whole text is read, whatever its position
     * @return true when the look-up could be carried out, also when nothing was found; false when the text is
     *         not XML or no memory was left
     */
    bool GetInvFromTVK(std::string componentID, std::stringstream& record, std::stringstream& inventory);

    /**
     * The PCI identity of every supported PCI device, one per PCIInfo element, in document order.
     *
     * Ids are text as written, filled up with zeros on the left to four characters. An id or a name that an
     * element lacks is the one of the element before, also across devices; the component id is always the
     * device's own.
     */
    std::vector<SPCIInfo> GetSupportedDevices();

    /**
     * The name that the package gives to a PCI device; the last match wins.
     *
     * @param device  its four PCI ids are compared without regard to case, in the padded form of
     *                GetSupportedDevices; its component id and name are not read
     */
    std::string getMarketingNameForPCIDevice(const SPCIInfo& device);

    /**
     * The hard and soft dependencies of all supported devices, in document order, no two of them equal.
     *
     * One record per dependency, or per PCIInfo of it; an id that a PCIInfo lacks is the one of the PCIInfo
     * before, also across dependencies. The records are the caller's. When no memory is left for a record,
     * the list ends there.
     */
    std::vector<CDeviceInfo*> getDependencyInfo();

    /** Appends device to list unless a record equal to it is there. Either way the record stays the caller's;
     *  takes time in proportion to the list. */
    void AddDependencyInfo(std::vector<CDeviceInfo*>& list, CDeviceInfo* const& device);

    /** The names of the supported devices by component id; the last device of an id wins. Devices without a
     *  name are left out. */
    std::map<std::string, std::string> getCompIDMarkNameInfo();

    /** The name of the device with this component id, compared without regard to case. */
    std::string getMarketingNameForNonPCIDevice(const std::string& componentID);

    /** The package's display string: the name of the first device whose first child is its name. */
    std::string GetComponentDisplayString();

private:
    static constexpr const char* kDevicePath = "//SoftwareComponent/SupportedDevices/Device";

    std::string m_strPackageXmlPath;
    XmlDocPtr m_pXmlDoc;
    /** Of the latest look-up. Freed no earlier than needed: that takes a fifth as long as making it. */
    XmlDocPtr m_pInventoryDoc;

    void parsePackageXml();
    std::string lastAttributeOf(const char* expression, const char* name);
};
