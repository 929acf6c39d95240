#include "PackageView.h"

#include "Printable.h"
#include "Report.h"
#include "TextTable.h"

#include <nlohmann/json.hpp>

namespace tools {
namespace {

using nlohmann::ordered_json;

const char* kindOf(const CDeviceInfo& dependency) {
    return dependency.getDependencyType() == CDeviceInfo::SOFT_DEPENDENCY ? "soft" : "hard";
}

/** A table under a heading, or the heading alone with "none". */
void printSection(std::ostream& out, const char* heading, bool isEmpty, const TextTable& table) {
    out << '\n' << heading << (isEmpty ? ": none" : "") << '\n';
    if (!isEmpty) {
        out << table;
    }
}

void printPciDevices(std::ostream& out, const std::vector<SPCIInfo>& devices) {
    TextTable table({"COMPONENT", "VENDOR", "DEVICE", "SUBVENDOR", "SUBDEVICE", "NAME"});
    for (const SPCIInfo& device : devices) {
        table.addRow({device.componentID, device.vendorID, device.deviceID, device.subVendorID,
                      device.subDeviceID, device.marketingName});
    }
    printSection(out, "Supported PCI devices", devices.empty(), table);
}

void printNames(std::ostream& out, const std::map<std::string, std::string>& names) {
    TextTable table({"COMPONENT", "NAME"});
    for (const auto& [id, name] : names) {
        table.addRow({id, name});
    }
    printSection(out, "Names by component id", names.empty(), table);
}

/** Where the dependency's payload is fetched from; empty where the package gives no path. */
std::string downloadOf(CDeviceInfo dependency) {
    const std::string withoutPath = CDeviceInfo().getFilePath();
    const std::string address = dependency.getFilePath();
    return address == withoutPath ? "" : address;
}

std::string pciOf(const CDeviceInfo& dependency) {
    return dependency.getDeviceType() == CDeviceInfo::PCI_DEVICE ? pciIdOf(dependency.getPCIInfo()) : "";
}

void printDependencies(std::ostream& out, const std::vector<CDeviceInfo>& dependencies) {
    TextTable table({"KIND", "OF", "COMPONENT", "PCI", "TYPE", "VERSION", "RELEASE", "NAME", "DOWNLOAD"});
    for (const CDeviceInfo& dependency : dependencies) {
        table.addRow({kindOf(dependency), dependency.getParentComponentID(), dependency.getComponentID(),
                      pciOf(dependency), dependency.getComponentType(), dependency.getVersion(),
                      dependency.getReleaseID(), dependency.getDisplay(), downloadOf(dependency)});
    }
    printSection(out, "Dependencies", dependencies.empty(), table);
}

ordered_json toJson(const SPCIInfo& device) {
    return {{"componentId", device.componentID}, {"vendorId", device.vendorID},
            {"deviceId", device.deviceID},       {"subVendorId", device.subVendorID},
            {"subDeviceId", device.subDeviceID}, {"name", device.marketingName}};
}

ordered_json toJson(const CDeviceInfo& dependency) {
    return {{"kind", kindOf(dependency)},
            {"of", dependency.getParentComponentID()},
            {"componentId", dependency.getComponentID()},
            {"pci", pciOf(dependency)},
            {"type", dependency.getComponentType()},
            {"version", dependency.getVersion()},
            {"release", dependency.getReleaseID()},
            {"name", dependency.getDisplay()},
            {"detail", dependency.getDetail()},
            {"download", downloadOf(dependency)}};
}

template <class Record>
ordered_json listOf(const std::vector<Record>& records) {
    ordered_json list = ordered_json::array();
    for (const Record& record : records) {
        list.push_back(toJson(record));
    }
    return list;
}

}  // namespace

void printFacts(std::ostream& out, const PackageFacts& facts) {
    TextTable table;
    table.addRow({"Component id", facts.componentId});
    table.addRow({"Type", facts.type});
    table.addRow({"Version", facts.version});
    table.addRow({"Display", facts.display});
    table.addRow({"Rollback", facts.rollback ? "yes" : "no"});
    out << table;
    printPciDevices(out, facts.pciDevices);
    printNames(out, facts.names);
    printDependencies(out, facts.dependencies);
}

ordered_json toJson(const PackageFacts& facts) {
    return {{"componentId", facts.componentId},
            {"type", facts.type},
            {"version", facts.version},
            {"display", facts.display},
            {"rollback", facts.rollback},
            {"pciDevices", listOf(facts.pciDevices)},
            {"names", facts.names},
            {"dependencies", listOf(facts.dependencies)}};
}

void printFindings(std::ostream& out, const std::string& file, const std::vector<Finding>& findings) {
    if (findings.empty()) {
        out << toPrintable(file) << ": nothing is missing or suspicious\n";
    }
    for (const Finding& finding : findings) {
        out << toPrintable(file) << ':' << finding.line << ": " << toPrintable(finding.text) << '\n';
    }
}

ordered_json toJson(const std::string& file, const std::vector<Finding>& findings) {
    ordered_json list = ordered_json::array();
    for (const Finding& finding : findings) {
        list.push_back({{"line", finding.line}, {"text", finding.text}});
    }
    return {{"file", file}, {"findings", list}};
}

}  // namespace tools
