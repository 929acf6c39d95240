#pragma once

#include "DeviceInfo.h"

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

/**
 * The tool's report: turns a list of device records into one XML document and prints it.
 *
 * A document is a single line without a final newline. Values are written as they are, never escaped: the
 * programs that read the reports compare them to the character. Documents printed one after another follow
 * each other in the same output with nothing between them.
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

    /** Opens the report file, emptying an existing one. Where that fails, reports go to standard output. */
    void SetFileName(const std::string& name);

    /** Writes the document built so far to the report file, or to standard output where none is open, and
     *  starts afresh. A write error is not reported. */
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
