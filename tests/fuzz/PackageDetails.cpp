// Reads the supported devices, dependencies and names of a package.xml.

#include "Harness.h"
#include "Logger.h"
#include "SoftwareComponentInfo.h"
#include "TempDir.h"
#include "XmlTree.h"

#include <libxml/xmlstring.h>

#include <algorithm>
#include <memory>

namespace test {
namespace {

// The log is on, so that the code that builds its texts runs too.
[[maybe_unused]] const int kLogged = CLogger::GetInstance()->Initialize("/dev/null");

using Dependencies = std::vector<std::unique_ptr<CDeviceInfo>>;

bool sameLetters(const std::string& one, const std::string& other) {
    return xmlStrcasecmp(reinterpret_cast<const xmlChar*>(one.c_str()),
                         reinterpret_cast<const xmlChar*>(other.c_str())) == 0;
}

bool sameIds(const SPCIInfo& one, const SPCIInfo& other) {
    return sameLetters(one.deviceID, other.deviceID) && sameLetters(one.subDeviceID, other.subDeviceID) &&
           sameLetters(one.vendorID, other.vendorID) && sameLetters(one.subVendorID, other.subVendorID);
}

/** Numbers of elements, counted in a walk over the tree. */
struct Counts {
    std::size_t supported = 0;     // PCIInfo elements of supported devices
    std::size_t dependencies = 0;  // of both kinds
    std::size_t expanded = 0;      // of both kinds, counted once for each PCIInfo in it
    std::size_t named = 0;         // supported devices with a Display
};

bool isSupportedDevice(const xmlNode* element) {
    return isElement(element, "Device") && isElement(element->parent, "SupportedDevices") &&
           isElement(element->parent->parent, "SoftwareComponent");
}

std::size_t childrenNamed(const xmlNode* element, const char* name) {
    std::size_t count = 0;
    for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
        count +=
            child->type == XML_ELEMENT_NODE && sameLetters(reinterpret_cast<const char*>(child->name), name)
                ? 1
                : 0;
    }
    return count;
}

Counts count(const std::filesystem::path& file) {
    Counts counts;
    const XmlDocPtr doc(xmlReadFile(file.c_str(), nullptr, XML_PARSE_NOBLANKS));
    forEachElement(xmlDocGetRootElement(doc.get()), [&counts](const xmlNode* element) {
        if (isSupportedDevice(element)) {
            counts.supported += childrenNamed(element, "PCIInfo");
            counts.named += childrenNamed(element, "Display") > 0 ? 1 : 0;
        } else if (isSupportedDevice(element->parent) &&
                   (isElement(element, "Dependency") || isElement(element, "SoftDependency"))) {
            ++counts.dependencies;
            counts.expanded += std::max<std::size_t>(1, childrenNamed(element, "PCIInfo"));
        }
    });
    return counts;
}

void requirePciDevices(CSoftwareComponentInfo& reader, std::size_t expected) {
    const std::vector<SPCIInfo> devices = reader.GetSupportedDevices();
    require(devices.size() == expected, "a record for each PCIInfo of a supported device");
    if (devices.empty()) {
        return;
    }
    const SPCIInfo& wanted = devices.front();
    std::string lastName;
    for (const SPCIInfo& device : devices) {
        for (const std::string& id :
             {device.deviceID, device.subDeviceID, device.vendorID, device.subVendorID}) {
            require(id.empty() || id.size() >= 4, "ids of at least four characters");
        }
        if (sameIds(device, wanted)) {
            lastName = device.marketingName;
        }
    }
    require(reader.getMarketingNameForPCIDevice(wanted) == lastName,
            "the name of the last device with these ids");
}

Dependencies dependenciesOf(CSoftwareComponentInfo& reader) {
    Dependencies dependencies;
    for (CDeviceInfo* record : reader.getDependencyInfo()) {
        dependencies.emplace_back(record);
    }
    return dependencies;
}

void requireDependencies(CSoftwareComponentInfo& reader, const Counts& counts) {
    const Dependencies dependencies = dependenciesOf(reader);
    require(dependencies.size() <= counts.expanded, "no more records than dependencies and their PCIInfos");
    require(dependencies.empty() == (counts.dependencies == 0), "records where there are dependencies");
    for (auto record = dependencies.begin(); record != dependencies.end(); ++record) {
        require((*record)->getStatus() == -1, "a dependency has no outcome");
        require(std::none_of(dependencies.begin(), record,
                             [&record](const auto& earlier) { return *earlier == **record; }),
                "no two equal dependencies");
    }
    const Dependencies again = dependenciesOf(reader);
    require(std::equal(dependencies.begin(), dependencies.end(), again.begin(), again.end(),
                       [](const auto& one, const auto& other) { return *one == *other; }),
            "the same dependencies when asked again");
}

void requireNames(CSoftwareComponentInfo& reader, std::size_t named) {
    const std::map<std::string, std::string> names = reader.getCompIDMarkNameInfo();
    require(names.size() <= named, "no more names than devices with a Display");
    for (const auto& [id, name] : names) {
        require(!name.empty(), "no entry without a name");
        std::string lastName;
        for (const auto& [otherId, otherName] : names) {
            lastName = sameLetters(id, otherId) ? otherName : lastName;
        }
        require(reader.getMarketingNameForNonPCIDevice(id) == lastName, "the name of the last such id");
    }
    const std::string display = reader.GetComponentDisplayString();
    require(display.empty() || named > 0, "a display string only where a device has one");
}

}  // namespace

void examine(std::string_view input) {
    // Every name is compared with every dependency: the time grows with the square of their number.
    constexpr std::size_t kLongEnough = 8192;
    const std::filesystem::path file = workingFolder() / "package.xml";
    writeFile(file, input.substr(0, kLongEnough));
    CSoftwareComponentInfo reader;
    const Counts counts = count(file);
    requirePciDevices(reader, counts.supported);
    requireDependencies(reader, counts);
    requireNames(reader, counts.named);
}

}  // namespace test
