// What the readers of package.xml and of inventory results cost, with the log off.

#include "DeviceInventoryInfo.h"
#include "ProcessHeap.h"
#include "SoftwareComponentInfo.h"
#include "WorkingDirectory.h"
#include "XPathQuery.h"
#include "XmlText.h"

#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <vector>

namespace {

/** Makes the text that number gives for each of count elements, all inside of start and end. */
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

std::string reportedDevice(const std::string& number) {
    return "<Device componentID=\"" + number +
           "\" display=\"QRX\"><Application componentType=\"FRMW\" version=\"1\" display=\"QRX\"/></Device>";
}

constexpr const char* kDevicePath = "//SoftwareComponent/SupportedDevices/Device";
constexpr const char* kDependencyPaths =
    "//SoftwareComponent/SupportedDevices/Device/Dependency"
    " | //SoftwareComponent/SupportedDevices/Device/SoftDependency";

void release(const std::vector<CDeviceInfo*>& records) {
    for (const CDeviceInfo* record : records) {
        delete record;
    }
}

/** Repeats one question to a reader of this package.xml. */
template <typename Ask>
void askPackage(benchmark::State& state, const std::string& xml, Ask ask) {
    const test::WorkingTempDir folder;
    test::writeFile(folder / "package.xml", xml);
    CSoftwareComponentInfo reader;
    for ([[maybe_unused]] auto iteration : state) {
        ask(reader);
    }
    state.SetComplexityN(state.range(0));
}

void supportedDevices(benchmark::State& state) {
    askPackage(state, package(state.range(0), supportedDevice), [](CSoftwareComponentInfo& reader) {
        benchmark::DoNotOptimize(reader.GetSupportedDevices());
    });
}

void nameByPciIds(benchmark::State& state) {
    const SPCIInfo ids = {"", "0099", "0008", "14e4", "1028", ""};
    askPackage(state, package(state.range(0), supportedDevice), [&ids](CSoftwareComponentInfo& reader) {
        benchmark::DoNotOptimize(reader.getMarketingNameForPCIDevice(ids));
    });
}

void names(benchmark::State& state) {
    askPackage(state, package(state.range(0), namedDevice), [](CSoftwareComponentInfo& reader) {
        benchmark::DoNotOptimize(reader.getCompIDMarkNameInfo());
    });
}

void nameByComponentId(benchmark::State& state) {
    askPackage(state, package(state.range(0), namedDevice), [](CSoftwareComponentInfo& reader) {
        benchmark::DoNotOptimize(reader.getMarketingNameForNonPCIDevice("99"));
    });
}

std::string packageOfOneDevice(long dependencies) {
    return document("<SoftwareComponent><SupportedDevices><Device componentID=\"1\">", dependencies,
                    "</Device></SupportedDevices></SoftwareComponent>", dependency);
}

/** Repeats the question for the dependencies. They are their asker's then, and freeing them is not timed. */
void askForDependencies(benchmark::State& state, const std::string& xml) {
    askPackage(state, xml, [&state](CSoftwareComponentInfo& reader) {
        const std::vector<CDeviceInfo*> records = reader.getDependencyInfo();
        state.PauseTiming();
        release(records);
        state.ResumeTiming();
    });
}

void dependencies(benchmark::State& state) {
    askForDependencies(state, packageOfOneDevice(state.range(0)));
}

void dependenciesOfManyDevices(benchmark::State& state) {
    const std::string xml = package(state.range(0), [](const std::string& number) {
        return "<Device componentID=\"" + number + "\">" + dependency(number) + "</Device>";
    });
    askForDependencies(state, xml);
}

/** What libxml2 alone needs for the same document: without it, nothing is known. As the reader does, it has
 * parsed the document once before, and keeps each tree until the next parse. */
void parseAlone(benchmark::State& state, const std::string& xml, const char* path) {
    const test::WorkingTempDir folder;
    test::writeFile(folder / "package.xml", xml);
    const std::string file = folder / "package.xml";
    xmlKeepBlanksDefault(0);
    XmlDocPtr doc(xmlParseFile(file.c_str()));
    for ([[maybe_unused]] auto iteration : state) {
        doc.reset();
        doc.reset(xmlParseFile(file.c_str()));
        benchmark::DoNotOptimize(evaluateXPath(doc.get(), asXmlChars(path)));
    }
    state.SetComplexityN(state.range(0));
}

void parseOfSupportedDevices(benchmark::State& state) {
    parseAlone(state, package(state.range(0), supportedDevice), kDevicePath);
}

void parseOfNames(benchmark::State& state) {
    parseAlone(state, package(state.range(0), namedDevice), kDevicePath);
}

void parseOfDependencies(benchmark::State& state) {
    parseAlone(state, packageOfOneDevice(state.range(0)), kDependencyPaths);
}

/** What getDependencyInfo would cost with the insertion as it is: each record against all before it. */
void addDependenciesOneByOne(benchmark::State& state) {
    std::vector<std::unique_ptr<CDeviceInfo>> records;
    for (long i = 0; i < state.range(0); ++i) {
        records.push_back(std::make_unique<CDeviceInfo>());
        records.back()->setComponentType("BIOS");
        records.back()->setComponentID("159");
        records.back()->setFilePath("bios\\" + std::to_string(i) + ".bin");
    }
    CSoftwareComponentInfo reader;
    for ([[maybe_unused]] auto iteration : state) {
        std::vector<CDeviceInfo*> list;
        for (const auto& record : records) {
            CDeviceInfo* device = record.get();
            reader.AddDependencyInfo(list, device);
        }
        benchmark::DoNotOptimize(list);
    }
    state.SetComplexityN(state.range(0));
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
BENCHMARK(nameByPciIds)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(names)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(nameByComponentId)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(dependencies)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(dependenciesOfManyDevices)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(parseOfSupportedDevices)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(parseOfNames)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(parseOfDependencies)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();
BENCHMARK(addDependenciesOneByOne)->RangeMultiplier(10)->Range(kFewest, 1000)->Complexity();
BENCHMARK(inventoryResult)->RangeMultiplier(10)->Range(kFewest, kMost)->Complexity();

}  // namespace

int main(int argc, char** argv) {
    prepareHeapForTrees();  // as the program does
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
