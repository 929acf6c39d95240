#pragma once

#include "LogCapture.h"
#include "PlatformLayer.h"
#include "WorkingDirectory.h"

#include <optional>
#include <string>
#include <string_view>

namespace test {

/** The package of one component: what most tests of package.xml start from. */
inline constexpr std::string_view kPackageXml =
    R"(<SoftwareComponent vendorVersion="1.40.200"><ComponentType value="FRMW"/><SupportedDevices>)"
    R"(<Device componentID="25227"><Display>Chassis controller firmware</Display><RollbackInformation/></Device>)"
    R"(</SupportedDevices></SoftwareComponent>)";

/**
 * An update package's folder that is the working directory, and the debug log as it is written from then on.
 *
 * The process-wide platform object is made beforehand, so that its own line in the log does not depend on
 * which test came first.
 */
class PackageFolder {
public:
    PackageFolder() {
        CPlatformLayer::GetPlatform();
        clearLog();
    }
    explicit PackageFolder(std::string_view packageXml) : PackageFolder() { setPackage(packageXml); }

    void setPackage(std::string_view xml) const { writeFile(folder_ / "package.xml", xml); }
    std::filesystem::path operator/(std::string_view name) const { return folder_ / name; }

    /** What the test of a file's existence logs. */
    std::string exists(std::string_view name) const { return check(name) + " exist"; }
    std::string doesNotExist(std::string_view name) const { return check(name) + " doesnt exist"; }

    /** Forgets what has been logged so far. */
    void clearLog() { log_.emplace(); }
    std::vector<std::string> messages() const { return log_->messages(); }
    std::vector<LogLine> lines() const { return log_->lines(); }

private:
    std::string check(std::string_view name) const {
        return "CLinuxImpl::IsFileExistsAbs() File name " + (folder_ / name).string();
    }

    WorkingTempDir folder_;
    std::optional<LogCapture> log_;
};

}  // namespace test
