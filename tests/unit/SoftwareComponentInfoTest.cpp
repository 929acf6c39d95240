#include "PackageFolder.h"
#include "SoftwareComponentInfo.h"
#include "XmlReading.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <type_traits>

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsNull;
using ::testing::NotNull;

static_assert(!std::is_polymorphic_v<CSoftwareComponentInfo>);
// The path and the document.
static_assert(sizeof(CSoftwareComponentInfo) == sizeof(std::string) + sizeof(xmlDoc*));

constexpr std::string_view kNotWellFormed = "<SoftwareComponent>";

class SoftwareComponentInfo : public ::testing::Test {
protected:
    /** What one question to a new reader logs. */
    template <typename Ask>
    std::vector<std::string> logOf(Ask ask) {
        CSoftwareComponentInfo reader;
        package_.clearLog();
        ask(reader);
        return package_.messages();
    }

    PackageFolder package_;
};

TEST_F(SoftwareComponentInfo, ParsesThePackageAtConstruction) {
    package_.setPackage(kPackageXml);
    package_.clearLog();
    const CSoftwareComponentInfo reader;
    EXPECT_THAT(package_.messages(),
                ElementsAre(package_.doesNotExist("enabledebug.txt"),
                            "CSoftwareComponentInfo::CSoftwareComponentInfo() Entering Constructor Method",
                            "CSoftwareComponentInfo::Init() Entering",  //
                            package_.exists("package.xml"),             //
                            "CSoftwareComponentInfo::Init() Exiting"));
}

TEST_F(SoftwareComponentInfo, LogsUnderItsSourceName) {
    package_.setPackage(kPackageXml);
    const CSoftwareComponentInfo reader;
    EXPECT_EQ(package_.lines().back().source, "SoftwareComponentInfo");
}

TEST_F(SoftwareComponentInfo, StopsAtTheExistenceTestWithoutAPackage) {
    const CSoftwareComponentInfo reader;
    EXPECT_THAT(package_.messages(),
                ElementsAre(package_.doesNotExist("enabledebug.txt"),
                            "CSoftwareComponentInfo::CSoftwareComponentInfo() Entering Constructor Method",
                            "CSoftwareComponentInfo::Init() Entering",  //
                            package_.doesNotExist("package.xml")));
}

TEST_F(SoftwareComponentInfo, LogsTheFullPathOfAMalformedPackage) {
    package_.setPackage(kNotWellFormed);
    const CSoftwareComponentInfo reader;
    EXPECT_THAT(package_.messages(),
                ElementsAre(package_.doesNotExist("enabledebug.txt"),
                            "CSoftwareComponentInfo::CSoftwareComponentInfo() Entering Constructor Method",
                            "CSoftwareComponentInfo::Init() Entering",  //
                            package_.exists("package.xml"),
                            "CSoftwareComponentInfo::Init() Document " + (package_ / "package.xml").string() +
                                " not parsed successfully ",
                            "CSoftwareComponentInfo::Init() Exiting"));
}

TEST_F(SoftwareComponentInfo, TakesAFifoForAMissingPackage) {
    ASSERT_EQ(mkfifo((package_ / "package.xml").c_str(), 0600), 0);
    CSoftwareComponentInfo reader;
    EXPECT_THAT(package_.messages().back(), package_.doesNotExist("package.xml"));
    EXPECT_EQ(reader.GetComponentID(), "");
    EXPECT_EQ(reader.GetComponentType(), "");  // parses without a test for existence
    EXPECT_EQ(reader.GetComponentVersion(), "");
    EXPECT_FALSE(reader.getPresenceOfRollbackInfo());
}

TEST_F(SoftwareComponentInfo, ParsesNoFifoThatCouldWait) {
    ASSERT_EQ(mkfifo((package_ / "package.xml").c_str(), 0600), 0);
    const int writer = open((package_ / "package.xml").c_str(), O_RDWR);  // writes nothing
    CSoftwareComponentInfo reader;
    EXPECT_THAT(package_.messages(), ::testing::Contains(package_.exists("package.xml")));
    EXPECT_EQ(reader.GetComponentID(), "");
    close(writer);
}

TEST_F(SoftwareComponentInfo, ParsesACompressedPackage) {
    // Made with gzip from <SoftwareComponent vendorVersion="1"/>.
    constexpr unsigned char kCompressed[] = {
        0x1f, 0x8b, 0x08, 0x00, 0x00, 0x00, 0x00, 0x00, 0x02, 0x03, 0xb3, 0x09, 0xce, 0x4f, 0x2b,
        0x29, 0x4f, 0x2c, 0x4a, 0x75, 0xce, 0xcf, 0x2d, 0xc8, 0xcf, 0x4b, 0xcd, 0x2b, 0x51, 0x28,
        0x4b, 0xcd, 0x4b, 0xc9, 0x2f, 0x0a, 0x4b, 0x2d, 0x2a, 0xce, 0xcc, 0xcf, 0xb3, 0x55, 0x32,
        0x54, 0xd2, 0xb7, 0x03, 0x00, 0x5d, 0xf0, 0x8b, 0x82, 0x26, 0x00, 0x00, 0x00};
    package_.setPackage({reinterpret_cast<const char*>(kCompressed), sizeof kCompressed});
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentVersion(), "1");
}

TEST_F(SoftwareComponentInfo, FailsToParseAFolder) {
    std::filesystem::create_directory(package_ / "package.xml");
    CSoftwareComponentInfo reader;
    EXPECT_THAT(package_.messages(), ::testing::Contains(package_.exists("package.xml")));
    EXPECT_EQ(reader.GetComponentVersion(), "");
}

TEST_F(SoftwareComponentInfo, FailsToParseAnEmptyPackage) {
    package_.setPackage("");
    const CSoftwareComponentInfo reader;
    EXPECT_THAT(package_.messages(),
                ::testing::Contains("CSoftwareComponentInfo::Init() Document " +
                                    (package_ / "package.xml").string() + " not parsed successfully "));
}

TEST_F(SoftwareComponentInfo, SwitchesBlankTextNodesOffForTheProcess) {
    xmlKeepBlanksDefault(1);
    const CSoftwareComponentInfo reader;
    EXPECT_EQ(xmlKeepBlanksDefault(0), 0);
}

TEST_F(SoftwareComponentInfo, DropsBlankTextBetweenElements) {
    package_.setPackage(
        "<SoftwareComponent>\n  <SupportedDevices>\n    <Device>\n      <Display>x</Display>\n    </Device>\n"
        "  </SupportedDevices>\n</SoftwareComponent>\n");
    xmlKeepBlanksDefault(1);
    CSoftwareComponentInfo reader;
    const XPathObjectPtr devices = reader.ParseXmlUsingXpath();
    ASSERT_THAT(devices, NotNull());
    const xmlNode* const device = devices->nodesetval->nodeTab[0];
    EXPECT_STREQ(asChars(device->children->name), "Display");
    EXPECT_THAT(device->children->next, IsNull());
}

TEST_F(SoftwareComponentInfo, ReturnsTheIdOfTheSupportedDevice) {
    package_.setPackage(kPackageXml);
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentID(), "25227");
}

TEST_F(SoftwareComponentInfo, LogsTheStepsOfTheComponentId) {
    package_.setPackage(kPackageXml);
    EXPECT_THAT(logOf([](CSoftwareComponentInfo& reader) { reader.GetComponentID(); }),
                ElementsAre("Entering CSoftwareComponentInfo::GetComponentID()",      //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",  //
                            package_.exists("package.xml"),                           //
                            "CSoftwareComponentInfo::GetNodeSet() Entering",          //
                            "CSoftwareComponentInfo::GetNodeSet() Exiting",           //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting",   //
                            "Found the component id as 25227",                        //
                            "Leaving CSoftwareComponentInfo::GetComponentID()"));
}

TEST_F(SoftwareComponentInfo, ReturnsTheIdOfTheFirstOfTwoDevices) {
    package_.setPackage(
        R"(<SoftwareComponent><SupportedDevices><Device componentID="1"/><Device componentID="2"/>)"
        R"(</SupportedDevices></SoftwareComponent>)");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentID(), "1");
}

TEST_F(SoftwareComponentInfo, ReturnsAnEmptyIdIfTheFirstDeviceHasNone) {
    package_.setPackage(
        R"(<SoftwareComponent><SupportedDevices><Device/><Device componentID="2"/></SupportedDevices>)"
        R"(</SoftwareComponent>)");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentID(), "");
}

TEST_F(SoftwareComponentInfo, LogsAnEmptyIdAsFound) {
    package_.setPackage(
        R"(<SoftwareComponent><SupportedDevices><Device componentID=""/></SupportedDevices></SoftwareComponent>)");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentID(), "");
    EXPECT_THAT(logOf([](CSoftwareComponentInfo& reader) { reader.GetComponentID(); }),
                ::testing::Contains("Found the component id as "));
}

TEST_F(SoftwareComponentInfo, KeepsBlanksAndLeadingZerosOfTheId) {
    package_.setPackage(
        R"(<SoftwareComponent><SupportedDevices><Device componentID=" 007 "/></SupportedDevices>)"
        R"(</SoftwareComponent>)");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentID(), " 007 ");
}

TEST_F(SoftwareComponentInfo, FindsTheIdBelowAnyRoot) {
    package_.setPackage(
        R"(<Bundle><Item><SoftwareComponent><SupportedDevices><Device componentID="9"/></SupportedDevices>)"
        R"(</SoftwareComponent></Item></Bundle>)");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentID(), "9");
}

TEST_F(SoftwareComponentInfo, IgnoresADeviceOutsideSupportedDevices) {
    package_.setPackage(R"(<SoftwareComponent><Device componentID="1"/></SoftwareComponent>)");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentID(), "");
}

TEST_F(SoftwareComponentInfo, FindsNothingInADefaultNamespace) {
    std::string xml(kPackageXml);
    xml.insert(std::string_view("<SoftwareComponent").size(), R"( xmlns="urn:package")");
    package_.setPackage(xml);
    CSoftwareComponentInfo reader;
    EXPECT_EQ(reader.GetComponentID() + reader.GetComponentType() + reader.GetComponentVersion(), "");
}

TEST_F(SoftwareComponentInfo, LogsAnEmptyNodeSetWithoutAMatchingElement) {
    package_.setPackage("<SoftwareComponent/>");
    EXPECT_THAT(logOf([](CSoftwareComponentInfo& reader) { EXPECT_EQ(reader.GetComponentID(), ""); }),
                ElementsAre("Entering CSoftwareComponentInfo::GetComponentID()",      //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",  //
                            package_.exists("package.xml"),                           //
                            "CSoftwareComponentInfo::GetNodeSet() Entering",          //
                            "CSoftwareComponentInfo::GetNodeSet() Empty nodeset",     //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting",   //
                            "Leaving CSoftwareComponentInfo::GetComponentID()"));
}

TEST_F(SoftwareComponentInfo, LogsEnteringAndLeavingForAMissingPackage) {
    EXPECT_THAT(logOf([](CSoftwareComponentInfo& reader) { EXPECT_EQ(reader.GetComponentID(), ""); }),
                ElementsAre("Entering CSoftwareComponentInfo::GetComponentID()",      //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",  //
                            package_.doesNotExist("package.xml"),                     //
                            "Leaving CSoftwareComponentInfo::GetComponentID()"));
}

TEST_F(SoftwareComponentInfo, ParsesAMissingPackageForTypeAndVersion) {
    EXPECT_THAT(logOf([](CSoftwareComponentInfo& reader) {
                    EXPECT_EQ(reader.GetComponentType(), "");
                    EXPECT_EQ(reader.GetComponentVersion(), "");
                }),
                ElementsAre("CSoftwareComponentInfo::GetNodeSet() Entering",       //
                            "CSoftwareComponentInfo::GetNodeSet() Empty nodeset",  //
                            "CSoftwareComponentInfo::GetNodeSet() Entering",       //
                            "CSoftwareComponentInfo::GetNodeSet() Empty nodeset"));
}

TEST_F(SoftwareComponentInfo, ReturnsEmptyTextsForAMalformedPackage) {
    package_.setPackage(kNotWellFormed);
    CSoftwareComponentInfo reader;
    EXPECT_EQ(reader.GetComponentID(), "");
    EXPECT_EQ(reader.GetComponentType(), "");
    EXPECT_EQ(reader.GetComponentVersion(), "");
    EXPECT_FALSE(reader.getPresenceOfRollbackInfo());
}

TEST_F(SoftwareComponentInfo, EvaluatesAMalformedPackageAsAnEmptyOne) {
    package_.setPackage(kNotWellFormed);
    EXPECT_THAT(logOf([](CSoftwareComponentInfo& reader) { reader.GetComponentID(); }),
                ElementsAre("Entering CSoftwareComponentInfo::GetComponentID()",      //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",  //
                            package_.exists("package.xml"),                           //
                            "CSoftwareComponentInfo::GetNodeSet() Entering",          //
                            "CSoftwareComponentInfo::GetNodeSet() Empty nodeset",     //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting",   //
                            "Leaving CSoftwareComponentInfo::GetComponentID()"));
}

TEST_F(SoftwareComponentInfo, ReturnsTheValueOfTheComponentType) {
    package_.setPackage(kPackageXml);
    EXPECT_THAT(logOf([](CSoftwareComponentInfo& reader) { EXPECT_EQ(reader.GetComponentType(), "FRMW"); }),
                ElementsAre("CSoftwareComponentInfo::GetNodeSet() Entering",
                            "CSoftwareComponentInfo::GetNodeSet() Exiting"));
}

TEST_F(SoftwareComponentInfo, ReturnsTheLastOfTwoComponentTypes) {
    package_.setPackage(
        R"(<SoftwareComponent><ComponentType value="A"/><ComponentType value="B"/></SoftwareComponent>)");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentType(), "B");
}

TEST_F(SoftwareComponentInfo, ReturnsAnEmptyTypeIfTheLastElementLacksTheAttribute) {
    package_.setPackage(
        R"(<SoftwareComponent><ComponentType value="A"/><ComponentType/></SoftwareComponent>)");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentType(), "");
}

TEST_F(SoftwareComponentInfo, ReturnsAnEmptyTypeIfTheAttributeIsEmpty) {
    package_.setPackage(R"(<SoftwareComponent><ComponentType value=""/></SoftwareComponent>)");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentType(), "");
}

TEST_F(SoftwareComponentInfo, IgnoresAComponentTypeOutsideASoftwareComponent) {
    package_.setPackage(R"(<Other><ComponentType value="A"/></Other>)");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentType(), "");
}

TEST_F(SoftwareComponentInfo, ReturnsTheVendorVersion) {
    package_.setPackage(kPackageXml);
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { EXPECT_EQ(reader.GetComponentVersion(), "1.40.200"); }),
        ElementsAre("CSoftwareComponentInfo::GetNodeSet() Entering",
                    "CSoftwareComponentInfo::GetNodeSet() Exiting"));
}

TEST_F(SoftwareComponentInfo, ReturnsTheVersionOfTheLastOfTwoComponents) {
    package_.setPackage(
        R"(<Bundle><SoftwareComponent vendorVersion="1"/><SoftwareComponent vendorVersion="2"/></Bundle>)");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentVersion(), "2");
}

TEST_F(SoftwareComponentInfo, ReturnsAnEmptyVersionIfTheAttributeIsMissing) {
    package_.setPackage("<SoftwareComponent/>");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentVersion(), "");
}

TEST_F(SoftwareComponentInfo, ReadsAttributesAsTheDocumentStoresThem) {
    package_.setPackage("<SoftwareComponent vendorVersion=\"&lt;1&amp;2&gt; &quot;\xC3\xA9&#65;\"/>");
    EXPECT_EQ(CSoftwareComponentInfo().GetComponentVersion(),
              "<1&2> \"\xC3\xA9"
              "A");
}

TEST_F(SoftwareComponentInfo, FindsRollbackInformation) {
    package_.setPackage(kPackageXml);
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { EXPECT_TRUE(reader.getPresenceOfRollbackInfo()); }),
        ElementsAre("Entering getPresenceOfGuid function",            //
                    package_.exists("package.xml"),                   //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",  //
                    "CSoftwareComponentInfo::GetNodeSet() Exiting",   //
                    "GUID Tag found in package.xml",                  //
                    "Leaving getPresenceOfGuid function"));
}

TEST_F(SoftwareComponentInfo, FindsRollbackInformationOfASecondDevice) {
    package_.setPackage(
        "<SoftwareComponent><SupportedDevices><Device/><Device><RollbackInformation/></Device>"
        "</SupportedDevices></SoftwareComponent>");
    EXPECT_TRUE(CSoftwareComponentInfo().getPresenceOfRollbackInfo());
}

TEST_F(SoftwareComponentInfo, LogsAbsentRollbackInformationAsAFailure) {
    package_.setPackage("<SoftwareComponent><RollbackInformation/></SoftwareComponent>");
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { EXPECT_FALSE(reader.getPresenceOfRollbackInfo()); }),
        ElementsAre("Entering getPresenceOfGuid function",                 //
                    package_.exists("package.xml"),                        //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",       //
                    "CSoftwareComponentInfo::GetNodeSet() Empty nodeset",  //
                    "ParseXmlUsingXpath failed",                           //
                    "Leaving getPresenceOfGuid function"));
}

TEST_F(SoftwareComponentInfo, LogsRollbackInformationOfAMissingPackageAsAFailure) {
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { EXPECT_FALSE(reader.getPresenceOfRollbackInfo()); }),
        ElementsAre("Entering getPresenceOfGuid function",  //
                    package_.doesNotExist("package.xml"),   //
                    "ParseXmlUsingXpath failed",            //
                    "Leaving getPresenceOfGuid function"));
}

TEST_F(SoftwareComponentInfo, EvaluatesAnExpression) {
    package_.setPackage(kPackageXml);
    CSoftwareComponentInfo reader;
    package_.clearLog();
    const XPathObjectPtr found = reader.ParseXmlUsingXpath("//Display");
    ASSERT_THAT(found, NotNull());
    EXPECT_EQ(found->nodesetval->nodeNr, 1);
    EXPECT_THAT(package_.messages(),
                ElementsAre(package_.exists("package.xml"),                   //
                            "CSoftwareComponentInfo::GetNodeSet() Entering",  //
                            "CSoftwareComponentInfo::GetNodeSet() Exiting"));
}

TEST_F(SoftwareComponentInfo, ReturnsNullForAMissingPackage) {
    package_.setPackage(kPackageXml);
    CSoftwareComponentInfo reader;
    std::filesystem::remove(package_ / "package.xml");
    EXPECT_THAT(reader.ParseXmlUsingXpath(), IsNull());
    EXPECT_THAT(reader.ParseXmlUsingXpath("//Device"), IsNull());
}

TEST_F(SoftwareComponentInfo, ReadsTheFileAgainForEveryQuery) {
    package_.setPackage(kPackageXml);
    CSoftwareComponentInfo reader;
    package_.setPackage(R"(<SoftwareComponent vendorVersion="2"><ComponentType value="B"/><SupportedDevices>)"
                        R"(<Device componentID="2"/></SupportedDevices></SoftwareComponent>)");
    EXPECT_EQ(reader.GetComponentID(), "2");
    EXPECT_EQ(reader.GetComponentType(), "B");
    EXPECT_EQ(reader.GetComponentVersion(), "2");
    EXPECT_FALSE(reader.getPresenceOfRollbackInfo());
}

/** How many documents of libxml2 there are, and have been at most. */
struct Documents {
    int now = 0;
    int most = 0;
};

TEST_F(SoftwareComponentInfo, FreesTheFormerDocumentBeforeItReadsTheNext) {
    static Documents documents;
    package_.setPackage(kPackageXml);
    xmlRegisterNodeDefault([](xmlNode* node) {
        documents.now += node->type == XML_DOCUMENT_NODE ? 1 : 0;
        documents.most = std::max(documents.most, documents.now);
    });
    xmlDeregisterNodeDefault([](xmlNode* node) { documents.now -= node->type == XML_DOCUMENT_NODE ? 1 : 0; });
    {
        CSoftwareComponentInfo reader;
        EXPECT_EQ(reader.GetComponentID(), "25227");
        reader.GetComponentVersion();
        EXPECT_EQ(documents.now, 1);
    }
    xmlRegisterNodeDefault(nullptr);
    xmlDeregisterNodeDefault(nullptr);
    EXPECT_EQ(documents.now, 0);
    EXPECT_EQ(documents.most, 1);
}

TEST_F(SoftwareComponentInfo, FreesTheInventoryAfterTheLookUp) {
    static int documents = 0;
    CSoftwareComponentInfo reader;
    xmlRegisterNodeDefault([](xmlNode* node) { documents += node->type == XML_DOCUMENT_NODE ? 1 : 0; });
    xmlDeregisterNodeDefault([](xmlNode* node) { documents -= node->type == XML_DOCUMENT_NODE ? 1 : 0; });
    std::stringstream record;
    std::stringstream inventory(R"(<SVMInventory><Device componentID="1"/></SVMInventory>)");
    EXPECT_TRUE(reader.GetInvFromTVK("1", record, inventory));
    EXPECT_EQ(documents, 0);
    xmlRegisterNodeDefault(nullptr);
    xmlDeregisterNodeDefault(nullptr);
    EXPECT_EQ(record.str(), R"(<Device componentID="1"/>)");
}

TEST_F(SoftwareComponentInfo, RecoversFromAnEarlierFailure) {
    package_.setPackage(kNotWellFormed);
    CSoftwareComponentInfo malformed;
    package_.setPackage(kPackageXml);
    EXPECT_EQ(malformed.GetComponentID(), "25227");
    std::filesystem::remove(package_ / "package.xml");
    CSoftwareComponentInfo missing;
    package_.setPackage(kPackageXml);
    EXPECT_EQ(missing.GetComponentID(), "25227");
}

TEST_F(SoftwareComponentInfo, ParsesTheSameFileAfterAChangeOfTheWorkingDirectory) {
    package_.setPackage(kPackageXml);
    CSoftwareComponentInfo reader;
    const WorkingTempDir elsewhere;
    writeFile(elsewhere / "package.xml", "<SoftwareComponent vendorVersion=\"other\"/>");
    EXPECT_EQ(reader.GetComponentID(), "25227");
    EXPECT_EQ(reader.GetComponentVersion(), "1.40.200");
}

TEST_F(SoftwareComponentInfo, FollowsTheWorkingDirectoryInTheExistenceTest) {
    package_.setPackage(kPackageXml);
    CSoftwareComponentInfo reader;
    const WorkingTempDir elsewhere;
    EXPECT_EQ(reader.GetComponentID(), "");
    EXPECT_FALSE(reader.getPresenceOfRollbackInfo());
    EXPECT_EQ(reader.GetComponentType(), "FRMW");
}

TEST_F(SoftwareComponentInfo, SetsThePathInParseXMl) {
    package_.setPackage(kPackageXml);
    CSoftwareComponentInfo reader;
    const WorkingTempDir elsewhere;
    writeFile(elsewhere / "package.xml", "<SoftwareComponent vendorVersion=\"other\"/>");
    reader.ParseXMl();
    EXPECT_EQ(reader.GetComponentVersion(), "other");
}

/** GetNodeSet, getnodeset and GetAttributeValue on a document of the test's own. */
class SoftwareComponentInfoNodeSet : public ::testing::Test {
protected:
    SoftwareComponentInfoNodeSet() { package_.clearLog(); }

    XPathObjectPtr logged(const char* expression) {
        return reader_.GetNodeSet(doc_.get(), asXmlChars(expression));
    }
    XPathObjectPtr quiet(const char* expression) {
        return reader_.getnodeset(doc_.get(), asXmlChars(expression));
    }

    PackageFolder package_;
    CSoftwareComponentInfo reader_;
    XmlDocPtr doc_{xmlParseDoc(asXmlChars("<a><b/><b/></a>"))};
};

TEST_F(SoftwareComponentInfoNodeSet, ReturnsTheNodesInDocumentOrder) {
    const XPathObjectPtr found = logged("//b | /a");
    ASSERT_THAT(found, NotNull());
    ASSERT_EQ(found->nodesetval->nodeNr, 3);
    EXPECT_STREQ(asChars(found->nodesetval->nodeTab[0]->name), "a");
    EXPECT_THAT(package_.messages(), ElementsAre("CSoftwareComponentInfo::GetNodeSet() Entering",
                                                 "CSoftwareComponentInfo::GetNodeSet() Exiting"));
}

TEST_F(SoftwareComponentInfoNodeSet, ReturnsNullWithoutNodes) {
    EXPECT_THAT(logged("//c"), IsNull());
    EXPECT_THAT(package_.messages(), ElementsAre("CSoftwareComponentInfo::GetNodeSet() Entering",
                                                 "CSoftwareComponentInfo::GetNodeSet() Empty nodeset"));
}

TEST_F(SoftwareComponentInfoNodeSet, ReturnsNullForAValueThatIsNotASet) {
    EXPECT_THAT(logged("1 = 1"), IsNull());
    EXPECT_THAT(logged("string(/a)"), IsNull());
    EXPECT_THAT(package_.messages(), ElementsAre("CSoftwareComponentInfo::GetNodeSet() Entering",
                                                 "CSoftwareComponentInfo::GetNodeSet() Empty nodeset",
                                                 "CSoftwareComponentInfo::GetNodeSet() Entering",
                                                 "CSoftwareComponentInfo::GetNodeSet() Empty nodeset"));
}

TEST_F(SoftwareComponentInfoNodeSet, ReturnsNullForABrokenExpression) {
    EXPECT_THAT(logged("//["), IsNull());
    EXPECT_THAT(package_.messages(),
                ElementsAre("CSoftwareComponentInfo::GetNodeSet() Entering",
                            "CSoftwareComponentInfo::GetNodeSet() Error in xmlXPathEvalExpression"));
}

TEST_F(SoftwareComponentInfoNodeSet, ReturnsNullWithoutADocument) {
    doc_.reset();
    EXPECT_THAT(logged("//b"), IsNull());
    EXPECT_THAT(quiet("//b"), IsNull());
    EXPECT_THAT(package_.messages(), ElementsAre("CSoftwareComponentInfo::GetNodeSet() Entering",
                                                 "CSoftwareComponentInfo::GetNodeSet() Empty nodeset"));
}

TEST_F(SoftwareComponentInfoNodeSet, LogsNeitherSuccessNorAnEmptySetInTheQuietForm) {
    const XPathObjectPtr found = quiet("//b");
    ASSERT_THAT(found, NotNull());
    EXPECT_EQ(found->nodesetval->nodeNr, 2);
    EXPECT_THAT(quiet("//c"), IsNull());
    EXPECT_THAT(quiet("1 = 1"), IsNull());
    EXPECT_THAT(package_.messages(), ElementsAre());
}

TEST_F(SoftwareComponentInfoNodeSet, LogsABrokenExpressionInTheQuietForm) {
    EXPECT_THAT(quiet("//["), IsNull());
    EXPECT_THAT(package_.messages(),
                ElementsAre("CIdentityModuleInventory::getnodeset :: Error in xmlXPathEvalExpression"));
}

TEST_F(SoftwareComponentInfoNodeSet, ReturnsTheTextOfAnAttributeOrNull) {
    doc_.reset(xmlParseDoc(asXmlChars(R"(<a full="text" blank=" " empty="" escaped="&lt;&amp;"/>)")));
    xmlNode* const root = xmlDocGetRootElement(doc_.get());
    EXPECT_STREQ(asChars(reader_.GetAttributeValue(root, "full")), "text");
    EXPECT_STREQ(asChars(reader_.GetAttributeValue(root, "blank")), " ");
    EXPECT_STREQ(asChars(reader_.GetAttributeValue(root, "escaped")), "<&");
    EXPECT_THAT(reader_.GetAttributeValue(root, "empty"), IsNull());
    EXPECT_THAT(reader_.GetAttributeValue(root, "absent"), IsNull());
    EXPECT_THAT(reader_.GetAttributeValue(root, "FULL"), IsNull());
}

TEST_F(SoftwareComponentInfoNodeSet, ReturnsOnlyTheFirstChildOfAnAttribute) {
    doc_.reset(xmlParseDoc(asXmlChars(R"(<!DOCTYPE a [<!ENTITY e "x">]><a v="before&e;after"/>)")));
    xmlNode* const root = xmlDocGetRootElement(doc_.get());
    EXPECT_STREQ(asChars(reader_.GetAttributeValue(root, "v")), "before");
}

}  // namespace
}  // namespace test
