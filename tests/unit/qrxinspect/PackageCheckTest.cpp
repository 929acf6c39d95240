#include "PackageCheck.h"
#include "XmlDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace qrxinspect {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/** The findings about a description, each as "line: text". */
std::vector<std::string> findingsIn(const std::string& text) {
    const vtek::Result<XmlDocPtr> document = parseDocumentOf(text, "SoftwareComponent");
    if (!document) {
        return {document.error().message};
    }
    std::vector<std::string> findings;
    for (const Finding& finding : checkPackage(**document)) {
        findings.push_back(std::to_string(finding.line) + ": " + finding.text);
    }
    return findings;
}

/** A sound description around these devices, which start in line 2. */
std::string packageWith(const std::string& devices) {
    return "<SoftwareComponent vendorVersion=\"1\"><ComponentType value=\"FRMW\"/><SupportedDevices>\n" +
           devices + "</SupportedDevices></SoftwareComponent>";
}

TEST(PackageCheck, FindsNothingInASoundDescription) {
    EXPECT_THAT(findingsIn(packageWith("<Device componentID=\"1\"><Display>N</Display></Device>"
                                       "<Device componentID=\"2\"><PCIInfo vendorID=\"1\" deviceID=\"2\" "
                                       "subVendorID=\"3\" subDeviceID=\"4\"/><Display>M</Display>"
                                       "<Dependency componentID=\"1\" path=\"p\"/></Device>")),
                IsEmpty());
}

TEST(PackageCheck, FindsAMissingComponentId) {
    EXPECT_THAT(findingsIn(packageWith("<Device><Display>N</Display></Device>\n"
                                       "<Device componentID=\"\"><Display>N</Display></Device>")),
                ElementsAre("2: no component id: the device has no componentID",
                            "3: no component id: the device has no componentID"));
    EXPECT_THAT(findingsIn(packageWith("")),
                ElementsAre("1: no component id: there is no device under SupportedDevices"));
}

TEST(PackageCheck, FindsTheSameIdTwice) {
    EXPECT_THAT(findingsIn(packageWith("<Device componentID=\"1\"><Display>N</Display></Device>\n"
                                       "<Device componentID=\"1\"><Display>N</Display></Device>")),
                ElementsAre("3: component id \"1\" is used before, in line 2"));
}

TEST(PackageCheck, FindsADeviceWithoutAName) {
    EXPECT_THAT(findingsIn(packageWith("<Device componentID=\"1\"/>\n"
                                       "<Device componentID=\"2\"><Display/></Device>\n"
                                       "<Device componentID=\"3\"><Display/><display>N</display></Device>\n"
                                       "<Device componentID=\"4\"><Display><!----></Display></Device>")),
                ElementsAre("2: the device has no name: no Display with a text",
                            "3: the device has no name: no Display with a text",
                            "5: the device has no name: no Display with a text"));
}

TEST(PackageCheck, FindsADependencyWithoutAPath) {
    EXPECT_THAT(findingsIn(packageWith("<Device componentID=\"1\"><Display>N</Display>\n"
                                       "<SoftDependency componentID=\"2\"/>\n"
                                       "<Dependency componentID=\"3\" path=\"\"/></Device>")),
                ElementsAre("3: the dependency has no path", "4: the dependency has no path"));
}

TEST(PackageCheck, FindsValuesThatWouldBreakAReport) {
    EXPECT_THAT(
        findingsIn("<SoftwareComponent vendorVersion=\"1&lt;2\"><ComponentType value=\"a&amp;b\"/>"
                   "<SupportedDevices>\n<Device componentID='1\"'>\n<Display>R&amp;D</Display></Device>"
                   "</SupportedDevices></SoftwareComponent>"),
        ElementsAre("1: vendorVersion holds a < that would break a report: \"1<2\"",
                    "1: type holds a & that would break a report: \"a&b\"",
                    "2: componentID holds a \" that would break a report: \"1\"\"",
                    "3: name holds a & that would break a report: \"R&D\""));
}

TEST(PackageCheck, FindsMissingVersionAndType) {
    EXPECT_THAT(
        findingsIn("<SoftwareComponent><SupportedDevices><Device componentID=\"1\"><Display>N</Display>"
                   "</Device></SupportedDevices></SoftwareComponent>"),
        ElementsAre("1: no version: SoftwareComponent has no vendorVersion",
                    "1: no type: SoftwareComponent has no ComponentType"));
}

TEST(PackageCheck, FindsTypesOfWhichOnlyOneCounts) {
    EXPECT_THAT(
        findingsIn("<SoftwareComponent vendorVersion=\"1\">\n<ComponentType value=\"A\"/>\n<ComponentType/>"
                   "<SupportedDevices><Device componentID=\"1\"><Display>N</Display>"
                   "</Device></SupportedDevices></SoftwareComponent>"),
        ElementsAre("2: another ComponentType follows, and the last one counts",
                    "3: no type: ComponentType has no value"));
}

TEST(PackageCheck, FindsMissingPciIds) {
    EXPECT_THAT(findingsIn(packageWith("<Device componentID=\"1\"><Display>N</Display>\n"
                                       "<pciinfo vendorID=\"1\" deviceID=\"2\" subDeviceID=\"\"/></Device>")),
                ElementsAre("3: PCIInfo has no subVendorID: that of an earlier device counts",
                            "3: PCIInfo has no subDeviceID: that of an earlier device counts"));
}

TEST(PackageCheck, TakesLittleTimeForManyDevices) {
    std::string devices;
    for (int i = 0; i < 50'000; ++i) {
        devices += "<Device componentID=\"" + std::to_string(i) + "\"><Display>N</Display></Device>\n";
    }
    EXPECT_THAT(findingsIn(packageWith(devices)), IsEmpty());
}

}  // namespace
}  // namespace qrxinspect
