#include "QRXInventory.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace test {
namespace {

/** A look-up of component "25227", whose record starts with version "before". */
struct Lookup {
    const char* name;
    std::string inventory;
    int result;
    const char* version = "before";
    const char* id = "25227";
};

void PrintTo(const Lookup& lookup, std::ostream* out) {
    *out << lookup.inventory;
}

const std::vector<Lookup> kLookups = {
    {"VersionOfTheComponent",
     R"(<SVMInventory><Device componentID="25227"><Application version="1.2"/></Device></SVMInventory>)", 0,
     "1.2"},
    {"OtherComponentsAreSteppedOver",
     R"(<SVMInventory><Device componentID="1"><Application version="1"/></Device>)"
     R"(<Device componentID="25227"><Application version="2"/></Device></SVMInventory>)",
     0, "2"},
    {"FirstOfTwoDevicesWithTheSameIdCounts",
     R"(<SVMInventory><Device componentID="25227"><Application version="1"/></Device>)"
     R"(<Device componentID="25227"><Application version="2"/></Device></SVMInventory>)",
     0, "1"},
    {"FirstDeviceCountsAlsoWithoutAnApplication",
     R"(<SVMInventory><Device componentID="25227"/>)"
     R"(<Device componentID="25227"><Application version="2"/></Device></SVMInventory>)",
     0},
    {"FirstApplicationCounts",
     R"(<SVMInventory><Device componentID="25227"><Application version="1"/><Application version="2"/></Device>)"
     R"(</SVMInventory>)",
     0, "1"},
    {"OtherChildrenAreSteppedOver",
     R"(<SVMInventory><!-- c --><Group/><Device componentID="25227"> <Display>x</Display><Application version="1"/>)"
     R"(</Device></SVMInventory>)",
     0, "1"},
    {"OtherChildrenAreSteppedOverWithTheirVersion",
     R"(<SVMInventory><Device componentID="25227"><Display version="0"/><Application version="1"/></Device>)"
     R"(</SVMInventory>)",
     0, "1"},
    {"ProcessingInstructionsAreSteppedOver",
     R"(<SVMInventory><?Device componentID="25227"?><Device componentID="25227"><?Application version="0"?>)"
     R"(<Application version="1"/></Device></SVMInventory>)",
     0, "1"},
    {"NoApplicationLeavesTheVersion", R"(<SVMInventory><Device componentID="25227"/></SVMInventory>)", 0},
    {"ApplicationWithoutAVersionLeavesTheVersion",
     R"(<SVMInventory><Device componentID="25227"><Application/></Device></SVMInventory>)", 0},
    {"FirstApplicationCountsAlsoWithoutAVersion",
     R"(<SVMInventory><Device componentID="25227"><Application/><Application version="2"/></Device></SVMInventory>)",
     0},
    {"EmptyVersionIsTaken",
     R"(<SVMInventory><Device componentID="25227"><Application version=""/></Device></SVMInventory>)", 0, ""},
    {"VersionIsUnescaped",
     R"(<SVMInventory><Device componentID="25227"><Application version="&lt;1&amp;&quot;"/></Device></SVMInventory>)",
     0, "<1&\""},
    {"ApplicationNestedDeeperLeavesTheVersion",
     R"(<SVMInventory><Device componentID="25227"><X><Application version="1"/></X></Device></SVMInventory>)",
     0},
    {"UnknownComponent",
     R"(<SVMInventory><Device componentID="1"><Application version="1"/></Device></SVMInventory>)", 1},
    {"NoDevice", "<SVMInventory/>", 1},
    {"DeviceWithoutAnId", R"(<SVMInventory><Device><Application version="1"/></Device></SVMInventory>)", 1},
    {"DeviceNestedDeeper",
     R"(<SVMInventory><G><Device componentID="25227"><Application version="1"/></Device></G></SVMInventory>)",
     1},
    {"OtherElementWithTheId",
     R"(<SVMInventory><device componentID="25227"><Application version="1"/></device></SVMInventory>)", 1},
    {"OtherRoot", R"(<Inventory><Device componentID="25227"><Application version="1"/></Device></Inventory>)",
     1},
    {"RootInAnotherCase",
     R"(<svmInventory><Device componentID="25227"><Application version="1"/></Device></svmInventory>)", 1},
    {"MalformedDocument", R"(<SVMInventory><Device componentID="25227">)", 1},
    {"EmptyText", "", 1},
    {"TextThatIsNoXml", "SVMInventory", 1},
    {"TwoDocuments", "<SVMInventory/><SVMInventory/>", 1},
    {"LeadingZeroIsNotTheSameId",
     R"(<SVMInventory><Device componentID="025227"><Application version="1"/></Device></SVMInventory>)", 1},
    {"TrailingBlankIsNotTheSameId",
     R"(<SVMInventory><Device componentID="25227 "><Application version="1"/></Device></SVMInventory>)", 1},
    {"DefaultNamespaceIsPassedOver",
     R"(<SVMInventory xmlns="urn:x"><Device componentID="25227"><Application version="1"/></Device></SVMInventory>)",
     0, "1"},
    {"PrefixedElementsCountByTheirLocalName",
     R"(<p:SVMInventory xmlns:p="urn:x"><p:Device componentID="25227"><p:Application version="1"/></p:Device>)"
     R"(</p:SVMInventory>)",
     0, "1"},
    {"QuotesInTheIdMatch",
     R"(<SVMInventory><Device componentID="a&quot;b'c"><Application version="1"/></Device></SVMInventory>)",
     0, "1", "a\"b'c"},
    {"BlanksInTheIdMatch",
     R"(<SVMInventory><Device componentID=" 1 "><Application version="1"/></Device></SVMInventory>)", 0, "1",
     " 1 "},
    {"CaseOfTheIdCounts",
     R"(<SVMInventory><Device componentID="AB"><Application version="1"/></Device></SVMInventory>)", 1,
     "before", "ab"},
    {"EmptyIdMatchesAnEmptyAttribute",
     R"(<SVMInventory><Device componentID=""><Application version="1"/></Device></SVMInventory>)", 0, "1",
     ""},
    {"EmptyIdDoesNotMatchAMissingAttribute",
     R"(<SVMInventory><Device><Application version="1"/></Device></SVMInventory>)", 1, "before", ""},
};

class QRXInventoryVersion : public ::testing::TestWithParam<Lookup> {};

TEST_P(QRXInventoryVersion, ReadsTheVersion) {
    const Lookup& lookup = GetParam();
    CDeviceInfo record;
    record.setVersion("before");
    EXPECT_EQ(GetQRXVersion(lookup.id, lookup.inventory.c_str(), &record), lookup.result);
    EXPECT_EQ(record.getVersion(), lookup.version);
    EXPECT_EQ(record.getStatus(), -1) << "the look-up is no verdict";
}

/** What a look-up says of an inventory whose first device has this content. */
int lookUpBehind(const std::string& content) {
    const std::string inventory = R"(<SVMInventory><Device componentID="1">)" + content +
                                  R"(</Device><Device componentID="25227"/></SVMInventory>)";
    CDeviceInfo record;
    return GetQRXVersion("25227", inventory.c_str(), &record);
}

TEST(QRXInventoryVersionLimits, CountsEachTextOfAnotherDeviceOnItsOwn) {
    constexpr std::size_t kLongestText = 10'000'000;  // libxml2's XML_MAX_TEXT_LENGTH
    const std::string half(kLongestText / 2, 'x');
    EXPECT_EQ(lookUpBehind(half + "<Group/>" + half + "<Group/>" + half), 0);
    EXPECT_EQ(lookUpBehind(half + "&amp;" + half + "&amp;" + half), 1);
}

INSTANTIATE_TEST_SUITE_P(Lookup, QRXInventoryVersion, ::testing::ValuesIn(kLookups),
                         [](const auto& shown) { return shown.param.name; });

}  // namespace
}  // namespace test
