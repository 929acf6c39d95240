#include "XMLWriter.h"

#include "DeviceXMLFragments.h"

#include <iostream>

namespace {

bool succeeded(const CDeviceInfo& device) {
    return device.getStatus() == 0;
}

bool isNonPci(const CDeviceInfo& device) {
    return device.getDeviceType() == CDeviceInfo::NON_PCI_DEVICE;
}

}  // namespace

void CXMLWriter::AddXMLHeader() {
    m_xmlStream << kXmlDeclaration;
}

void CXMLWriter::AddInventoryHeader() {
    m_xmlStream << R"(<SVMInventory lang="en">)";
}

void CXMLWriter::AddInventoryFooter() {
    m_xmlStream << "</SVMInventory>";
}

void CXMLWriter::AddUpdateHeader() {
    m_xmlStream << R"(<SVMExecution lang="en">)";
}

void CXMLWriter::AddUpdateFooter() {
    m_xmlStream << "</SVMExecution>";
}

void CXMLWriter::AddUpdateFooter(bool rebootRequired) {
    m_xmlStream << "<RebootRequired>" << (rebootRequired ? 1 : 0) << "</RebootRequired>";
}

void CXMLWriter::SetFileName(const std::string& name) {
    m_outFile.open(name, std::ios::out | std::ios::trunc);
}

void CXMLWriter::Print() {
    std::ostream& out = m_outFile.is_open() ? m_outFile : std::cout;
    out << m_xmlStream.str();
    m_xmlStream.str("");
}

// Both reports leave out successful PCI devices: the program itself only handles the controller.

int CXMLWriter::writeInventoryXml(std::vector<CDeviceInfo*> devices) {
    AddXMLHeader();
    AddInventoryHeader();
    for (const CDeviceInfo* device : devices) {
        if (!succeeded(*device)) {
            addFailure(*device);
        } else if (isNonPci(*device)) {
            addInventoryDevice(*device);
        }
    }
    AddInventoryFooter();
    m_strXML = m_xmlStream.str();
    Print();
    return 1;
}

int CXMLWriter::WriteUpdateXML(const std::vector<CDeviceInfo*>& devices) {
    AddXMLHeader();
    AddUpdateHeader();
    for (const CDeviceInfo* device : devices) {
        if (!succeeded(*device)) {
            addFailure(*device);
        } else if (isNonPci(*device)) {
            addUpdatedDevice(*device);
            AddUpdateFooter(device->getRebootRequired());
        }
    }
    AddUpdateFooter();
    Print();
    return 1;
}

/** Unlike the device writers' failure, without a blank before the end of the Message tag. */
void CXMLWriter::addFailure(const CDeviceInfo& device) {
    m_xmlStream << R"(<SPStatus result = "false" ><Message id=")" << device.getMessageID() << R"(">)"
                << device.getErrorMsg() << "</Message></SPStatus>";
}

void CXMLWriter::addInventoryDevice(const CDeviceInfo& device) {
    m_xmlStream << R"(<Device  componentID=")" << device.getComponentID() << R"(" display=")"
                << device.getDeviceName() << R"("><Application componentType=")" << device.getComponentType()
                << R"(" version=")" << device.getVersion() << R"(" display=")" << device.getDeviceName()
                << R"("/></Device>)";
}

void CXMLWriter::addUpdatedDevice(const CDeviceInfo& device) {
    m_xmlStream << R"(<Device  componentID=")" << device.getComponentID() << R"(" display=")"
                << device.getDeviceName() << R"("><Application componentType=")" << device.getComponentType()
                << R"(" version=")" << device.getVersion() << R"(" display=")" << device.getDeviceName()
                << R"(" packageVersion=")" << device.getVersion()
                << R"("><SPStatus result = "true" ><Message id=")" << device.getMessageID() << R"(">)"
                << device.getErrorMsg() << "</Message></SPStatus></Application></Device>";
}
