#include "InventoryXMLWriter.h"

#include "DeviceXMLFragments.h"
#include "LogSource.h"

#include <exception>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/InventoryXMLWriter");

std::string enumAttribute(const CDeviceInfo& device) {
    const std::string enumId = device.getEnumId();
    return enumId.empty() ? "" : R"(enum = ")" + enumId + '"';
}

}  // namespace

CInventoryXMLWriter::CInventoryXMLWriter() {
    debugLog("CInventoryXMLWriter::CInventoryXMLWriter() In Constructor Method");
}

CInventoryXMLWriter::~CInventoryXMLWriter() {
    debugLog("CInventoryXMLWriter::CInventoryXMLWriter() In Destructor Method");
}

bool CInventoryXMLWriter::GetXML(const std::vector<CDeviceInfo*>& devices, std::string fileName) {
    debugLog("CInventoryXMLWriter::GetXML() Entering");
    if (!fileName.empty() && !openFile(fileName)) {
        return false;
    }
    addXMLHeader();
    addInventoryHeader();
    for (const CDeviceInfo* device : devices) {
        addDevice(*device);
    }
    addInventoryFooter();
    print();
    debugLog("CInventoryXMLWriter::GetXML() Exiting");
    return true;
}

void CInventoryXMLWriter::addXMLHeader() {
    debugLog("CInventoryXMLWriter::addXMLHeader() In addXMLHeader Method");
    m_xmlStream << kXmlDeclaration;
}

void CInventoryXMLWriter::addInventoryHeader() {
    debugLog("CInventoryXMLWriter::addInventoryHeader() In addInventoryHeader Method");
    m_xmlStream << R"(<SVMInventory lang="en">)";
}

void CInventoryXMLWriter::addInventoryFooter() {
    debugLog("CInventoryXMLWriter::addInventoryFooter() In addInventoryFooter Method");
    m_xmlStream << "</SVMInventory>";
}

void CInventoryXMLWriter::print() {
    try {
        debugLog("CInventoryXMLWriter::print() Entering");
        if (m_outFile.is_open()) {
            m_outFile << m_xmlStream.str();
            m_outFile.close();
            debugLog("CInventoryXMLWriter::print() copying the contents to Inventory XML file");
            m_xmlStream.str("");
        }
        debugLog("CInventoryXMLWriter::print() Exiting");
    } catch (const std::exception& error) {
        debugLog(
            {"CInventoryXMLWriter::GetXML() exception caught during file is_open function ", error.what()});
    }
}

/** Opens the file. False only if that raised an exception; a file that cannot be opened just stays closed. */
bool CInventoryXMLWriter::openFile(const std::string& name) {
    try {
        m_outFile.open(name, std::ios::out | std::ios::trunc);
    } catch (const std::exception& error) {
        debugLog({"CInventoryXMLWriter::GetXML() exception caught during file opening ", error.what()});
        return false;
    }
    // Outside of the try: an exception of the log is not a failed opening.
    debugLog("CInventoryXMLWriter::GetXML() udpate xml file opened");
    return true;
}

void CInventoryXMLWriter::addDevice(const CDeviceInfo& device) {
    if (device.getStatus() != 0) {
        debugLog("CInventoryXMLWriter::GetXML() Update failed for one Device");
        writeFailure(m_xmlStream, device);
    } else if (device.getDeviceType() == CDeviceInfo::PCI_DEVICE) {
        debugLog("CInventoryXMLWriter::GetXML() Found one PCI Device");
        addPciDevice(device);
    } else if (device.getDeviceType() == CDeviceInfo::NON_PCI_DEVICE) {
        debugLog("CInventoryXMLWriter::GetXML() Found one Non PCI Device");
        addNonPciDevice(device);
    }
    // A success of unknown type has no element.
}

// The two elements differ in their blanks. The programs that read them compare every character.

void CInventoryXMLWriter::addPciDevice(const CDeviceInfo& device) {
    writePciIdentity(m_xmlStream, device.getPCIInfo());
    m_xmlStream << R"( display=")" << device.getDisplay() << R"(" )" << enumAttribute(device)
                << R"(><Application componentType=")" << device.getComponentType() << R"("  version=")"
                << device.getVersion() << R"("  display=")" << device.getDeviceName() << R"("/></Device>)";
}

void CInventoryXMLWriter::addNonPciDevice(const CDeviceInfo& device) {
    m_xmlStream << R"(<Device  componentID=")" << device.getComponentID() << R"(" display=")"
                << device.getDisplay() << R"(" )" << enumAttribute(device)
                << R"(><Application componentType=")" << device.getComponentType() << R"(" version=")"
                << device.getVersion() << R"(" display=")" << device.getDeviceName() << R"("/></Device>)";
}
