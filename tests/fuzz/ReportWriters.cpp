// Writes both kinds of report from arbitrary records.

#include "Harness.h"
#include "Records.h"
#include "TempDir.h"
#include "XMLWriter.h"

namespace test {
namespace {

template <typename Write>
std::string reportOf(Write write) {
    const std::filesystem::path file = workingFolder() / "report.xml";
    {
        CXMLWriter writer;
        writer.SetFileName(file.string());
        require(write(writer) == 1, "a report is always written");
    }
    return readFile(file);
}

std::string inventoryReport(const std::vector<CDeviceInfo*>& records) {
    return reportOf([&records](CXMLWriter& writer) { return writer.writeInventoryXml(records); });
}

std::string updateReport(const std::vector<CDeviceInfo*>& records) {
    return reportOf([&records](CXMLWriter& writer) { return writer.WriteUpdateXML(records); });
}

}  // namespace

void examine(std::string_view input) {
    requireRawReport(input, "SVMInventory", inventoryReport);
    requireRawReport(input, "SVMExecution", updateReport);

    const Records records(input, [](const std::string& text) { return text; });
    const std::string both = reportOf([&records](CXMLWriter& writer) {
        writer.writeInventoryXml(records.pointers());
        return writer.WriteUpdateXML(records.pointers());
    });
    require(both == inventoryReport(records.pointers()) + updateReport(records.pointers()),
            "two documents in one file, one after the other");
}

}  // namespace test
