// Writes arbitrary records with the writers of device reports.

#include "Harness.h"
#include "InventoryXMLWriter.h"
#include "Records.h"
#include "TempDir.h"
#include "UpdateXMLWriter.h"

namespace test {
namespace {

template <typename Writer>
std::string reportOf(const std::vector<CDeviceInfo*>& records) {
    const std::filesystem::path file = workingFolder() / "report.xml";
    Writer writer;
    require(writer.GetXML(records, file.string()), "a report is always written");
    return readFile(file);
}

bool isSuccess(const CDeviceInfo& record) {
    return record.getStatus() == 0 && (record.getDeviceType() == CDeviceInfo::PCI_DEVICE ||
                                       record.getDeviceType() == CDeviceInfo::NON_PCI_DEVICE);
}

}  // namespace

void examine(std::string_view input) {
    requireRawReport(input, "SVMInventory", reportOf<CInventoryXMLWriter>);
    requireRawReport(input, "SVMExecution", reportOf<CUpdateXMLWriter>);

    bool reboot = false;
    const Records plain(input, [](const std::string&) { return std::string("text"); });
    for (const auto& record : plain.all()) {
        reboot = reboot || (isSuccess(*record) && record->getRebootRequired());
    }
    require(reportOf<CUpdateXMLWriter>(plain.pointers())
                    .ends_with("<RebootRequired>1</RebootRequired></SVMExecution>") == reboot,
            "the reboot, said once and last, where a device that was updated needs it");
}

}  // namespace test
