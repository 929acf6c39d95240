#include "UpdateXMLWriter.h"

#include "DeviceXMLFragments.h"
#include "LogSource.h"

#include <exception>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/UpdateXMLWriter");

std::string enumAttribute(const CDeviceInfo& device) {
    const std::string enumId = device.getEnumId();
    return enumId.empty() ? "" : R"(enum = ")" + enumId + R"(" )";
}

}  // namespace

CUpdateXMLWriter::CUpdateXMLWriter() {
    debugLog("CUpdateXMLWriter::CUpdateXMLWriter() In Constructor Method");
}

CUpdateXMLWriter::~CUpdateXMLWriter() {
    debugLog("CUpdateXMLWriter::~CUpdateXMLWriter() In Destructor Method");
}

bool CUpdateXMLWriter::GetXML(const std::vector<CDeviceInfo*>& devices, std::string fileName) {
    debugLog("CUpdateXMLWriter::GetXML() Entering");
    if (!fileName.empty() && !openFile(fileName)) {
        return false;
    }
    addXMLHeader();
    addUpdateHeader();
    bool rebootRequired = false;
    for (const CDeviceInfo* device : devices) {
        if (addDevice(*device) && device->getRebootRequired()) {
            rebootRequired = true;
        }
    }
    addRebootRequiredStatus(rebootRequired);
    addUpdateFooter();
    print();
    debugLog("CUpdateXMLWriter::GetXML() Exiting");
    return true;
}

void CUpdateXMLWriter::addXMLHeader() {
    debugLog("CUpdateXMLWriter::addXMLHeader() In addXMLHeader Method");
    m_xmlStream << kXmlDeclaration;
}

void CUpdateXMLWriter::addUpdateHeader() {
    debugLog("CUpdateXMLWriter::addUpdateHeader() In addUpdateHeader Method");
    m_xmlStream << R"(<SVMExecution lang="en">)";
}

void CUpdateXMLWriter::addUpdateFooter() {
    debugLog("CUpdateXMLWriter::addUpdateFooter() In addUpdateFooter Method");
    m_xmlStream << "</SVMExecution>";
}

void CUpdateXMLWriter::addRebootRequiredStatus(bool required) {
    debugLog("CUpdateXMLWriter::addRebootRequiredStatus() In addRebootRequiredStatus Method");
    if (required) {
        m_xmlStream << "<RebootRequired>1</RebootRequired>";
        debugLog("CUpdateXMLWriter::addRebootRequiredStatus() Device need reboot");
    }
}

void CUpdateXMLWriter::print() {
    try {
        debugLog("CUpdateXMLWriter::print() Entering");
        if (m_outFile.is_open()) {
            m_outFile << m_xmlStream.str();
            m_outFile.close();
            debugLog("CUpdateXMLWriter::print() copying the contents to Update XML file");
            m_xmlStream.str("");
        }
        debugLog("CUpdateXMLWriter::print() Exiting");
    } catch (const std::exception& error) {
        debugLog({"CUpdateXMLWriter::print() exception caught during file is_open function ", error.what()});
    }
}

/** Opens the file. False only if that raised an exception; a file that cannot be opened just stays closed. */
bool CUpdateXMLWriter::openFile(const std::string& name) {
    try {
        m_outFile.open(name, std::ios::out | std::ios::trunc);
    } catch (const std::exception& error) {
        // The fixed text names the inventory writer.
        debugLog({"CInventoryXMLWriter::GetXML() exception caught during file opening ", error.what()});
        return false;
    }
    // Outside of the try: an exception of the log is not a failed opening.
    debugLog("CUpdateXMLWriter::GetXML() udpate xml file opened");
    return true;
}

/** Adds one device to the report. True if it was updated; only those can require a reboot. */
bool CUpdateXMLWriter::addDevice(const CDeviceInfo& device) {
    if (device.getStatus() != 0) {
        debugLog("CUpdateXMLWriter::GetXML() Update failed for one Device");
        writeFailure(m_xmlStream, device);
        return false;
    }
    if (device.getDeviceType() == CDeviceInfo::PCI_DEVICE) {
        debugLog("CUpdateXMLWriter::GetXML() Found one PCI Device");
        writePciIdentity(m_xmlStream, device.getPCIInfo());
    } else if (device.getDeviceType() == CDeviceInfo::NON_PCI_DEVICE) {
        debugLog("CUpdateXMLWriter::GetXML() Found one Non PCI Device");
        m_xmlStream << R"(<Device  componentID=")" << device.getComponentID() << R"(" )";
    } else {
        return false;
    }
    addSuccess(device);
    return true;
}

/** Completes the element of an updated device, after its identity. */
void CUpdateXMLWriter::addSuccess(const CDeviceInfo& device) {
    m_xmlStream << R"(display=")" << device.getDisplay() << R"(" )" << enumAttribute(device)
                << R"(><Application componentType=")" << device.getComponentType() << R"(" version=")"
                << device.getVersion() << R"(" display=")" << device.getDeviceName()
                << R"(" ><SPStatus result = "true" ><Message id=")" << device.getMessageID() << R"(" >)"
                << device.getErrorMsg() << "</Message></SPStatus></Application></Device>";
}
