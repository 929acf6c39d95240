#pragma once

#include "IDeviceXMLWriter.h"

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/**
 * Writes an update report, an SVMExecution document, with PCI devices too, and with at most one
 * RebootRequired element, for the whole report.
 *
 * The document is a single line without a final newline. Values are written as they are, never escaped. A
 * document that could not be written stays in the writer and precedes the next one.
 */
class CUpdateXMLWriter : public IDeviceXMLWriter {
public:
    CUpdateXMLWriter();
    ~CUpdateXMLWriter() override;
    CUpdateXMLWriter(const CUpdateXMLWriter&) = delete;
    CUpdateXMLWriter& operator=(const CUpdateXMLWriter&) = delete;

    bool GetXML(const std::vector<CDeviceInfo*>& devices, std::string fileName) override;

    void addXMLHeader();
    void addUpdateHeader();
    void addUpdateFooter();

    /** Adds the RebootRequired element if a reboot is required, otherwise nothing. */
    void addRebootRequiredStatus(bool required);

    /** If a file is open, writes the document built so far to it, closes it and starts a new document. Lets
     *  no exception of the writing out. */
    void print();

private:
    std::ostringstream m_xmlStream;
    std::ofstream m_outFile;

    bool openFile(const std::string& name);
    bool addDevice(const CDeviceInfo& device);
    void addSuccess(const CDeviceInfo& device);
};
