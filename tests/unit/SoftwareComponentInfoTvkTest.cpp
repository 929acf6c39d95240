#include "PackageFolder.h"
#include "SoftwareComponentInfo.h"

#include <gmock/gmock.h>

namespace test {
namespace {

using ::testing::ElementsAre;

constexpr const char* kFound = "CIdentityModuleInventory::GetInvFromTVK:: component ID found";
constexpr const char* kNotFound = "CIdentityModuleInventory::GetInvFromTVK:: component ID not found";
constexpr const char* kEvaluationError =
    "CIdentityModuleInventory::getnodeset :: Error in xmlXPathEvalExpression";

/** Looks a component up in an inventory's text. */
class SoftwareComponentInfoTvk : public ::testing::Test {
protected:
    bool lookUp(const std::string& id, const std::string& inventory) {
        package_.clearLog();
        std::stringstream inventoryStream(inventory);
        const bool result = reader_.GetInvFromTVK(id, record_, inventoryStream);
        log_ = package_.messages();
        return result;
    }

    PackageFolder package_;
    CSoftwareComponentInfo reader_;
    std::stringstream record_;
    std::vector<std::string> log_;
};

TEST_F(SoftwareComponentInfoTvk, AppendsTheRecordWithItsAttributesAndChildrenIndented) {
    EXPECT_TRUE(lookUp("25227",
                       R"(<SVMInventory><Device componentID="25227" display="QRX">)"
                       R"(<Application version="1.2" componentType="FRMW"/></Device></SVMInventory>)"));
    EXPECT_EQ(record_.str(),
              "<Device componentID=\"25227\" display=\"QRX\">\n"
              "  <Application version=\"1.2\" componentType=\"FRMW\"/>\n"
              "</Device>");
    EXPECT_THAT(log_, ElementsAre(kFound));
}

TEST_F(SoftwareComponentInfoTvk, AppendsBothRecordsOfADuplicateIdInDocumentOrder) {
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1" n="a"/><Device componentID="2" n="b"/>)"
                            R"(<Device componentID="1" n="c"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID="1" n="a"/><Device componentID="1" n="c"/>)");
    EXPECT_THAT(log_, ElementsAre(kFound));
}

TEST_F(SoftwareComponentInfoTvk, AppendsToTheResultStream) {
    record_ << "before";
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(before<Device componentID="1"/>)");
}

TEST_F(SoftwareComponentInfoTvk, LeavesTheResultStreamIfNothingIsFound) {
    record_ << "before";
    EXPECT_TRUE(lookUp("2", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "before");
    EXPECT_TRUE(record_.good());
}

TEST_F(SoftwareComponentInfoTvk, SucceedsForAnUnknownComponent) {
    EXPECT_TRUE(lookUp("2", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(log_, ElementsAre(kNotFound));
}

TEST_F(SoftwareComponentInfoTvk, FailsWithoutALogLineForAMalformedInventory) {
    EXPECT_FALSE(lookUp("1", R"(<SVMInventory><Device componentID="1"/>)"));
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(log_, ElementsAre());
}

TEST_F(SoftwareComponentInfoTvk, FailsWithoutALogLineForAnEmptyInventory) {
    EXPECT_FALSE(lookUp("1", ""));
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(log_, ElementsAre());
}

TEST_F(SoftwareComponentInfoTvk, FailsForTwoDocumentsInARow) {
    EXPECT_FALSE(lookUp("1", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"
                             R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
}

TEST_F(SoftwareComponentInfoTvk, FindsNothingBelowAnotherRoot) {
    EXPECT_TRUE(lookUp("1", R"(<Inventory><Device componentID="1"/></Inventory>)"));
    EXPECT_THAT(log_, ElementsAre(kNotFound));
}

TEST_F(SoftwareComponentInfoTvk, IgnoresADeviceNestedDeeper) {
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Group><Device componentID="1"/></Group></SVMInventory>)"));
    EXPECT_TRUE(lookUp("1", R"(<X><SVMInventory><Device componentID="1"/></SVMInventory></X>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(SoftwareComponentInfoTvk, IgnoresAnotherElementWithTheId) {
    EXPECT_TRUE(
        lookUp("1", R"(<SVMInventory><device componentID="1"/><Unit componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(SoftwareComponentInfoTvk, DistinguishesAnIdWithBlanksFromTheBareOne) {
    EXPECT_TRUE(lookUp(" 1 ", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(SoftwareComponentInfoTvk, DistinguishesAnAttributeWithATrailingBlankFromTheBareId) {
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1 "/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(SoftwareComponentInfoTvk, MatchesAnIdWithBlanks) {
    EXPECT_TRUE(lookUp(" 1 ", R"(<SVMInventory><Device componentID=" 1 "/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID=" 1 "/>)");
}

TEST_F(SoftwareComponentInfoTvk, DistinguishesALeadingZero) {
    EXPECT_TRUE(lookUp("01", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="01"/></SVMInventory>)"));
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1.0"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(SoftwareComponentInfoTvk, ComparesCaseSensitively) {
    EXPECT_TRUE(lookUp("ab", R"(<SVMInventory><Device componentID="AB"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(SoftwareComponentInfoTvk, FindsNothingForAnIdWithADoubleQuote) {
    EXPECT_TRUE(lookUp("1\"2", R"(<SVMInventory><Device componentID='1"2'/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(log_, ElementsAre(kEvaluationError, kNotFound));
}

TEST_F(SoftwareComponentInfoTvk, MatchesAnIdWithASingleQuote) {
    EXPECT_TRUE(lookUp("1'2", R"(<SVMInventory><Device componentID="1'2"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID="1'2"/>)");
}

TEST_F(SoftwareComponentInfoTvk, PutsTheIdIntoTheExpressionAsGiven) {
    EXPECT_TRUE(lookUp(R"(none" or "a" = "a)", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID="1"/>)");
}

TEST_F(SoftwareComponentInfoTvk, MatchesAnEmptyIdWithAnEmptyAttributeOnly) {
    EXPECT_TRUE(lookUp("", R"(<SVMInventory><Device/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
    EXPECT_TRUE(lookUp("", R"(<SVMInventory><Device componentID=""/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID=""/>)");
}

TEST_F(SoftwareComponentInfoTvk, FindsNothingInADefaultNamespace) {
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory xmlns="urn:x"><Device componentID="1"/></SVMInventory>)"));
    EXPECT_THAT(log_, ElementsAre(kNotFound));
}

TEST_F(SoftwareComponentInfoTvk, FindsNothingForAnIdWithANulByte) {
    EXPECT_TRUE(lookUp(std::string("1\0", 2), R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(log_, ElementsAre(kEvaluationError, kNotFound));
}

TEST_F(SoftwareComponentInfoTvk, FailsForANulByteInTheInventory) {
    const std::string inventory = R"(<SVMInventory><Device componentID="1"/></SVMInventory>)";
    EXPECT_FALSE(lookUp("1", std::string(inventory).insert(14, 1, '\0')));
}

TEST_F(SoftwareComponentInfoTvk, ComparesValuesUnescapedAndWritesThemEscaped) {
    EXPECT_TRUE(lookUp("a&b<c", R"(<SVMInventory><Device componentID="a&amp;b&lt;c"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID="a&amp;b&lt;c"/>)");
}

TEST_F(SoftwareComponentInfoTvk, ReadsTheWholeInventoryFromAnyReadPosition) {
    std::stringstream inventory(R"(<SVMInventory><Device componentID="1"/></SVMInventory>)");
    std::string word;
    inventory >> word;
    EXPECT_TRUE(reader_.GetInvFromTVK("1", record_, inventory));
    EXPECT_EQ(record_.str(), R"(<Device componentID="1"/>)");
}

TEST_F(SoftwareComponentInfoTvk, ReadsNothingOfThePackage) {
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    package_.setPackage("<broken");
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_THAT(log_, ElementsAre(kFound));
}

}  // namespace
}  // namespace test
