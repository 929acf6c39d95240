#include "FailingXPath.h"
#include "LogCapture.h"
#include "PIEConfigInfo.h"
#include "TempDir.h"
#include "XmlReading.h"

#include <gmock/gmock.h>

#include <limits>
#include <type_traits>

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using ::testing::StrEq;

static_assert(std::has_virtual_destructor_v<CPIEConfigInfo>);

constexpr const char* kNoCommandOrOutput =
    "CPIEConfigInfo::GetInventoryCommandInfo() Inventory or output filename is empty";

std::string configWith(std::string_view plugins) {
    std::string xml = "<PIEConfig><Plugins>";
    return xml.append(plugins).append("</Plugins></PIEConfig>");
}

/** An inventory plug-in with this time-out and these children of CliToFile. */
std::string inventoryPlugin(const std::string& timeout, const std::string& cliToFile) {
    return R"(<Plugin description="Inventory" type="0" timeout=")" + timeout + R"("><CliToFile>)" +
           cliToFile + "</CliToFile></Plugin>";
}

const std::string kCommandAndOutput = "<Command>qrxupdate -i -o inv.xml</Command><Output>inv.xml</Output>";

class PIEConfigInfo : public ::testing::Test {
protected:
    bool init(std::string_view xml) {
        writeFile(file_, xml);
        return config_.Init(file_.string());
    }

    int timeoutOf(const std::string& text) {
        EXPECT_TRUE(init(configWith(inventoryPlugin(text, kCommandAndOutput)))) << text;
        return config_.GetInventoryTimeout();
    }

    /** What has been found, as "command|output|time-out". */
    std::string found() const {
        return config_.GetInventoryCommand() + "|" + config_.GetInventoryCommandOutFileName() + "|" +
               std::to_string(config_.GetInventoryTimeout());
    }

    TempDir folder_;
    std::filesystem::path file_ = folder_ / "PIEConfig.xml";
    CPIEConfigInfo config_;
    LogCapture log_;
};

TEST_F(PIEConfigInfo, StartsEmpty) {
    EXPECT_EQ(found(), "||0");
    EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(PIEConfigInfo, FindsCommandOutputAndTimeoutOfTheInventoryPlugin) {
    EXPECT_TRUE(init(configWith(inventoryPlugin("600", kCommandAndOutput))));
    EXPECT_EQ(found(), "qrxupdate -i -o inv.xml|inv.xml|600");
    EXPECT_THAT(log_.messages(),
                ElementsAre("CPIEConfigInfo::GetInventoryPluginInfo() Start",   //
                            "CPIEConfigInfo::GetNodeSet() Start",               //
                            "CPIEConfigInfo::GetNodeSet() END",                 //
                            "CPIEConfigInfo::GetInventoryCommandInfo() START",  //
                            "CPIEConfigInfo::GetInventoryCommandInfo() END",    //
                            "CPIEConfigInfo::GetInventoryPluginInfo() END",     //
                            "CPIEConfigInfo::Init() GetInventoryPluginInfo success "));
    for (const LogLine& line : log_.lines()) {
        EXPECT_EQ(line.source, "PIEConfigInfo");
    }
}

TEST_F(PIEConfigInfo, FindsPluginsAtAnyDepth) {
    EXPECT_TRUE(init("<Package><PIEConfig><Group><Plugins><Sort>" + inventoryPlugin("1", kCommandAndOutput) +
                     "</Sort></Plugins></Group></PIEConfig></Package>"));
    EXPECT_EQ(found(), "qrxupdate -i -o inv.xml|inv.xml|1");
}

TEST_F(PIEConfigInfo, UsesTheFirstOfTwoInventoryPlugins) {
    EXPECT_TRUE(init(configWith(R"(<Plugin description="inventory" type="0" timeout="1"><CliToFile>)"
                                R"(<Command>first</Command><Output>1.xml</Output></CliToFile></Plugin>)"
                                R"(<Plugin description="inventory" type="0" timeout="2"><CliToFile>)"
                                R"(<Command>second</Command><Output>2.xml</Output></CliToFile></Plugin>)")));
    EXPECT_EQ(found(), "first|1.xml|1");
}

TEST_F(PIEConfigInfo, IgnoresTheCaseOfDescriptionAndElementNames) {
    EXPECT_TRUE(init(configWith(R"(<Plugin description="iNVENTORY" type="0" timeout="5"><clitofile>)"
                                R"(<COMMAND>c</COMMAND><output>o</output></clitofile></Plugin>)")));
    EXPECT_EQ(found(), "c|o|5");
}

TEST_F(PIEConfigInfo, SkipsAPluginThatLacksAnAttribute) {
    const std::string rest = "<CliToFile><Command>wrong</Command><Output>wrong</Output></CliToFile></Plugin>";
    EXPECT_TRUE(init(configWith(R"(<Plugin description="Inventory" type="0">)" + rest +
                                R"(<Plugin description="Inventory" timeout="1">)" + rest +
                                R"(<Plugin type="0" timeout="2">)" + rest +
                                R"(<Plugin description="Inventory" type="0" timeout="">)" + rest +
                                R"(<Plugin description="Update" type="0" timeout="3">)" + rest +
                                R"(<Plugin description="Inventory" type="1" timeout="4">)" + rest +
                                inventoryPlugin("9", kCommandAndOutput))));
    EXPECT_EQ(found(), "qrxupdate -i -o inv.xml|inv.xml|9");
}

TEST_F(PIEConfigInfo, FindsNothingWithoutAnInventoryPlugin) {
    EXPECT_FALSE(init(configWith(R"(<Plugin description="Inventory" type="0"/>)")));
    EXPECT_EQ(found(), "||0");
    EXPECT_THAT(log_.messages(),
                ElementsAre("CPIEConfigInfo::GetInventoryPluginInfo() Start",                  //
                            "CPIEConfigInfo::GetNodeSet() Start",                              //
                            "CPIEConfigInfo::GetNodeSet() END",                                //
                            "CPIEConfigInfo::GetInventoryPluginInfo() pInventoyNode is NULL",  //
                            "CPIEConfigInfo::Init() GetInventoryPluginInfo failed "));
}

TEST_F(PIEConfigInfo, FindsNothingWithoutAnyPlugin) {
    EXPECT_FALSE(init("<PIEConfig><Plugin/><Plugins/></PIEConfig>"));
    EXPECT_THAT(log_.messages(),
                ElementsAre("CPIEConfigInfo::GetInventoryPluginInfo() Start",                 //
                            "CPIEConfigInfo::GetNodeSet() Start",                             //
                            "CPIEConfigInfo::GetNodeSet() Empty nodeset",                     //
                            "CPIEConfigInfo::GetInventoryPluginInfo() pXpathResult is NULL",  //
                            "CPIEConfigInfo::Init() GetInventoryPluginInfo failed "));
}

// The file.

TEST_F(PIEConfigInfo, LogsAMissingFileAsParsedSuccessfully) {
    const std::string path = (folder_ / "none.xml").string();
    EXPECT_FALSE(config_.Init(path));
    EXPECT_THAT(log_.messages(),
                ElementsAre("CPIEConfigInfo::Init() Document " + path + "  parsed successfully "));
}

TEST_F(PIEConfigInfo, LogsAMalformedFileAsParsedSuccessfully) {
    EXPECT_FALSE(init("<PIEConfig>"));
    EXPECT_THAT(log_.messages(),
                ElementsAre("CPIEConfigInfo::Init() Document " + file_.string() + "  parsed successfully "));
}

TEST_F(PIEConfigInfo, LogsAnEmptyPathAndFailsToParseIt) {
    EXPECT_FALSE(config_.Init(""));
    EXPECT_THAT(log_.messages(), ElementsAre("PIE file path is empty ",  //
                                             "CPIEConfigInfo::Init() Document   parsed successfully "));
}

TEST_F(PIEConfigInfo, KeepsEarlierValuesAfterAFailedInit) {
    ASSERT_TRUE(init(configWith(inventoryPlugin("7", kCommandAndOutput))));
    EXPECT_FALSE(config_.Init((folder_ / "none.xml").string()));
    EXPECT_EQ(found(), "qrxupdate -i -o inv.xml|inv.xml|7");
    EXPECT_THAT(config_.GetPlugins(), IsNull());
}

TEST_F(PIEConfigInfo, ReadsTheSecondFileInASecondInit) {
    ASSERT_TRUE(init(configWith(inventoryPlugin("7", kCommandAndOutput))));
    EXPECT_TRUE(init(configWith(inventoryPlugin("8", "<Command>c</Command><Output>o</Output>"))));
    EXPECT_EQ(found(), "c|o|8");
}

// The time-out.

TEST_F(PIEConfigInfo, ReadsTheLeadingDigitsOfTheTimeout) {
    EXPECT_EQ(timeoutOf("30s"), 30);
    EXPECT_EQ(timeoutOf("0045"), 45);
    EXPECT_EQ(timeoutOf("1.5"), 1);
    EXPECT_EQ(timeoutOf("0x10"), 0);
}

TEST_F(PIEConfigInfo, ReadsATimeoutWithoutLeadingDigitsAsZero) {
    EXPECT_EQ(timeoutOf("abc"), 0);
    EXPECT_EQ(timeoutOf(" 30"), 0);
    EXPECT_EQ(timeoutOf("-5"), 0);
    EXPECT_EQ(timeoutOf("+5"), 0);
}

TEST_F(PIEConfigInfo, LimitsATimeoutThatIsTooLarge) {
    constexpr int kLargest = std::numeric_limits<int>::max();
    EXPECT_EQ(timeoutOf("2147483646"), kLargest - 1);
    EXPECT_EQ(timeoutOf("2147483647"), kLargest);
    EXPECT_EQ(timeoutOf("2147483648"), kLargest);
    EXPECT_EQ(timeoutOf("4294967296"), kLargest);
    EXPECT_EQ(timeoutOf("99999999999999999999999999"), kLargest);
}

TEST_F(PIEConfigInfo, KeepsTheTimeoutIfTheCommandIsMissing) {
    EXPECT_FALSE(init(configWith(inventoryPlugin("12", ""))));
    EXPECT_EQ(found(), "||12");
}

// Command and output file.

TEST_F(PIEConfigInfo, UsesTheLastCommandAndOutputWithAText) {
    EXPECT_TRUE(init(configWith(inventoryPlugin(
        "1",
        "<Command>a</Command><Output>b</Output><Output>c</Output><Command>d</Command><Command/><Output/>"
        "<Command><b>e</b></Command><Output><!--f--></Output>"))));
    EXPECT_EQ(found(), "d|c|1");
}

TEST_F(PIEConfigInfo, ReadsAnEntityAsItsReplacementText) {
    EXPECT_TRUE(init(R"(<!DOCTYPE PIEConfig [<!ENTITY c "qrxupdate -i"><!ENTITY o "inv.xml">]>)" +
                     configWith(inventoryPlugin("1", "<Command>&c;</Command><Output>&o;</Output>"))));
    EXPECT_EQ(found(), "qrxupdate -i|inv.xml|1");
}

TEST_F(PIEConfigInfo, UsesOnlyTheFirstCliToFile) {
    EXPECT_FALSE(
        init(configWith(R"(<Plugin description="Inventory" type="0" timeout="1"><CliToFile/><CliToFile>)" +
                        kCommandAndOutput + "</CliToFile></Plugin>")));
    EXPECT_EQ(found(), "||1");
}

TEST_F(PIEConfigInfo, RejectsAMissingOutput) {
    EXPECT_FALSE(init(configWith(inventoryPlugin("1", "<Command>c</Command>"))));
    EXPECT_EQ(found(), "||1");
    EXPECT_THAT(log_.messages(),
                ElementsAre("CPIEConfigInfo::GetInventoryPluginInfo() Start",   //
                            "CPIEConfigInfo::GetNodeSet() Start",               //
                            "CPIEConfigInfo::GetNodeSet() END",                 //
                            "CPIEConfigInfo::GetInventoryCommandInfo() START",  //
                            kNoCommandOrOutput,                                 //
                            "CPIEConfigInfo::GetInventoryCommandInfo() END",    //
                            "CPIEConfigInfo::GetInventoryPluginInfo() GetInventoryCommandInfo  is failed",
                            "CPIEConfigInfo::GetInventoryPluginInfo() END",  //
                            "CPIEConfigInfo::Init() GetInventoryPluginInfo failed "));
}

TEST_F(PIEConfigInfo, RejectsAMissingCommand) {
    EXPECT_FALSE(init(configWith(inventoryPlugin("1", "<Output>o</Output>"))));
    EXPECT_EQ(found(), "||1");
}

TEST_F(PIEConfigInfo, RequiresCommandAndOutputInCliToFile) {
    EXPECT_FALSE(init(configWith(R"(<Plugin description="Inventory" type="0" timeout="1">)" +
                                 kCommandAndOutput + "<?CliToFile x?><CliToFile><Group>" + kCommandAndOutput +
                                 "</Group></CliToFile></Plugin>")));
}

TEST_F(PIEConfigInfo, RejectsAPluginWithoutCliToFile) {
    EXPECT_FALSE(init(configWith(R"(<Plugin description="Inventory" type="0" timeout="1"/>)")));
    EXPECT_THAT(log_.messages(), ::testing::Contains(kNoCommandOrOutput));
}

TEST_F(PIEConfigInfo, FindsNoCommandInANullNode) {
    EXPECT_FALSE(config_.GetInventoryCommandInfo(nullptr));
    EXPECT_THAT(log_.messages(), ElementsAre("CPIEConfigInfo::GetInventoryCommandInfo() START",
                                             "CPIEConfigInfo::GetInventoryCommandInfo() is NULL"));
}

TEST_F(PIEConfigInfo, ReturnsTheCommandOfAnyPlugin) {
    ASSERT_FALSE(init(configWith("<Plugin><CliToFile>" + kCommandAndOutput + "</CliToFile></Plugin>")));
    const XPathObjectPtr plugins = config_.GetPlugins();
    ASSERT_THAT(plugins, NotNull());
    EXPECT_TRUE(config_.GetInventoryCommandInfo(plugins->nodesetval->nodeTab[0]));
    EXPECT_EQ(found(), "qrxupdate -i -o inv.xml|inv.xml|0");
}

// Node sets and attributes.

TEST_F(PIEConfigInfo, ReturnsAllPlugins) {
    init(configWith("<Plugin/><Plugin/><Other/>"));
    const XPathObjectPtr plugins = config_.GetPlugins();
    ASSERT_THAT(plugins, NotNull());
    EXPECT_EQ(plugins->nodesetval->nodeNr, 2);
}

TEST_F(PIEConfigInfo, KeepsEachDocumentForItsNodes) {
    static bool freedOne = false;
    XPathObjectPtr first;
    XPathObjectPtr second;
    xmlDeregisterNodeDefault([](xmlNode* node) { freedOne = freedOne || node->type == XML_DOCUMENT_NODE; });
    {
        CPIEConfigInfo reader;
        writeFile(file_, configWith(R"(<Plugin description="first"/>)"));
        reader.Init(file_.string());
        first = reader.GetPlugins();
        writeFile(file_, configWith(R"(<Plugin description="second"/>)"));
        reader.Init(file_.string());
        second = reader.GetPlugins();
    }
    xmlDeregisterNodeDefault(nullptr);
    ASSERT_THAT(first, NotNull());
    ASSERT_THAT(second, NotNull());
    EXPECT_THAT(asChars(attributeText(nodesOf(first)[0], "description")), StrEq("first"));
    EXPECT_THAT(asChars(attributeText(nodesOf(second)[0], "description")), StrEq("second"));
    EXPECT_FALSE(freedOne);
}

TEST_F(PIEConfigInfo, ReturnsNoNodesWithoutADocument) {
    EXPECT_THAT(config_.GetPlugins(), IsNull());
    EXPECT_THAT(log_.messages(), ElementsAre("CPIEConfigInfo::GetNodeSet() Start",
                                             "CPIEConfigInfo::GetNodeSet() Empty nodeset"));
}

TEST_F(PIEConfigInfo, RefusesABrokenExpression) {
    EXPECT_THAT(config_.GetNodeSet("//["), IsNull());
    EXPECT_THAT(log_.messages(), ElementsAre("CPIEConfigInfo::GetNodeSet() Start",
                                             "CPIEConfigInfo::GetNodeSet() Error in xmlXPathEvalExpression"));
}

TEST_F(PIEConfigInfo, ReturnsNoNodesForAValueThatIsNotANodeSet) {
    EXPECT_THAT(config_.GetNodeSet("1 + 1"), IsNull());
    EXPECT_THAT(log_.messages(), ElementsAre("CPIEConfigInfo::GetNodeSet() Start",
                                             "CPIEConfigInfo::GetNodeSet() Empty nodeset"));
}

TEST_F(PIEConfigInfo, ReturnsNoNodesWithoutAContext) {
    const FailingXPathContext failing;
    EXPECT_FALSE(config_.GetInventoryPluginInfo());
    EXPECT_THAT(log_.messages(),
                ElementsAre("CPIEConfigInfo::GetInventoryPluginInfo() Start",            //
                            "CPIEConfigInfo::GetNodeSet() Start",                        //
                            "CPIEConfigInfo::GetNodeSet() Error in xmlXPathNewContext",  //
                            "CPIEConfigInfo::GetInventoryPluginInfo() pXpathResult is NULL"));
}

TEST_F(PIEConfigInfo, ReturnsTheTextOfAnAttributeOrNull) {
    init(configWith(R"(<Plugin description="d" type=""/>)"));
    const XPathObjectPtr plugins = config_.GetPlugins();
    ASSERT_THAT(plugins, NotNull());
    xmlNode* plugin = plugins->nodesetval->nodeTab[0];
    EXPECT_THAT(asChars(config_.GetAttributeValue(plugin, "description")), StrEq("d"));
    EXPECT_THAT(config_.GetAttributeValue(plugin, "type"), IsNull());
    EXPECT_THAT(config_.GetAttributeValue(plugin, "timeout"), IsNull());
    EXPECT_THAT(config_.GetAttributeValue(plugin, nullptr), IsNull());
    EXPECT_THAT(config_.GetAttributeValue(nullptr, "description"), IsNull());
}

}  // namespace
}  // namespace test
