#pragma once

#include "DeviceInfo.h"

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/**
 * Writes the program's report: one XML document for a list of device records.
 *
 * A document is a single line without a final newline. Values are written as they are, never escaped: the
 * programs that read the reports compare every character. Documents printed one after another are not
 * separated.
 */
class CXMLWriter {
public:
    void AddXMLHeader();
    void AddInventoryHeader();
    void AddInventoryFooter();
    void AddUpdateHeader();
    void AddUpdateFooter();
    /** Appends the RebootRequired element of one updated device. */
    void AddUpdateFooter(bool rebootRequired);

    /** Opens the report file, emptying an existing one. If that fails, reports go to standard output. */
    void SetFileName(const std::string& name);

    /** Writes the document built so far to the report file, or to standard output if none is open, and starts
     *  a new document. A write error is not reported. */
    void Print();

    /** Builds and prints the inventory report of the records, which stay the caller's. Always returns 1. */
    int writeInventoryXml(std::vector<CDeviceInfo*> devices);

    /** Builds and prints the execution report of the records, which stay the caller's. Always returns 1. */
    int WriteUpdateXML(const std::vector<CDeviceInfo*>& devices);

private:
    void addFailure(const CDeviceInfo& device);
    void addInventoryDevice(const CDeviceInfo& device);
    void addUpdatedDevice(const CDeviceInfo& device);

    std::ostringstream m_xmlStream;
    std::ofstream m_outFile;
    std::string m_strXML;
};
