#include "PackageCheck.h"

#include "XmlDocument.h"
#include "XmlReading.h"
#include "base/Printable.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <unordered_map>

namespace qrxinspect {
namespace {

/** Collects the findings about one package description. */
class PackageCheck {
public:
    std::vector<Finding> run(const xmlNode& package);

private:
    void find(const xmlNode& element, std::string text) {
        findings_.push_back({lineOf(element), std::move(text)});
    }

    void checkVersion(const xmlNode& package);
    void checkTypes(const xmlNode& package);
    void checkDevices(const xmlNode& package);
    void checkComponentId(const xmlNode& device);
    void checkName(const xmlNode& device);
    void checkPciIds(const xmlNode& pciInfo);
    void checkDependency(const xmlNode& dependency);
    void checkReportValue(const xmlNode& element, const std::string& what, const std::string& value);

    std::vector<Finding> findings_;
    std::unordered_map<std::string, long> lineOfId_;
};

std::vector<const xmlNode*> devicesOf(const xmlNode& package) {
    std::vector<const xmlNode*> devices;
    for (const xmlNode* list : childElements(package, "SupportedDevices")) {
        const std::vector<const xmlNode*> listed = childElements(*list, "Device");
        devices.insert(devices.end(), listed.begin(), listed.end());
    }
    return devices;
}

/** The children as the package's reader finds them: it ignores the case of names. */
std::vector<const xmlNode*> childrenLike(const xmlNode& device, const char* name) {
    std::vector<const xmlNode*> children = childElements(device);
    std::erase_if(children,
                  [name](const xmlNode* child) { return xmlStrcasecmp(child->name, asXmlChars(name)) != 0; });
    return children;
}

/** Whether the package's reader finds a name: it takes the text of the first child. */
bool hasText(const xmlNode& element) {
    return element.children != nullptr && element.children->content != nullptr &&
           *element.children->content != '\0';
}

std::vector<Finding> PackageCheck::run(const xmlNode& package) {
    checkVersion(package);
    checkTypes(package);
    checkDevices(package);
    std::stable_sort(findings_.begin(), findings_.end(),
                     [](const Finding& a, const Finding& b) { return a.line < b.line; });
    return std::move(findings_);
}

void PackageCheck::checkVersion(const xmlNode& package) {
    const std::string version = attributeOf(package, "vendorVersion");
    if (version.empty()) {
        find(package, "no version: SoftwareComponent has no vendorVersion");
    }
    checkReportValue(package, "vendorVersion", version);
}

void PackageCheck::checkTypes(const xmlNode& package) {
    const std::vector<const xmlNode*> types = childElements(package, "ComponentType");
    if (types.empty()) {
        find(package, "no type: SoftwareComponent has no ComponentType");
    }
    for (const xmlNode* type : types) {
        const std::string value = attributeOf(*type, "value");
        if (value.empty()) {
            find(*type, "no type: ComponentType has no value");
        }
        if (type != types.back()) {
            find(*type, "another ComponentType follows, and the last one counts");
        }
        checkReportValue(*type, "type", value);
    }
}

void PackageCheck::checkDevices(const xmlNode& package) {
    const std::vector<const xmlNode*> devices = devicesOf(package);
    if (devices.empty()) {
        find(package, "no component id: there is no device under SupportedDevices");
    }
    for (const xmlNode* device : devices) {
        checkComponentId(*device);
        checkName(*device);
        for (const xmlNode* pciInfo : childrenLike(*device, "PCIInfo")) {
            checkPciIds(*pciInfo);
        }
        for (const xmlNode* dependency : childElements(*device, "Dependency")) {
            checkDependency(*dependency);
        }
        for (const xmlNode* dependency : childElements(*device, "SoftDependency")) {
            checkDependency(*dependency);
        }
    }
}

void PackageCheck::checkComponentId(const xmlNode& device) {
    const std::string id = attributeOf(device, "componentID");
    if (id.empty()) {
        find(device, "no component id: the device has no componentID");
        return;
    }
    const auto [first, isNew] = lineOfId_.emplace(id, lineOf(device));
    if (!isNew) {
        find(device, "component id \"" + id + "\" is used before, in line " + std::to_string(first->second));
    }
    checkReportValue(device, "componentID", id);
}

void PackageCheck::checkName(const xmlNode& device) {
    const std::vector<const xmlNode*> names = childrenLike(device, "Display");
    if (std::none_of(names.begin(), names.end(), [](const xmlNode* name) { return hasText(*name); })) {
        find(device, "the device has no name: no Display with a text");
    }
    for (const xmlNode* name : names) {
        checkReportValue(*name, "name", contentOf(*name));
    }
}

void PackageCheck::checkPciIds(const xmlNode& pciInfo) {
    constexpr std::array kIds{"vendorID", "deviceID", "subVendorID", "subDeviceID"};
    for (const char* id : kIds) {
        if (attributeOf(pciInfo, id).empty()) {
            find(pciInfo, "PCIInfo has no " + std::string(id) + ": that of an earlier device counts");
        }
    }
}

void PackageCheck::checkDependency(const xmlNode& dependency) {
    if (attributeOf(dependency, "path").empty()) {
        find(dependency, "the dependency has no path");
    }
}

/** Reports carry values verbatim, in double quotes; these characters end or break them. */
void PackageCheck::checkReportValue(const xmlNode& element, const std::string& what,
                                    const std::string& value) {
    const std::size_t position = value.find_first_of("\"<&");
    if (position != std::string::npos) {
        find(element, what + " holds a " + value[position] + " that would break a report: \"" + value + "\"");
    }
}

}  // namespace

std::vector<Finding> checkPackage(const xmlDoc& document) {
    return PackageCheck().run(*xmlDocGetRootElement(&document));
}

void printFindings(std::ostream& out, const std::string& file, const std::vector<Finding>& findings) {
    if (findings.empty()) {
        out << vtek::toPrintable(file) << ": nothing is missing or suspicious\n";
    }
    for (const Finding& finding : findings) {
        out << vtek::toPrintable(file) << ':' << finding.line << ": " << vtek::toPrintable(finding.text)
            << '\n';
    }
}

nlohmann::ordered_json toJson(const std::string& file, const std::vector<Finding>& findings) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    for (const Finding& finding : findings) {
        list.push_back({{"line", finding.line}, {"text", finding.text}});
    }
    return {{"file", file}, {"findings", list}};
}

}  // namespace qrxinspect
