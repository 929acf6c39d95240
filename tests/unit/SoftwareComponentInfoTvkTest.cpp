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
class GetInvFromTVK : public ::testing::Test {
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

TEST_F(GetInvFromTVK, AppendsTheRecordWithItsAttributesAndChildrenIndented) {
    EXPECT_TRUE(lookUp("25227",
                       R"(<SVMInventory><Device componentID="25227" display="QRX">)"
                       R"(<Application version="1.2" componentType="FRMW"/></Device></SVMInventory>)"));
    EXPECT_EQ(record_.str(),
              "<Device componentID=\"25227\" display=\"QRX\">\n"
              "  <Application version=\"1.2\" componentType=\"FRMW\"/>\n"
              "</Device>");
    EXPECT_THAT(log_, ElementsAre(kFound));
}

TEST_F(GetInvFromTVK, AppendsBothRecordsOfADoubledIdInDocumentOrderWithNothingBetween) {
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1" n="a"/><Device componentID="2" n="b"/>)"
                            R"(<Device componentID="1" n="c"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID="1" n="a"/><Device componentID="1" n="c"/>)");
    EXPECT_THAT(log_, ElementsAre(kFound));
}

TEST_F(GetInvFromTVK, AppendsAfterWhatTheResultStreamHolds) {
    record_ << "before";
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(before<Device componentID="1"/>)");
}

TEST_F(GetInvFromTVK, LeavesTheResultStreamAsItIsWhenNothingIsFound) {
    record_ << "before";
    EXPECT_TRUE(lookUp("2", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "before");
    EXPECT_TRUE(record_.good());
}

TEST_F(GetInvFromTVK, UnknownComponentIsNotFoundAndASuccess) {
    EXPECT_TRUE(lookUp("2", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(log_, ElementsAre(kNotFound));
}

TEST_F(GetInvFromTVK, MalformedInventoryIsAFailureWithoutALogLine) {
    EXPECT_FALSE(lookUp("1", R"(<SVMInventory><Device componentID="1"/>)"));
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(log_, ElementsAre());
}

TEST_F(GetInvFromTVK, EmptyInventoryIsAFailureWithoutALogLine) {
    EXPECT_FALSE(lookUp("1", ""));
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(log_, ElementsAre());
}

TEST_F(GetInvFromTVK, TwoDocumentsInARowAreAFailure) {
    EXPECT_FALSE(lookUp("1", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"
                             R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
}

TEST_F(GetInvFromTVK, OtherRootIsNotFound) {
    EXPECT_TRUE(lookUp("1", R"(<Inventory><Device componentID="1"/></Inventory>)"));
    EXPECT_THAT(log_, ElementsAre(kNotFound));
}

TEST_F(GetInvFromTVK, DeviceNestedDeeperIsNotFound) {
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Group><Device componentID="1"/></Group></SVMInventory>)"));
    EXPECT_TRUE(lookUp("1", R"(<X><SVMInventory><Device componentID="1"/></SVMInventory></X>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(GetInvFromTVK, OtherElementWithTheIdIsNotFound) {
    EXPECT_TRUE(
        lookUp("1", R"(<SVMInventory><device componentID="1"/><Unit componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(GetInvFromTVK, IdWithSurroundingBlanksDoesNotMatchTheBareOne) {
    EXPECT_TRUE(lookUp(" 1 ", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(GetInvFromTVK, AttributeWithATrailingBlankDoesNotMatchTheBareId) {
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1 "/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(GetInvFromTVK, IdWithBlanksMatchesItsLike) {
    EXPECT_TRUE(lookUp(" 1 ", R"(<SVMInventory><Device componentID=" 1 "/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID=" 1 "/>)");
}

TEST_F(GetInvFromTVK, LeadingZeroDoesNotMatchTheSameNumber) {
    EXPECT_TRUE(lookUp("01", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="01"/></SVMInventory>)"));
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1.0"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(GetInvFromTVK, ComparisonIsCaseSensitive) {
    EXPECT_TRUE(lookUp("ab", R"(<SVMInventory><Device componentID="AB"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
}

TEST_F(GetInvFromTVK, DoubleQuoteInTheIdBreaksTheExpression) {
    EXPECT_TRUE(lookUp("1\"2", R"(<SVMInventory><Device componentID='1"2'/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(log_, ElementsAre(kEvaluationError, kNotFound));
}

TEST_F(GetInvFromTVK, SingleQuoteInTheIdMatches) {
    EXPECT_TRUE(lookUp("1'2", R"(<SVMInventory><Device componentID="1'2"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID="1'2"/>)");
}

TEST_F(GetInvFromTVK, IdStandsInTheExpressionAsGiven) {
    EXPECT_TRUE(lookUp(R"(none" or "a" = "a)", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID="1"/>)");
}

TEST_F(GetInvFromTVK, EmptyIdMatchesAnEmptyAttributeButNoMissingOne) {
    EXPECT_TRUE(lookUp("", R"(<SVMInventory><Device/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
    EXPECT_TRUE(lookUp("", R"(<SVMInventory><Device componentID=""/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID=""/>)");
}

TEST_F(GetInvFromTVK, DefaultNamespaceHidesTheComponent) {
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory xmlns="urn:x"><Device componentID="1"/></SVMInventory>)"));
    EXPECT_THAT(log_, ElementsAre(kNotFound));
}

TEST_F(GetInvFromTVK, NulByteCutsTheIdAndSoBreaksTheExpression) {
    EXPECT_TRUE(lookUp(std::string("1\0", 2), R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(log_, ElementsAre(kEvaluationError, kNotFound));
}

TEST_F(GetInvFromTVK, NulByteInsideTheInventoryIsAFailure) {
    const std::string inventory = R"(<SVMInventory><Device componentID="1"/></SVMInventory>)";
    EXPECT_FALSE(lookUp("1", std::string(inventory).insert(14, 1, '\0')));
}

TEST_F(GetInvFromTVK, EscapedValuesAreComparedUnescapedAndWrittenEscaped) {
    EXPECT_TRUE(lookUp("a&b<c", R"(<SVMInventory><Device componentID="a&amp;b&lt;c"/></SVMInventory>)"));
    EXPECT_EQ(record_.str(), R"(<Device componentID="a&amp;b&lt;c"/>)");
}

TEST_F(GetInvFromTVK, ReadsTheWholeInventoryWhateverTheReadPosition) {
    std::stringstream inventory(R"(<SVMInventory><Device componentID="1"/></SVMInventory>)");
    std::string word;
    inventory >> word;
    EXPECT_TRUE(reader_.GetInvFromTVK("1", record_, inventory));
    EXPECT_EQ(record_.str(), R"(<Device componentID="1"/>)");
}

TEST_F(GetInvFromTVK, ReadsNothingOfThePackage) {
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    package_.setPackage("<broken");
    EXPECT_TRUE(lookUp("1", R"(<SVMInventory><Device componentID="1"/></SVMInventory>)"));
    EXPECT_THAT(log_, ElementsAre(kFound));
}

}  // namespace
}  // namespace test
