#include "InspectRun.h"

#include <gtest/gtest.h>

namespace test {
namespace {

constexpr const char* kRichPackage = R"(<?xml version="1.0" encoding="UTF-8"?>
<SoftwareComponent vendorVersion="2.0">
  <ComponentType value="FRMW"/>
  <SupportedDevices>
    <Device componentID="100">
      <PCIInfo vendorID="8086" deviceID="10de" subVendorID="1028" subDeviceID="8"/>
      <Display>Gehäuse</Display>
      <Dependency componentID="200" componentType="BIOS" version="1.1" path="a\b.fwp" releaseID="R1">
        <Display>BIOS of the server</Display>
        <Detail>needed first</Detail>
      </Dependency>
    </Device>
    <Device componentID="101">
      <Display>Second</Display>
      <SoftDependency componentID="201" componentType="FRMW" version="3">
        <PCIInfo vendorID="1" deviceID="2" subVendorID="3" subDeviceID="4"/>
      </SoftDependency>
    </Device>
  </SupportedDevices>
</SoftwareComponent>
)";

/** A folder that holds this package.xml. */
class PackageFolder {
public:
    explicit PackageFolder(std::string_view description) { writeFile(folder_ / "package.xml", description); }

    const std::filesystem::path& path() const { return folder_.path(); }

private:
    TempDir folder_;
};

TEST(InspectPackage, ShowsTheQuickstartsPackage) {
    const Outcome outcome = inspect(QUICKSTART_PACKAGE, {"package"});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output,
              "Component id  25227\n"
              "Type          FRMW\n"
              "Version       1.40.200\n"
              "Display       Chassis controller firmware\n"
              "Rollback      yes\n"
              "\n"
              "Supported PCI devices: none\n"
              "\n"
              "Names by component id\n"
              "COMPONENT  NAME\n"
              "25227      Chassis controller firmware\n"
              "\n"
              "Dependencies: none\n");
}

TEST(InspectPackage, ReadsAPackageInAnotherFolder) {
    const std::string there = inspect(QUICKSTART_PACKAGE, {"package"}).output;
    EXPECT_EQ(inspect("/", {"package", QUICKSTART_PACKAGE}).output, there);
}

TEST(InspectPackage, ShowsDevicesNamesAndDependencies) {
    const PackageFolder folder(kRichPackage);
    const Outcome outcome = inspect("/", {"package", folder.path()});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.error, "");
    EXPECT_TRUE(
        outcome.output.starts_with("Component id  100\n"
                                   "Type          FRMW\n"
                                   "Version       2.0\n"
                                   "Display       Second\n"
                                   "Rollback      no\n"
                                   "\n"
                                   "Supported PCI devices\n"
                                   "COMPONENT  VENDOR  DEVICE  SUBVENDOR  SUBDEVICE  NAME\n"
                                   "100        8086    10de    1028       0008       Gehäuse\n"
                                   "\n"
                                   "Names by component id\n"
                                   "COMPONENT  NAME\n"
                                   "100        Gehäuse\n"
                                   "101        Second\n"
                                   "\n"
                                   "Dependencies\n"
                                   "KIND  OF   COMPONENT  PCI      TYPE  VERSION  RELEASE  NAME"))
        << outcome.output;
}

TEST(InspectPackage, PrintsJsonThatProgramsRead) {
    const PackageFolder folder(kRichPackage);
    nlohmann::json package = inspectJson(folder.path(), {"package", "--json"});
    const std::string download = package["dependencies"][0]["download"];
    EXPECT_TRUE(download.starts_with("http")) << download;
    EXPECT_TRUE(download.ends_with("/a/b.fwp")) << download;
    package["dependencies"][0].erase("download");
    EXPECT_EQ(package, nlohmann::json::parse(R"({
        "format": 1, "componentId": "100", "type": "FRMW", "version": "2.0", "display": "Second", "rollback": false,
        "pciDevices": [{"componentId": "100", "vendorId": "8086", "deviceId": "10de", "subVendorId": "1028",
                        "subDeviceId": "0008", "name": "Gehäuse"}],
        "names": {"100": "Gehäuse", "101": "Second"},
        "dependencies": [
            {"kind": "hard", "of": "100", "componentId": "200", "pci": "", "type": "BIOS", "version": "1.1",
             "release": "R1", "name": "BIOS of the server", "detail": "needed first"},
            {"kind": "soft", "of": "101", "componentId": "201", "pci": "1:2:3:4", "type": "FRMW", "version": "3",
             "release": "", "name": "", "detail": "", "download": ""}]})"));
}

TEST(InspectPackage, EscapesHostileValues) {
    const PackageFolder folder(
        "<SoftwareComponent vendorVersion=\"1&#10;2\"><SupportedDevices>"
        "<Device componentID=\"\u202e1\"><Display>\u009b31mred</Display></Device>"
        "</SupportedDevices></SoftwareComponent>");
    const Outcome outcome = inspect(folder.path(), {"package"});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_TRUE(
        outcome.output.starts_with("Component id  \\u202e1\n"
                                   "Type          -\n"
                                   "Version       1\\n2\n"
                                   "Display       \\u009b31mred\n"))
        << outcome.output;
}

TEST(InspectPackage, FindsNothingInTheQuickstartsPackage) {
    const Outcome outcome = inspect(QUICKSTART_PACKAGE, {"package", "--check"});
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.output, "package.xml: nothing is missing or suspicious\n");
    EXPECT_EQ(outcome.error, "");
}

TEST(InspectPackage, PrintsFileLineAndFinding) {
    const PackageFolder folder(
        "<SoftwareComponent vendorVersion=\"1\">\n"
        "<ComponentType value=\"FRMW\"/>\n"
        "<SupportedDevices>\n"
        "<Device><Display>N</Display></Device>\n"
        "<Device componentID=\"1\"/>\n"
        "<Device componentID=\"1\"><Display>&#9;R&amp;D</Display>\n"
        "<Dependency componentID=\"2\"/></Device>\n"
        "</SupportedDevices>\n"
        "</SoftwareComponent>\n");
    const std::string file = (folder.path() / "package.xml").string();
    const Outcome outcome = inspect("/", {"package", "--check", folder.path()});
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(outcome.error, "");
    EXPECT_EQ(outcome.output, file + ":4: no component id: the device has no componentID\n" + file +
                                  ":5: the device has no name: no Display with a text\n" + file +
                                  ":6: component id \"1\" is used before, in line 5\n" + file +
                                  ":6: name holds a & that would break a report: \"\\tR&D\"\n" + file +
                                  ":7: the dependency has no path\n");
}

TEST(InspectPackage, PrintsFindingsAsJson) {
    const PackageFolder folder(
        "<SoftwareComponent vendorVersion=\"1\"><ComponentType value=\"FRMW\"/>\n"
        "</SoftwareComponent>");
    const Outcome outcome = inspect(folder.path(), {"package", "--check", "--json"});
    EXPECT_EQ(outcome.exitStatus, 1);
    EXPECT_EQ(nlohmann::json::parse(outcome.output), nlohmann::json::parse(R"({
        "format": 1, "file": "package.xml",
        "findings": [{"line": 1, "text": "no component id: there is no device under SupportedDevices"}]})"));
}

}  // namespace
}  // namespace test
