#include "TempDir.h"
#include "authoring/PackageDescription.h"
#include "base/File.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using vtek::ErrorNumber;

vtek::Result<vtek::PackageDescription> read(const std::string& xml) {
    const test::TempDir folder;
    test::writeFile(folder / "package.xml", xml);
    return vtek::readPackageDescription(vtek::kWorkingFolder, (folder / "package.xml").string(),
                                        ErrorNumber::PackageUnreadable);
}

TEST(PackageDescription, RefusesPackageWithoutComponent) {
    for (const std::string xml :
         {"<SoftwareComponent/>",
          "<SoftwareComponent><SupportedDevices><Device/></SupportedDevices></SoftwareComponent>",
          "<!DOCTYPE x><SoftwareComponent><SupportedDevices><Device componentID='1'/></SupportedDevices>"
          "</SoftwareComponent>",
          "no XML"}) {
        const auto description = read(xml);
        ASSERT_FALSE(description) << xml;
        EXPECT_EQ(description.error().number, ErrorNumber::PackageUnreadable);
    }
}

TEST(PackageDescription, ReadsFirstDeviceAndLastVersion) {
    const auto description = read(
        "<Packages><SoftwareComponent vendorVersion='1'><SupportedDevices><Device componentID='25227'/>"
        "<Device componentID='31002'/></SupportedDevices></SoftwareComponent>"
        "<SoftwareComponent vendorVersion='2'/></Packages>");
    ASSERT_TRUE(description);
    EXPECT_EQ(description->componentId, "25227");
    EXPECT_EQ(description->version, "2");
}

}  // namespace
