#include "LogSource.h"
#include "SoftwareComponentInfo.h"
#include "XmlReading.h"

#include <algorithm>
#include <memory>
#include <new>
#include <unordered_set>
#include <utility>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/SoftwareComponentInfo");

// libxml2 matches both plain paths in one walk over the document, in document order and linear time. With a
// predicate it could not.
constexpr const char* kDependencyPath =
    " //SoftwareComponent/SupportedDevices/Device/Dependency"
    " | //SoftwareComponent/SupportedDevices/Device/SoftDependency";

using DeviceInfoPtr = std::unique_ptr<CDeviceInfo>;
using SetText = void (CDeviceInfo::*)(std::string);

struct STextSource {
    const char* name;
    SetText set;
};

constexpr STextSource kAttributes[] = {
    {"componentID", &CDeviceInfo::setComponentID}, {"componentType", &CDeviceInfo::setComponentType},
    {"version", &CDeviceInfo::setVersion},         {"path", &CDeviceInfo::setFilePath},
    {"releaseID", &CDeviceInfo::setReleaseID},
};

constexpr STextSource kTextChildren[] = {
    {"Display", &CDeviceInfo::setDisplay},
    {"Detail", &CDeviceInfo::setDetail},
};

void appendOrRefuse(bool alreadyListed, std::vector<CDeviceInfo*>& list, CDeviceInfo* device) {
    if (alreadyListed) {
        debugLog("CSoftwareComponentInfo::AddDependencyInfo() Found a duplicate entry");
    } else {
        list.push_back(device);
    }
}

/** A list without duplicates, like the one that AddDependencyInfo keeps, but with constant-time look-up.
 * Frees the records that it refuses; the others belong to the reader of the list. */
class CDependencyList {
public:
    explicit CDependencyList(std::size_t expected) {
        m_vecDevices.reserve(expected);
        m_index.reserve(expected);
    }

    void add(DeviceInfoPtr device) {
        // cppcheck-suppress danglingLifetime ; a record in the index is released below, not freed
        const bool alreadyListed = !m_index.insert(device.get()).second;
        appendOrRefuse(alreadyListed, m_vecDevices, device.get());
        if (!alreadyListed) {
            static_cast<void>(device.release());  // the reader of the list owns it
        }
    }

    const std::vector<CDeviceInfo*>& devices() const { return m_vecDevices; }

private:
    struct Hash {
        std::size_t operator()(const CDeviceInfo* device) const { return device->hash(); }
    };
    struct Equal {
        bool operator()(const CDeviceInfo* one, const CDeviceInfo* other) const { return *one == *other; }
    };

    std::vector<CDeviceInfo*> m_vecDevices;
    std::unordered_set<const CDeviceInfo*, Hash, Equal> m_index;
};

DeviceInfoPtr makeRecord() {
    DeviceInfoPtr record(new (std::nothrow) CDeviceInfo);
    if (!record) {
        debugLog("CSoftwareComponentInfo::getDependencyInfo() new  ( std::nothrow ) CDeviceInfo() failed");
    }
    return record;
}

void setOrMiss(const STextSource& source, const xmlChar* text, CDeviceInfo& record) {
    if (text != nullptr) {
        (record.*source.set)(asChars(text));
    } else {
        debugLog({"CSoftwareComponentInfo::getDependencyInfo() failed to get the ", source.name,
                  " info from package.xml for dependent device"});
    }
}

void readKind(const xmlNode* dependency, CDeviceInfo& record) {
    if (isElementNamed(dependency, "SoftDependency")) {
        debugLog("CSoftwareComponentInfo::getDependencyInfo() Found SoftDependecny");
        record.setDependencyType(CDeviceInfo::SOFT_DEPENDENCY);
    } else {
        debugLog("CSoftwareComponentInfo::getDependencyInfo() Found HardDependency");
        record.setDependencyType(CDeviceInfo::HARD_DEPENDENCY);
    }
}

void readParent(const xmlNode* dependency, CDeviceInfo& record) {
    if (const xmlChar* componentID = attributeText(dependency->parent, "componentID")) {
        record.setParentComponentID(asChars(componentID));
        debugLog(
            "CSoftwareComponentInfo::getDependencyInfo() got the parent componentID info from "
            "package.xml");
    } else {
        debugLog(
            "CSoftwareComponentInfo::getDependencyInfo() failed to get the parent componentID info from "
            "package.xml");
    }
}

/** Reads the dependency's child elements into the record and returns its PCI identities. current holds the
 *  previous identity, which supplies missing ids. */
std::vector<SPCIInfo> readChildren(const xmlNode* dependency, CDeviceInfo& record, SPCIInfo& current) {
    std::vector<SPCIInfo> identities;
    for (const xmlNode* child = dependency->children; child != nullptr; child = child->next) {
        for (const STextSource& source : kTextChildren) {
            if (isElementNamed(child, source.name)) {
                setOrMiss(source, firstChildText(child), record);
            }
        }
        if (isElementNamed(child, "PCIInfo")) {
            debugLog("CSoftwareComponentInfo::getDependencyInfo() Found a PCI Device");
            record.setDeviceType(CDeviceInfo::PCI_DEVICE);
            readPciIds(child, current);
            record.setPCIInfo(current);
            identities.push_back(current);
        }
    }
    return identities;
}

/** Lists one copy of the record per identity. False if out of memory. */
bool addPciCopies(const CDeviceInfo& record, const std::vector<SPCIInfo>& identities, CDependencyList& list) {
    for (const SPCIInfo& identity : identities) {
        DeviceInfoPtr copy = makeRecord();
        if (!copy) {
            return false;
        }
        *copy = record;
        copy->setPCIInfo(identity);
        list.add(std::move(copy));
        debugLog("CSoftwareComponentInfo::getDependencyInfo() Adding dependency info for a PCI Device");
    }
    return true;
}

/** Lists the records of one Dependency or SoftDependency element. False if out of memory. */
bool addDependency(const xmlNode* dependency, SPCIInfo& current, CDependencyList& list) {
    DeviceInfoPtr record = makeRecord();
    if (!record) {
        return false;
    }
    record->setDeviceType(CDeviceInfo::NON_PCI_DEVICE);
    readKind(dependency, *record);
    readParent(dependency, *record);
    for (const STextSource& source : kAttributes) {
        setOrMiss(source, attributeText(dependency, source.name), *record);
    }
    const std::vector<SPCIInfo> identities = readChildren(dependency, *record, current);
    if (!identities.empty()) {
        return addPciCopies(*record, identities, list);
    }
    list.add(std::move(record));
    return true;
}

}  // namespace

std::vector<CDeviceInfo*> CSoftwareComponentInfo::getDependencyInfo() {
    const XPathObjectPtr dependencies = ParseXmlUsingXpath(kDependencyPath);
    debugLog("CSoftwareComponentInfo::getDependencyInfo() Entered Method");
    if (!dependencies) {
        debugLog("CSoftwareComponentInfo::getDependencyInfo() ParseXmlUsingXpath failed");
        return {};
    }
    CDependencyList list(nodesOf(dependencies).size());
    SPCIInfo current;  // shared by all dependencies, so that missing ids carry over
    for (const xmlNode* dependency : nodesOf(dependencies)) {
        if (!addDependency(dependency, current, list)) {
            return list.devices();
        }
    }
    debugLog("CSoftwareComponentInfo::getDependencyInfo() Exiting");
    return list.devices();
}

void CSoftwareComponentInfo::AddDependencyInfo(std::vector<CDeviceInfo*>& list, CDeviceInfo* const& device) {
    const bool alreadyListed = std::any_of(
        list.begin(), list.end(), [device](const CDeviceInfo* listed) { return *listed == *device; });
    appendOrRefuse(alreadyListed, list, device);
}
