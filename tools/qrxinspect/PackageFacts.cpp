#include "PackageFacts.h"

#include "SoftwareComponentInfo.h"

#include <memory>

namespace tools {
namespace {

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

}  // namespace tools
