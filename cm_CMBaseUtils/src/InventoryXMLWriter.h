#pragma once

#include "IDeviceXMLWriter.h"

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/**
 * Writes an inventory report, an SVMInventory document, with PCI devices too.
 *
 * The document is a single line without a final newline. Values are written as they are, never escaped, and
 * the blanks between attributes are part of the format. A document that could not be written stays in the
 * writer and precedes the next one.
 */
class CInventoryXMLWriter : public IDeviceXMLWriter {
public:
    CInventoryXMLWriter();
    ~CInventoryXMLWriter() override;
    CInventoryXMLWriter(const CInventoryXMLWriter&) = delete;
    CInventoryXMLWriter& operator=(const CInventoryXMLWriter&) = delete;

    bool GetXML(const std::vector<CDeviceInfo*>& devices, std::string fileName) override;

    void addXMLHeader();
    void addInventoryHeader();
    void addInventoryFooter();

    /** If a file is open, writes the document built so far to it, closes it and starts a new document. Lets
     *  no exception of the writing out. */
    void print();

private:
    std::ostringstream m_xmlStream;
    std::ofstream m_outFile;

    bool openFile(const std::string& name);
    void addDevice(const CDeviceInfo& device);
    void addPciDevice(const CDeviceInfo& device);
    void addNonPciDevice(const CDeviceInfo& device);
};
