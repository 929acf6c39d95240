#pragma once

#include "DeviceInfo.h"
#include "XmlReading.h"

#include <map>
#include <sstream>
#include <string>
#include <vector>

/**
 * Reads the update package's description, "package.xml" in the working directory.
 *
 * Every query parses the file again; nothing is cached. The file's full path is fixed at construction, but
 * its existence is tested by bare name, so that test follows the working directory. Nothing is thrown: an
 * empty text, an empty list or a null result shows a failure, and the debug log says why.
 *
 * The reader owns the document of its latest parse. Nodes and their texts live until the next query parses
 * the file; an XPath result must be released before that.
 *
 * Construction makes libxml2 drop blank text nodes in the whole process. Destruction of a reader that holds a
 * document calls xmlCleanupParser: no other user of libxml2 may be active then.
 */
class CSoftwareComponentInfo {
public:
    /** Switches the debug log on ("baseutils.log") if the marker file "enabledebug.txt" is in the working
     *  directory, then parses the file. Never fails. */
    CSoftwareComponentInfo();
    ~CSoftwareComponentInfo();
    CSoftwareComponentInfo(const CSoftwareComponentInfo&) = delete;
    CSoftwareComponentInfo& operator=(const CSoftwareComponentInfo&) = delete;

    /** Sets the path from the working directory and parses the file there. */
    void ParseXMl();

    /** Evaluates expression over doc. The result holds at least one node, or is null. */
    XPathObjectPtr GetNodeSet(xmlDoc* doc, const xmlChar* expression);

    /** As GetNodeSet, but logs errors only. */
    XPathObjectPtr getnodeset(xmlDoc* doc, const xmlChar* expression);

    /** Parses the file and returns its supported devices, at least one, or null. */
    XPathObjectPtr ParseXmlUsingXpath();

    /** Parses the file and returns the nodes that expression selects, at least one, or null. */
    XPathObjectPtr ParseXmlUsingXpath(const char* expression);

    /** The text of an element's attribute, which belongs to the document; null if it is absent or empty. */
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
     * @param record       every matching Device element is appended to it as text
     * @param inventory    the inventory document; its whole text is read, regardless of its position
     * @return true if the look-up was possible, even if it found nothing; false if the text is not XML or
     *         memory ran out
     */
    bool GetInvFromTVK(std::string componentID, std::stringstream& record, std::stringstream& inventory);

    /**
     * The PCI identity of every supported PCI device, one per PCIInfo element, in document order.
     *
     * Ids are text, padded with zeros on the left to four characters. An element that lacks an id or a name
     * takes that of the previous element, even of another device. The component id is always the device's
     * own.
     */
    std::vector<SPCIInfo> GetSupportedDevices();

    /**
     * The name that the package gives to a PCI device; the last match wins.
     *
     * @param device  only its four PCI ids count; they are compared without regard to case and must be padded
     *                as in GetSupportedDevices
     */
    std::string getMarketingNameForPCIDevice(const SPCIInfo& device);

    /**
     * The hard and soft dependencies of all supported devices, in document order, without duplicates.
     *
     * One record per dependency, or one per PCIInfo if it has any. A PCIInfo that lacks an id takes that of
     * the previous PCIInfo, even of another dependency. The caller owns the records. The list ends early if
     * there is no memory for a record.
     */
    std::vector<CDeviceInfo*> getDependencyInfo();

    /** Appends device to list unless the list has an equal record. The record stays the caller's in either
     *  case. Takes time in proportion to the list. */
    void AddDependencyInfo(std::vector<CDeviceInfo*>& list, CDeviceInfo* const& device);

    /** The names of the supported devices by component id, without devices that have no name. The last device
     *  of an id wins. */
    std::map<std::string, std::string> getCompIDMarkNameInfo();

    /** The name of the device with this component id, compared without regard to case. */
    std::string getMarketingNameForNonPCIDevice(const std::string& componentID);

    /** The package's display string: the name of the first device whose first child is a Display. */
    std::string GetComponentDisplayString();

private:
    static constexpr const char* kDevicePath = "//SoftwareComponent/SupportedDevices/Device";

    std::string m_strPackageXmlPath;
    XmlDocPtr m_pXmlDoc;

    void parsePackageXml();
    std::string lastAttributeOf(const char* expression, const char* name);
};
