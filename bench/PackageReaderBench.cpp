// Times the readers of package.xml and of inventory results, with the log off.

#include "DeviceInventoryInfo.h"
#include "SoftwareComponentInfo.h"
#include "WorkingDirectory.h"

#include <benchmark/benchmark.h>

#include <string>
#include <vector>

namespace {

/** A document of `count` elements between `start` and `end`; makeElement gets each element's number. */
template <typename MakeElement>
std::string document(const std::string& start, long count, const std::string& end, MakeElement makeElement) {
    std::string xml = start;
    for (long i = 0; i < count; ++i) {
        xml += makeElement(std::to_string(i));
    }
    return xml + end;
}

template <typename MakeElement>
std::string package(long devices, MakeElement makeDevice) {
    return document("<SoftwareComponent><SupportedDevices>", devices,
                    "</SupportedDevices></SoftwareComponent>", makeDevice);
}

std::string supportedDevice(const std::string& number) {
    return "<Device componentID=\"" + number + "\"><PCIInfo deviceID=\"" + number +
           "\" subDeviceID=\"8\" vendorID=\"14e4\" subVendorID=\"1028\"/><Display>Card " + number +
           "</Display></Device>";
}

std::string namedDevice(const std::string& number) {
    return "<Device componentID=\"" + number + "\"><Display>Controller " + number + "</Display></Device>";
}

std::string dependency(const std::string& number) {
    return "<Dependency componentID=\"159\" componentType=\"BIOS\" version=\"2.1\" path=\"bios\\" + number +
           ".bin\" releaseID=\"R1\"><Display>Server BIOS</Display></Dependency>";
}

std::string deviceWithDependency(const std::string& number) {
    return "<Device componentID=\"" + number + "\">" + dependency(number) + "</Device>";
}

std::string reportedDevice(const std::string& number) {
    return "<Device componentID=\"" + number +
           "\" display=\"QRX\"><Application componentType=\"FRMW\" version=\"1\" display=\"QRX\"/></Device>";
}

void release(const std::vector<CDeviceInfo*>& records) {
    for (const CDeviceInfo* record : records) {
        delete record;
    }
}

/** Repeats one query of this package.xml. */
template <typename Query>
void queryPackage(benchmark::State& state, const std::string& xml, Query query) {
    const test::WorkingTempDir folder;
    test::writeFile(folder / "package.xml", xml);
    CSoftwareComponentInfo reader;
    for ([[maybe_unused]] auto iteration : state) {
        query(reader);
    }
    state.SetComplexityN(state.range(0));
}

void supportedDevices(benchmark::State& state) {
    queryPackage(state, package(state.range(0), supportedDevice), [](CSoftwareComponentInfo& reader) {
        benchmark::DoNotOptimize(reader.GetSupportedDevices());
    });
}

void names(benchmark::State& state) {
    queryPackage(state, package(state.range(0), namedDevice), [](CSoftwareComponentInfo& reader) {
        benchmark::DoNotOptimize(reader.getCompIDMarkNameInfo());
    });
}

/** The caller owns the records, so the time includes freeing them. */
void queryDependencies(benchmark::State& state, const std::string& xml) {
    queryPackage(state, xml, [](CSoftwareComponentInfo& reader) { release(reader.getDependencyInfo()); });
}

void dependenciesOfOneDevice(benchmark::State& state) {
    queryDependencies(
        state, document("<SoftwareComponent><SupportedDevices><Device componentID=\"1\">", state.range(0),
                        "</Device></SupportedDevices></SoftwareComponent>", dependency));
}

void dependenciesOfManyDevices(benchmark::State& state) {
    queryDependencies(state, package(state.range(0), deviceWithDependency));
}

void inventoryResult(benchmark::State& state) {
    const test::TempDir folder;
    const std::filesystem::path file = folder / "inventory.xml";
    test::writeFile(
        file, document("<SVMInventory lang=\"en\">", state.range(0), "</SVMInventory>", reportedDevice));
    CDeviceInventoryInfo reader(file.string());
    for ([[maybe_unused]] auto iteration : state) {
        release(reader.GetDeviceInfo());
    }
    state.SetComplexityN(state.range(0));
}

constexpr long kFewest = 100;
constexpr long kMost = 10000;

BENCHMARK(supportedDevices)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(names)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(dependenciesOfOneDevice)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(dependenciesOfManyDevices)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(inventoryResult)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();

}  // namespace

BENCHMARK_MAIN();
