#include "PackageReaderTest.h"

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/** Component id, device id, sub-device id, vendor id, sub-vendor id and name, one after the other. */
std::string textOf(const SPCIInfo& device) {
    return device.componentID + "|" + device.deviceID + "|" + device.subDeviceID + "|" + device.vendorID +
           "|" + device.subVendorID + "|" + device.marketingName;
}

/** A device with all ids of four digits and a name. */
constexpr const char* kOneDevice =
    R"(<Device componentID="7"><PCIInfo deviceID="10DE" subDeviceID="8abc" vendorID="14E4" subVendorID="1028"/>)"
    R"(<Display>Card</Display></Device>)";

class SoftwareComponentInfoDevices : public PackageReaderTest {
protected:
    std::vector<std::string> devicesIn(std::string_view devices) {
        setDevices(devices);
        return supportedDevices();
    }

    static std::vector<std::string> supportedDevices() {
        std::vector<std::string> texts;
        for (const SPCIInfo& device : CSoftwareComponentInfo().GetSupportedDevices()) {
            texts.push_back(textOf(device));
        }
        return texts;
    }

    std::string nameIn(std::string_view devices, const SPCIInfo& query) {
        setDevices(devices);
        return CSoftwareComponentInfo().getMarketingNameForPCIDevice(query);
    }

    std::vector<std::string> logOfDevices() {
        return logOf([](CSoftwareComponentInfo& reader) { reader.GetSupportedDevices(); });
    }
};

TEST_F(SoftwareComponentInfoDevices, KeepsTheIdsOfADeviceAsWritten) {
    EXPECT_THAT(devicesIn(kOneDevice), ElementsAre("7|10DE|8abc|14E4|1028|Card"));
}

TEST_F(SoftwareComponentInfoDevices, ReadsAnEntityAsItsReplacementText) {
    package_.setPackage(
        std::string(kEntities) +
        "<SoftwareComponent><SupportedDevices>"
        R"(<Device componentID="&name;"><PCIInfo deviceID="1"/><Display>&name;</Display></Device>)"
        R"(<Device componentID="&nested;"><PCIInfo/><Display>&nested; x</Display></Device>)"
        "<Device><PCIInfo/><Display>&empty;</Display><Display>Card</Display></Device>"
        "<Device><PCIInfo/><Display><!--c-->Comment</Display></Device>"
        "<Device><PCIInfo/><Display><?p i?>Instruction</Display></Device>"
        "</SupportedDevices></SoftwareComponent>");
    for (const SPCIInfo& device : CSoftwareComponentInfo().GetSupportedDevices()) {
        // An attribute with the same reference gives the same text.
        EXPECT_TRUE(device.componentID.empty() || device.marketingName == device.componentID)
            << textOf(device);
    }
    EXPECT_THAT(supportedDevices(), ElementsAre("Name|0001||||Name", "a &name; b|0001||||a &name; b",
                                                "|0001||||Card", "|0001||||Card", "|0001||||Card"));
}

TEST_F(SoftwareComponentInfoDevices, PadsAShortIdWithZerosToFourCharacters) {
    EXPECT_THAT(
        devicesIn(R"(<Device componentID="7"><PCIInfo deviceID="10de" subDeviceID="8" vendorID="14e4" )"
                  R"(subVendorID="1028"/></Device>)"),
        ElementsAre("7|10de|0008|14e4|1028|"));
}

TEST_F(SoftwareComponentInfoDevices, PadsEveryIdAndCutsNone) {
    EXPECT_THAT(devicesIn(R"(<Device><PCIInfo deviceID="a" subDeviceID="bb" vendorID="ccc" )"
                          R"(subVendorID="0x1028"/></Device>)"),
                ElementsAre("|000a|00bb|0ccc|0x1028|"));
}

TEST_F(SoftwareComponentInfoDevices, TreatsAnEmptyIdAsAbsent) {
    EXPECT_THAT(
        devicesIn(R"(<Device><PCIInfo deviceID="" subDeviceID="2" vendorID="" subVendorID=""/></Device>)"),
        ElementsAre("||0002|||"));
}

TEST_F(SoftwareComponentInfoDevices, TakesAMissingIdFromThePreviousDevice) {
    EXPECT_THAT(
        devicesIn(
            R"(<Device componentID="1"><PCIInfo deviceID="d1" subDeviceID="e1" vendorID="v1" )"
            R"(subVendorID="s1"/></Device>)"
            R"(<Device componentID="2"><PCIInfo deviceID="d2" subDeviceID="e2" vendorID="v2"/></Device>)"
            R"(<Device componentID="3"><PCIInfo deviceID=""/></Device>)"),
        ElementsAre("1|00d1|00e1|00v1|00s1|", "2|00d2|00e2|00v2|00s1|", "3|00d2|00e2|00v2|00s1|"));
}

TEST_F(SoftwareComponentInfoDevices, TakesAMissingNameFromThePreviousDevice) {
    EXPECT_THAT(devicesIn(R"(<Device><PCIInfo deviceID="1"/><Display>First</Display></Device>)"
                          R"(<Device><PCIInfo deviceID="2"/></Device>)"),
                ElementsAre("|0001||||First", "|0002||||First"));
}

TEST_F(SoftwareComponentInfoDevices, CarriesNoComponentIdOver) {
    EXPECT_THAT(devicesIn(R"(<Device componentID="1"><PCIInfo/></Device><Device><PCIInfo/></Device>)"
                          R"(<Device componentID=""><PCIInfo/></Device>)"),
                ElementsAre("1|||||", "|||||", "|||||"));
}

TEST_F(SoftwareComponentInfoDevices, IgnoresANameBeforeThePciInfo) {
    EXPECT_THAT(devicesIn(R"(<Device><Display>Before</Display><PCIInfo deviceID="1"/></Device>)"
                          R"(<Device><PCIInfo deviceID="2"/><Display>After</Display></Device>)"
                          R"(<Device><Display>Before</Display><PCIInfo deviceID="3"/></Device>)"),
                ElementsAre("|0001||||", "|0002||||After", "|0003||||After"));
}

TEST_F(SoftwareComponentInfoDevices, UsesTheFirstFollowingNameWithAText) {
    EXPECT_THAT(
        devicesIn(R"(<Device><PCIInfo/><Display/><Display><b>x</b></Display><Display><!--c-->y</Display>)"
                  R"(<Display>Named</Display><Display>Later</Display></Device>)"),
        ElementsAre("|||||Named"));
}

TEST_F(SoftwareComponentInfoDevices, ReturnsARecordWithTheNextNameForEachPciInfo) {
    EXPECT_THAT(devicesIn(R"(<Device componentID="9"><PCIInfo deviceID="1"/><PCIInfo deviceID="2"/>)"
                          R"(<Display>A</Display><PCIInfo deviceID="3"/><Display>B</Display></Device>)"),
                ElementsAre("9|0001||||A", "9|0002||||A", "9|0003||||B"));
}

TEST_F(SoftwareComponentInfoDevices, ReturnsNoRecordForADeviceWithoutPciInfo) {
    EXPECT_THAT(devicesIn(R"(<Device componentID="1"><Display>Controller</Display></Device>)"), IsEmpty());
}

TEST_F(SoftwareComponentInfoDevices, IgnoresTheCaseOfChildNames) {
    EXPECT_THAT(devicesIn(R"(<Device><pciinfo deviceID="1"/><DISPLAY>Name</DISPLAY></Device>)"),
                ElementsAre("|0001||||Name"));
}

TEST_F(SoftwareComponentInfoDevices, IgnoresCommentsAndProcessingInstructions) {
    EXPECT_THAT(devicesIn(R"(<Device><?PCIInfo x?><!--PCIInfo--><PCIInfo deviceID="1"/><?Display No?>)"
                          R"(<!--Display--><Display>Name</Display></Device>)"),
                ElementsAre("|0001||||Name"));
}

TEST_F(SoftwareComponentInfoDevices, ReadsANameInACharacterDataSection) {
    EXPECT_THAT(devicesIn(R"(<Device><PCIInfo/><Display><![CDATA[a < b]]></Display></Device>)"),
                ElementsAre("|||||a < b"));
}

TEST_F(SoftwareComponentInfoDevices, IgnoresPciInfosOutsideADevice) {
    EXPECT_THAT(
        devicesIn(R"(<PCIInfo deviceID="1"/><Device><Group><PCIInfo deviceID="2"/></Group></Device>)"),
        IsEmpty());
}

TEST_F(SoftwareComponentInfoDevices, ReadsTheFileAgainForEachQuery) {
    setDevices(kOneDevice);
    CSoftwareComponentInfo reader;
    setDevices(R"(<Device componentID="8"><PCIInfo/></Device>)");
    ASSERT_EQ(reader.GetSupportedDevices().size(), 1U);
    EXPECT_EQ(reader.GetSupportedDevices().front().componentID, "8");
}

TEST_F(SoftwareComponentInfoDevices, LogsEachStep) {
    setDevices(R"(<Device><PCIInfo/><Display/><Display>Card</Display></Device><Device/>)");
    EXPECT_THAT(
        logOfDevices(),
        ElementsAre(
            "CSoftwareComponentInfo::GetSupportedDevices() Entering",                               //
            package_.exists("package.xml"),                                                         //
            "CSoftwareComponentInfo::GetNodeSet() Entering",                                        //
            "CSoftwareComponentInfo::GetNodeSet() Exiting",                                         //
            "CSoftwareComponentInfo::GetSupportedDevices() Found Some Device Nodes",                //
            "CSoftwareComponentInfo::GetSupportedDevices() Finding the Component ID and PCI Info",  //
            "CSoftwareComponentInfo::GetSupportedDevices() Found a PCI Device",                     //
            "CSoftwareComponentInfo::GetSupportedDevices() Found a Display element under Device element",
            "CSoftwareComponentInfo::GetSupportedDevices() Found a Display element under Device element",
            "CSoftwareComponentInfo::GetSupportedDevices() Got the marketing name/Display name for a PCI "
            "Device as Card",                                                                       //
            "CSoftwareComponentInfo::GetSupportedDevices() Finding the Component ID and PCI Info",  //
            "CSoftwareComponentInfo::GetSupportedDevices() Exiting"));
    for (const LogLine& line : package_.lines()) {
        EXPECT_THAT(line.source, ::testing::AnyOf("SoftwareComponentInfo", "LinuxImpl"));
    }
}

TEST_F(SoftwareComponentInfoDevices, ReturnsNoneWithoutAPackage) {
    EXPECT_THAT(CSoftwareComponentInfo().GetSupportedDevices(), IsEmpty());
    EXPECT_THAT(
        logOfDevices(),
        ElementsAre("CSoftwareComponentInfo::GetSupportedDevices() Entering",  //
                    package_.doesNotExist("package.xml"),                      //
                    "CSoftwareComponentInfo::GetSupportedDevices() Error during calculating xpath expression",
                    "CSoftwareComponentInfo::GetSupportedDevices() Exiting"));
}

TEST_F(SoftwareComponentInfoDevices, ReturnsNoneForAMalformedPackage) {
    package_.setPackage("<SoftwareComponent>");
    EXPECT_THAT(CSoftwareComponentInfo().GetSupportedDevices(), IsEmpty());
    EXPECT_THAT(
        logOfDevices(),
        ElementsAre("CSoftwareComponentInfo::GetSupportedDevices() Entering",  //
                    package_.exists("package.xml"),                            //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",           //
                    "CSoftwareComponentInfo::GetNodeSet() Empty nodeset",      //
                    "CSoftwareComponentInfo::GetSupportedDevices() Error during calculating xpath expression",
                    "CSoftwareComponentInfo::GetSupportedDevices() Exiting"));
}

TEST_F(SoftwareComponentInfoDevices, ReturnsNoneForAPackageWithoutDevices) {
    setDevices("");
    EXPECT_THAT(
        logOfDevices(),
        ElementsAre("CSoftwareComponentInfo::GetSupportedDevices() Entering",  //
                    package_.exists("package.xml"),                            //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",           //
                    "CSoftwareComponentInfo::GetNodeSet() Empty nodeset",      //
                    "CSoftwareComponentInfo::GetSupportedDevices() Error during calculating xpath expression",
                    "CSoftwareComponentInfo::GetSupportedDevices() Exiting"));
}

// Names by PCI ids.

/** A query for these ids; its component id and name are there to be ignored. */
SPCIInfo query(const char* device, const char* subDevice, const char* vendor, const char* subVendor) {
    return {"another component", device, subDevice, vendor, subVendor, "another name"};
}

TEST_F(SoftwareComponentInfoDevices, FindsTheNameByTheFourIds) {
    EXPECT_EQ(nameIn(kOneDevice, query("10DE", "8abc", "14E4", "1028")), "Card");
}

TEST_F(SoftwareComponentInfoDevices, IgnoresTheCaseOfEachIdInALookUp) {
    EXPECT_EQ(nameIn(kOneDevice, query("10de", "8ABC", "14e4", "1028")), "Card");
    EXPECT_EQ(nameIn(R"(<Device><PCIInfo deviceID="1A2B"/><Display>N</Display></Device>)",
                     query("1a2b", "", "", "")),
              "N");
}

TEST_F(SoftwareComponentInfoDevices, ComparesEachOfTheFourIdsInALookUp) {
    EXPECT_EQ(nameIn(kOneDevice, query("10DF", "8abc", "14E4", "1028")), "");
    EXPECT_EQ(nameIn(kOneDevice, query("10DE", "8abd", "14E4", "1028")), "");
    EXPECT_EQ(nameIn(kOneDevice, query("10DE", "8abc", "14E5", "1028")), "");
    EXPECT_EQ(nameIn(kOneDevice, query("10DE", "8abc", "14E4", "1029")), "");
}

TEST_F(SoftwareComponentInfoDevices, ComparesWholeTextsInALookUp) {
    EXPECT_EQ(nameIn(kOneDevice, query("10DE0", "8abc", "14E4", "1028")), "");
    EXPECT_EQ(nameIn(kOneDevice, query("10D", "8abc", "14E4", "1028")), "");
}

TEST_F(SoftwareComponentInfoDevices, PadsNoIdsInALookUp) {
    constexpr const char* kShort = R"(<Device><PCIInfo deviceID="8"/><Display>N</Display></Device>)";
    EXPECT_EQ(nameIn(kShort, query("8", "", "", "")), "");
    EXPECT_EQ(nameIn(kShort, query("0008", "", "", "")), "N");
}

TEST_F(SoftwareComponentInfoDevices, ReturnsTheLastMatchOfALookUp) {
    EXPECT_EQ(nameIn(R"(<Device><PCIInfo deviceID="1"/><Display>First</Display></Device>)"
                     R"(<Device><PCIInfo deviceID="1"/><Display>Second</Display></Device>)"
                     R"(<Device><PCIInfo deviceID="2"/><Display>Other</Display></Device>)",
                     query("0001", "", "", "")),
              "Second");
}

TEST_F(SoftwareComponentInfoDevices, LogsEachStepOfALookUp) {
    setDevices(R"(<Device><PCIInfo deviceID="1"/></Device><Device><PCIInfo deviceID="2"/></Device>)");
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) {
            reader.getMarketingNameForPCIDevice(query("0001", "", "", ""));
        }),
        ElementsAre(
            "CSoftwareComponentInfo::getMarketingNameForPCIDevice() Entering",                      //
            "CSoftwareComponentInfo::GetSupportedDevices() Entering",                               //
            package_.exists("package.xml"),                                                         //
            "CSoftwareComponentInfo::GetNodeSet() Entering",                                        //
            "CSoftwareComponentInfo::GetNodeSet() Exiting",                                         //
            "CSoftwareComponentInfo::GetSupportedDevices() Found Some Device Nodes",                //
            "CSoftwareComponentInfo::GetSupportedDevices() Finding the Component ID and PCI Info",  //
            "CSoftwareComponentInfo::GetSupportedDevices() Found a PCI Device",                     //
            "CSoftwareComponentInfo::GetSupportedDevices() Finding the Component ID and PCI Info",  //
            "CSoftwareComponentInfo::GetSupportedDevices() Found a PCI Device",                     //
            "CSoftwareComponentInfo::GetSupportedDevices() Exiting",                                //
            "CSoftwareComponentInfo::getMarketingNameForPCIDevice() Finding a match with PCI Device",
            "CSoftwareComponentInfo::getMarketingNameForPCIDevice() Found a match with PCI Devices from "
            "package.xml",
            "CSoftwareComponentInfo::getMarketingNameForPCIDevice() Finding a match with PCI Device",
            "CSoftwareComponentInfo::getMarketingNameForPCIDevice() Exiting"));
}

TEST_F(SoftwareComponentInfoDevices, FindsNothingWithoutAPackage) {
    EXPECT_EQ(CSoftwareComponentInfo().getMarketingNameForPCIDevice(query("", "", "", "")), "");
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) {
            reader.getMarketingNameForPCIDevice(query("", "", "", ""));
        }),
        ElementsAre("CSoftwareComponentInfo::getMarketingNameForPCIDevice() Entering",  //
                    "CSoftwareComponentInfo::GetSupportedDevices() Entering",           //
                    package_.doesNotExist("package.xml"),                               //
                    "CSoftwareComponentInfo::GetSupportedDevices() Error during calculating xpath expression",
                    "CSoftwareComponentInfo::GetSupportedDevices() Exiting",
                    "CSoftwareComponentInfo::getMarketingNameForPCIDevice() Exiting"));
}

}  // namespace
}  // namespace test
