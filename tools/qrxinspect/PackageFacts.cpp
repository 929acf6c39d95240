#include "PackageFacts.h"

#include "Report.h"
#include "SoftwareComponentInfo.h"
#include "common/TextTable.h"

#include <nlohmann/json.hpp>

#include <memory>

namespace qrxinspect {
namespace {

using nlohmann::ordered_json;

const char* kindOf(const CDeviceInfo& dependency) {
    return dependency.getDependencyType() == CDeviceInfo::SOFT_DEPENDENCY ? "soft" : "hard";
}

/** A heading and a table, or the heading with "none". */
void printSection(const tools::Console& console, const char* heading, bool isEmpty,
                  const tools::TextTable& table) {
    console.out << '\n' << heading << (isEmpty ? ": none" : "") << '\n';
    if (!isEmpty) {
        console.print(table);
    }
}

void printPciDevices(const tools::Console& console, const std::vector<SPCIInfo>& devices) {
    tools::TextTable table({"COMPONENT", "VENDOR", "DEVICE", "SUBVENDOR", "SUBDEVICE", "NAME"});
    for (const SPCIInfo& device : devices) {
        table.addRow({device.componentID, device.vendorID, device.deviceID, device.subVendorID,
                      device.subDeviceID, device.marketingName});
    }
    printSection(console, "Supported PCI devices", devices.empty(), table);
}

void printNames(const tools::Console& console, const std::map<std::string, std::string>& names) {
    tools::TextTable table({"COMPONENT", "NAME"});
    for (const auto& [id, name] : names) {
        table.addRow({id, name});
    }
    printSection(console, "Names by component id", names.empty(), table);
}

/** The address of the dependency's payload; empty if the package gives no path. */
std::string downloadOf(CDeviceInfo dependency) {
    const std::string withoutPath = CDeviceInfo().getFilePath();
    const std::string address = dependency.getFilePath();
    return address == withoutPath ? "" : address;
}

std::string pciOf(const CDeviceInfo& dependency) {
    return dependency.getDeviceType() == CDeviceInfo::PCI_DEVICE ? pciIdOf(dependency.getPCIInfo()) : "";
}

void printDependencies(const tools::Console& console, const std::vector<CDeviceInfo>& dependencies) {
    tools::TextTable table(
        {"KIND", "OF", "COMPONENT", "PCI", "TYPE", "VERSION", "RELEASE", "NAME", "DOWNLOAD"});
    for (const CDeviceInfo& dependency : dependencies) {
        table.addRow({kindOf(dependency), dependency.getParentComponentID(), dependency.getComponentID(),
                      pciOf(dependency), dependency.getComponentType(), dependency.getVersion(),
                      dependency.getReleaseID(), dependency.getDisplay(), downloadOf(dependency)});
    }
    printSection(console, "Dependencies", dependencies.empty(), table);
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

std::vector<CDeviceInfo> dependenciesOf(CSoftwareComponentInfo& package) {
    std::vector<CDeviceInfo> dependencies;
    for (CDeviceInfo* record : package.getDependencyInfo()) {
        dependencies.push_back(*std::unique_ptr<CDeviceInfo>(record));
    }
    return dependencies;
}

}  // namespace

PackageFacts readPackageFacts() {
    CSoftwareComponentInfo package;
    return {.componentId = package.GetComponentID(),
            .type = package.GetComponentType(),
            .version = package.GetComponentVersion(),
            .display = package.GetComponentDisplayString(),
            .rollback = package.getPresenceOfRollbackInfo(),
            .pciDevices = package.GetSupportedDevices(),
            .names = package.getCompIDMarkNameInfo(),
            .dependencies = dependenciesOf(package)};
}

void printFacts(const tools::Console& console, const PackageFacts& facts) {
    tools::TextTable table;
    table.addRow({"Component id", facts.componentId});
    table.addRow({"Type", facts.type});
    table.addRow({"Version", facts.version});
    table.addRow({"Display", facts.display});
    table.addRow({"Rollback", facts.rollback ? "yes" : "no"});
    console.print(table);
    printPciDevices(console, facts.pciDevices);
    printNames(console, facts.names);
    printDependencies(console, facts.dependencies);
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

}  // namespace qrxinspect
