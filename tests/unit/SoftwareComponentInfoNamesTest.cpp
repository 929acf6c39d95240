#include "PackageReaderTest.h"

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

class SoftwareComponentInfoNames : public PackageReaderTest {
protected:
    std::map<std::string, std::string> namesIn(std::string_view devices) {
        setDevices(devices);
        return CSoftwareComponentInfo().getCompIDMarkNameInfo();
    }

    std::string nameIn(std::string_view devices, const std::string& componentID) {
        setDevices(devices);
        return CSoftwareComponentInfo().getMarketingNameForNonPCIDevice(componentID);
    }

    std::string displayStringIn(std::string_view devices) {
        setDevices(devices);
        return CSoftwareComponentInfo().GetComponentDisplayString();
    }
};

TEST_F(SoftwareComponentInfoNames, ListsEveryDeviceWithANameUnderItsId) {
    EXPECT_THAT(namesIn(R"(<Device componentID="2"><Display>B</Display></Device>)"
                        R"(<Device componentID="1"><Display>A</Display></Device><Device componentID="3"/>)"),
                ElementsAre(Pair("1", "A"), Pair("2", "B")));
}

TEST_F(SoftwareComponentInfoNames, UsesTheLastOfTwoDevicesWithOneId) {
    EXPECT_THAT(namesIn(R"(<Device componentID="100"><Display>A</Display></Device>)"
                        R"(<Device componentID="100"><Display>B</Display></Device>)"),
                ElementsAre(Pair("100", "B")));
}

TEST_F(SoftwareComponentInfoNames, KeepsTheEntryForALaterDeviceWithoutAName) {
    EXPECT_THAT(namesIn(R"(<Device componentID="100"><Display>A</Display></Device>)"
                        R"(<Device componentID="100"><Display/></Device>)"),
                ElementsAre(Pair("100", "A")));
}

TEST_F(SoftwareComponentInfoNames, DistinguishesIdsByCaseAndOrdersThemByBytes) {
    EXPECT_THAT(namesIn(R"(<Device componentID="b"><Display>3</Display></Device>)"
                        R"(<Device componentID="a"><Display>2</Display></Device>)"
                        R"(<Device componentID="A"><Display>1</Display></Device>)"),
                ElementsAre(Pair("A", "1"), Pair("a", "2"), Pair("b", "3")));
}

TEST_F(SoftwareComponentInfoNames, UsesTheFirstDisplayWithAText) {
    EXPECT_THAT(
        namesIn(R"(<Device componentID="1"><Display/><Display><b>x</b></Display><Display>Later</Display>)"
                R"(<Display>Last</Display></Device>)"),
        ElementsAre(Pair("1", "Later")));
}

TEST_F(SoftwareComponentInfoNames, ReadsAnEntityAsItsReplacementText) {
    package_.setPackage(std::string(kEntities) +
                        R"(<SoftwareComponent><SupportedDevices><Device componentID="&name;">)"
                        "<Display>&name;</Display></Device></SupportedDevices></SoftwareComponent>");
    CSoftwareComponentInfo reader;
    const std::string name = reader.GetComponentID();  // what an attribute with the reference gives
    EXPECT_THAT(name, ::testing::StrEq("Name"));
    EXPECT_THAT(reader.getCompIDMarkNameInfo(), ElementsAre(Pair(name, name)));
    EXPECT_EQ(reader.getMarketingNameForNonPCIDevice(name), name);
    EXPECT_EQ(reader.GetComponentDisplayString(), name);
}

TEST_F(SoftwareComponentInfoNames, ListsPciDevicesToo) {
    EXPECT_THAT(namesIn(R"(<Device componentID="1"><PCIInfo deviceID="1"/><Display>Card</Display></Device>)"),
                ElementsAre(Pair("1", "Card")));
}

TEST_F(SoftwareComponentInfoNames, ListsADeviceWithoutAnIdUnderTheEmptyId) {
    EXPECT_THAT(namesIn(R"(<Device><Display>None</Display></Device>)"), ElementsAre(Pair("", "None")));
    EXPECT_THAT(namesIn(R"(<Device componentID=""><Display>Empty</Display></Device>)"),
                ElementsAre(Pair("", "Empty")));
}

TEST_F(SoftwareComponentInfoNames, CarriesNoIdOver) {
    EXPECT_THAT(
        namesIn(
            R"(<Device componentID="1"><Display>A</Display></Device><Device><Display>B</Display></Device>)"),
        ElementsAre(Pair("", "B"), Pair("1", "A")));
}

TEST_F(SoftwareComponentInfoNames, IgnoresTheCaseOfElementNamesAndAllOtherNodes) {
    EXPECT_THAT(
        namesIn(R"(<Device componentID="1"><?Display No?><!--Display--><dISPLAY>Yes</dISPLAY></Device>)"),
        ElementsAre(Pair("1", "Yes")));
}

TEST_F(SoftwareComponentInfoNames, ReturnsNoneWithoutAPackage) {
    EXPECT_THAT(CSoftwareComponentInfo().getCompIDMarkNameInfo(), IsEmpty());
    EXPECT_THAT(logOf([](CSoftwareComponentInfo& reader) { reader.getCompIDMarkNameInfo(); }),
                ElementsAre("Entering CSoftwareComponentInfo::GetCompIDMarkNameInfo()",  //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",     //
                            package_.doesNotExist("package.xml"),                        //
                            "Leaving CSoftwareComponentInfo::GetCompIDMarkNameInfo()"));
}

TEST_F(SoftwareComponentInfoNames, ReturnsNoneForAMalformedPackage) {
    package_.setPackage("<SoftwareComponent>");
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { EXPECT_THAT(reader.getCompIDMarkNameInfo(), IsEmpty()); }),
        ElementsAre("Entering CSoftwareComponentInfo::GetCompIDMarkNameInfo()",  //
                    "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",     //
                    package_.exists("package.xml"),                              //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",             //
                    "CSoftwareComponentInfo::GetNodeSet() Empty nodeset",        //
                    "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting",      //
                    "Leaving CSoftwareComponentInfo::GetCompIDMarkNameInfo()"));
}

TEST_F(SoftwareComponentInfoNames, LogsEachStepOfTheMap) {
    setDevices(R"(<Device componentID="1"><Display/><Display>A</Display></Device><Device/>)");
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { reader.getCompIDMarkNameInfo(); }),
        ElementsAre("Entering CSoftwareComponentInfo::GetCompIDMarkNameInfo()",                           //
                    "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",                              //
                    package_.exists("package.xml"),                                                       //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",                                      //
                    "CSoftwareComponentInfo::GetNodeSet() Exiting",                                       //
                    "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting",                               //
                    "GetCompIDMarkNameInfo() Found the Component ID as 1",                                //
                    "GetCompIDMarkNameInfo() Finding the Marketing name for device with component id 1",  //
                    "GetCompIDMarkNameInfo() Found a Display element under Device element",               //
                    "GetCompIDMarkNameInfo() Found a Display element under Device element",               //
                    "GetCompIDMarkNameInfo() Got the marketing name/Display name for a Non-PCI Device with "
                    "Component ID  1 as A",                                                              //
                    "GetCompIDMarkNameInfo() Found the Component ID as ",                                //
                    "GetCompIDMarkNameInfo() Finding the Marketing name for device with component id ",  //
                    "Leaving CSoftwareComponentInfo::GetCompIDMarkNameInfo()"));
    for (const LogLine& line : package_.lines()) {
        EXPECT_THAT(line.source, ::testing::AnyOf("SoftwareComponentInfo", "LinuxImpl"));
    }
}

// Names by component id.

TEST_F(SoftwareComponentInfoNames, FindsAnIdInAnyCase) {
    constexpr const char* kDevice = R"(<Device componentID="aB1"><Display>N</Display></Device>)";
    EXPECT_EQ(nameIn(kDevice, "aB1"), "N");
    EXPECT_EQ(nameIn(kDevice, "Ab1"), "N");
    EXPECT_EQ(nameIn(kDevice, "aB"), "");
    EXPECT_EQ(nameIn(kDevice, "aB12"), "");
    EXPECT_EQ(nameIn(kDevice, ""), "");
}

TEST_F(SoftwareComponentInfoNames, ReturnsTheLastOfKeysThatDifferInCase) {
    EXPECT_EQ(nameIn(R"(<Device componentID="a"><Display>small</Display></Device>)"
                     R"(<Device componentID="A"><Display>capital</Display></Device>)",
                     "A"),
              "small");
}

TEST_F(SoftwareComponentInfoNames, FindsTheDeviceWithoutAnIdByTheEmptyId) {
    EXPECT_EQ(nameIn(R"(<Device><Display>None</Display></Device>)", ""), "None");
}

TEST_F(SoftwareComponentInfoNames, LogsEachStepOfALookUp) {
    setDevices(R"(<Device componentID="1"><Display>A</Display></Device>)"
               R"(<Device componentID="2"><Display>B</Display></Device>)");
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { reader.getMarketingNameForNonPCIDevice("1"); }),
        ElementsAre(
            "Entering CSoftwareComponentInfo::getMarketingNameForNonPCIDevice()",                 //
            "Entering CSoftwareComponentInfo::GetCompIDMarkNameInfo()",                           //
            "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",                              //
            package_.exists("package.xml"),                                                       //
            "CSoftwareComponentInfo::GetNodeSet() Entering",                                      //
            "CSoftwareComponentInfo::GetNodeSet() Exiting",                                       //
            "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting",                               //
            "GetCompIDMarkNameInfo() Found the Component ID as 1",                                //
            "GetCompIDMarkNameInfo() Finding the Marketing name for device with component id 1",  //
            "GetCompIDMarkNameInfo() Found a Display element under Device element",               //
            "GetCompIDMarkNameInfo() Got the marketing name/Display name for a Non-PCI Device with "
            "Component ID  1 as A",                                                               //
            "GetCompIDMarkNameInfo() Found the Component ID as 2",                                //
            "GetCompIDMarkNameInfo() Finding the Marketing name for device with component id 2",  //
            "GetCompIDMarkNameInfo() Found a Display element under Device element",               //
            "GetCompIDMarkNameInfo() Got the marketing name/Display name for a Non-PCI Device with "
            "Component ID  2 as B",                                                                   //
            "Leaving CSoftwareComponentInfo::GetCompIDMarkNameInfo()",                                //
            "getMarketingNameForNonPCIDevice() Finding a match with PCI Device",                      //
            "getMarketingNameForNonPCIDevice() Found a match with Non-PCI Devices from package.xml",  //
            "getMarketingNameForNonPCIDevice() Finding a match with PCI Device",                      //
            "Leaving CSoftwareComponentInfo::getMarketingNameForNonPCIDevice()"));
}

TEST_F(SoftwareComponentInfoNames, FindsNothingWithoutAPackage) {
    EXPECT_THAT(logOf([](CSoftwareComponentInfo& reader) {
                    EXPECT_EQ(reader.getMarketingNameForNonPCIDevice("1"), "");
                }),
                ElementsAre("Entering CSoftwareComponentInfo::getMarketingNameForNonPCIDevice()",  //
                            "Entering CSoftwareComponentInfo::GetCompIDMarkNameInfo()",            //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",               //
                            package_.doesNotExist("package.xml"),                                  //
                            "Leaving CSoftwareComponentInfo::GetCompIDMarkNameInfo()",             //
                            "Leaving CSoftwareComponentInfo::getMarketingNameForNonPCIDevice()"));
}

// The package's display string.

TEST_F(SoftwareComponentInfoNames, ReturnsTheFirstDisplayThatStartsADevice) {
    EXPECT_EQ(displayStringIn(R"(<Device/><Device><PCIInfo/><Display>Second child</Display></Device>)"
                              R"(<Device><display>First child</display></Device>)"
                              R"(<Device><Display>Too late</Display></Device>)"),
              "First child");
}

TEST_F(SoftwareComponentInfoNames, IgnoresADisplayAfterThePciInfo) {
    EXPECT_EQ(displayStringIn(R"(<Device><PCIInfo/><Display>Name</Display></Device>)"), "");
}

TEST_F(SoftwareComponentInfoNames, IgnoresADisplayAfterACommentOrAnInstruction) {
    EXPECT_EQ(displayStringIn(R"(<Device><!--c--><Display>Name</Display></Device>)"), "");
    EXPECT_EQ(displayStringIn(R"(<Device><?Display Name?><Display>Name</Display></Device>)"), "");
}

TEST_F(SoftwareComponentInfoNames, SkipsBlankTextBeforeTheDisplay) {
    EXPECT_EQ(displayStringIn("<Device>\n  <Display>Name</Display>\n</Device>"), "Name");
}

TEST_F(SoftwareComponentInfoNames, StopsAtAnEmptyFirstDisplay) {
    setDevices(R"(<Device><Display/><Display>Later</Display></Device>)"
               R"(<Device><Display>Next</Display></Device>)");
    EXPECT_THAT(CSoftwareComponentInfo().getCompIDMarkNameInfo(), ElementsAre(Pair("", "Next")));
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { EXPECT_EQ(reader.GetComponentDisplayString(), ""); }),
        ElementsAre("CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",  //
                    package_.exists("package.xml"),                           //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",          //
                    "CSoftwareComponentInfo::GetNodeSet() Exiting",           //
                    "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting",   //
                    "CSoftwareComponentInfo::GetComponentDisplayString() failed to get the Display info "
                    "from package.xml for device"));
}

TEST_F(SoftwareComponentInfoNames, UsesALaterDisplayAsNameButNotAsDisplayString) {
    constexpr const char* kDevice = R"(<Device componentID="1"><Display/><Display>Later</Display></Device>)";
    EXPECT_THAT(namesIn(kDevice), ElementsAre(Pair("1", "Later")));
    EXPECT_EQ(displayStringIn(kDevice), "");
}

TEST_F(SoftwareComponentInfoNames, LogsTheDisplayStringWithALineEnd) {
    setDevices(R"(<Device><Display>Name</Display></Device>)");
    EXPECT_THAT(logOf([](CSoftwareComponentInfo& reader) { reader.GetComponentDisplayString(); }),
                ElementsAre("CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",  //
                            package_.exists("package.xml"),                           //
                            "CSoftwareComponentInfo::GetNodeSet() Entering",          //
                            "CSoftwareComponentInfo::GetNodeSet() Exiting",           //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting",   //
                            "CSoftwareComponentInfo::GetComponentDisplayString()  Name\n"));
}

TEST_F(SoftwareComponentInfoNames, LogsNothingMoreWithoutAQualifyingDevice) {
    setDevices("<Device/>");
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { EXPECT_EQ(reader.GetComponentDisplayString(), ""); }),
        ElementsAre("CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",  //
                    package_.exists("package.xml"),                           //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",          //
                    "CSoftwareComponentInfo::GetNodeSet() Exiting",           //
                    "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting"));
}

TEST_F(SoftwareComponentInfoNames, ReturnsNoDisplayStringWithoutAPackage) {
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { EXPECT_EQ(reader.GetComponentDisplayString(), ""); }),
        ElementsAre("CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",  //
                    package_.doesNotExist("package.xml")));
}

}  // namespace
}  // namespace test
