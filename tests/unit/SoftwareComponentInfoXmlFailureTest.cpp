// What the package reader does where libxml2 itself fails. Its functions below stand in front of the
// library's and hand on to them, but for the call that a test lets fail.
#include "PackageFolder.h"
#include "SoftwareComponentInfo.h"
#include "XmlReading.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

namespace {

struct Failures {
    bool context = false;
    bool evaluation = false;
    bool bufferContent = false;
    int buffersLeft = -1;  // how many xmlBufferCreate still makes; negative: all
    int cleanups = 0;      // calls of xmlCleanupParser
};

Failures failures;

template <typename Function>
Function* theLibrarys(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

xmlXPathContextPtr xmlXPathNewContext(xmlDocPtr doc) {
    return failures.context ? nullptr : theLibrarys<decltype(xmlXPathNewContext)>("xmlXPathNewContext")(doc);
}

xmlXPathObjectPtr xmlXPathEvalExpression(const xmlChar* expression, xmlXPathContextPtr context) {
    return failures.evaluation
               ? nullptr
               : theLibrarys<decltype(xmlXPathEvalExpression)>("xmlXPathEvalExpression")(expression, context);
}

xmlBufferPtr xmlBufferCreate() {
    if (failures.buffersLeft == 0) {
        return nullptr;
    }
    --failures.buffersLeft;
    return theLibrarys<decltype(xmlBufferCreate)>("xmlBufferCreate")();
}

const xmlChar* xmlBufferContent(const xmlBuffer* buffer) {
    return failures.bufferContent ? nullptr
                                  : theLibrarys<decltype(xmlBufferContent)>("xmlBufferContent")(buffer);
}

void xmlCleanupParser() {
    ++failures.cleanups;
    theLibrarys<decltype(xmlCleanupParser)>("xmlCleanupParser")();
}

}  // extern "C"

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsNull;

constexpr const char* kFound = "CIdentityModuleInventory::GetInvFromTVK:: component ID found";
constexpr const char* kNotFound = "CIdentityModuleInventory::GetInvFromTVK:: component ID not found";
constexpr const char* kTwoRecords =
    R"(<SVMInventory><Device componentID="1" n="a"/><Device componentID="1" n="b"/></SVMInventory>)";

class SoftwareComponentInfoXmlFailure : public ::testing::Test {
protected:
    SoftwareComponentInfoXmlFailure() { package_.clearLog(); }
    ~SoftwareComponentInfoXmlFailure() override { failures = {}; }

    bool lookUp() {
        std::stringstream inventory(kTwoRecords);
        return reader_.GetInvFromTVK("1", record_, inventory);
    }

    PackageFolder package_{kPackageXml};
    CSoftwareComponentInfo reader_;
    std::stringstream record_;
};

TEST_F(SoftwareComponentInfoXmlFailure, ReturnsNoNodeSetWithoutAContext) {
    failures.context = true;
    EXPECT_THAT(reader_.GetNodeSet(nullptr, asXmlChars("//a")), IsNull());
    EXPECT_THAT(package_.messages(),
                ElementsAre("CSoftwareComponentInfo::GetNodeSet() Entering",
                            "CSoftwareComponentInfo::GetNodeSet() Error in xmlXPathNewContext"));
}

TEST_F(SoftwareComponentInfoXmlFailure, ReturnsNoNodeSetWithoutAnEvaluation) {
    failures.evaluation = true;
    EXPECT_THAT(reader_.GetNodeSet(nullptr, asXmlChars("//a")), IsNull());
    EXPECT_THAT(package_.messages(),
                ElementsAre("CSoftwareComponentInfo::GetNodeSet() Entering",
                            "CSoftwareComponentInfo::GetNodeSet() Error in xmlXPathEvalExpression"));
}

TEST_F(SoftwareComponentInfoXmlFailure, ReturnsEmptyTextsWithoutAContext) {
    failures.context = true;
    EXPECT_EQ(reader_.GetComponentID(), "");
    EXPECT_EQ(reader_.GetComponentType(), "");
    EXPECT_EQ(reader_.GetComponentVersion(), "");
    EXPECT_FALSE(reader_.getPresenceOfRollbackInfo());
    EXPECT_THAT(package_.messages(),
                ElementsAre("Entering CSoftwareComponentInfo::GetComponentID()",                 //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",             //
                            package_.exists("package.xml"),                                      //
                            "CSoftwareComponentInfo::GetNodeSet() Entering",                     //
                            "CSoftwareComponentInfo::GetNodeSet() Error in xmlXPathNewContext",  //
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting",              //
                            "Leaving CSoftwareComponentInfo::GetComponentID()",                  //
                            "CSoftwareComponentInfo::GetNodeSet() Entering",                     //
                            "CSoftwareComponentInfo::GetNodeSet() Error in xmlXPathNewContext",  //
                            "CSoftwareComponentInfo::GetNodeSet() Entering",                     //
                            "CSoftwareComponentInfo::GetNodeSet() Error in xmlXPathNewContext",  //
                            "Entering getPresenceOfGuid function",                               //
                            package_.exists("package.xml"),                                      //
                            "CSoftwareComponentInfo::GetNodeSet() Entering",                     //
                            "CSoftwareComponentInfo::GetNodeSet() Error in xmlXPathNewContext",  //
                            "ParseXmlUsingXpath failed",                                         //
                            "Leaving getPresenceOfGuid function"));
}

TEST_F(SoftwareComponentInfoXmlFailure, SucceedsWithoutAContext) {
    failures.context = true;
    EXPECT_TRUE(lookUp());
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(
        package_.messages(),
        ElementsAre("CIdentityModuleInventory::getnodeset :: Error in xmlXPathNewContext", kNotFound));
}

TEST_F(SoftwareComponentInfoXmlFailure, SucceedsWithoutAnEvaluation) {
    failures.evaluation = true;
    EXPECT_TRUE(lookUp());
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(
        package_.messages(),
        ElementsAre("CIdentityModuleInventory::getnodeset :: Error in xmlXPathEvalExpression", kNotFound));
}

TEST_F(SoftwareComponentInfoXmlFailure, FailsWithoutABufferForTheFirstRecord) {
    failures.buffersLeft = 0;
    EXPECT_FALSE(lookUp());
    EXPECT_EQ(record_.str(), "");
    EXPECT_THAT(package_.messages(), ElementsAre(kFound));
}

TEST_F(SoftwareComponentInfoXmlFailure, KeepsTheFirstRecordWithoutABufferForTheSecond) {
    failures.buffersLeft = 1;
    EXPECT_FALSE(lookUp());
    EXPECT_EQ(record_.str(), R"(<Device componentID="1" n="a"/>)");
    EXPECT_THAT(package_.messages(), ElementsAre(kFound));
}

TEST_F(SoftwareComponentInfoXmlFailure, ContinuesAfterABufferWithoutText) {
    failures.bufferContent = true;
    EXPECT_TRUE(lookUp());
    EXPECT_TRUE(record_.bad());
    EXPECT_EQ(record_.str(), "");
}

TEST(SoftwareComponentInfoXmlCleanup, FollowsAReaderThatHoldsADocument) {
    const PackageFolder package(kPackageXml);
    failures = {};
    { const CSoftwareComponentInfo reader; }
    EXPECT_EQ(failures.cleanups, 1);
}

TEST(SoftwareComponentInfoXmlCleanup, OmitsAReaderWithoutADocument) {
    const PackageFolder package;
    failures = {};
    { const CSoftwareComponentInfo reader; }
    EXPECT_EQ(failures.cleanups, 0);
}

TEST(SoftwareComponentInfoXmlCleanup, OmitsAReaderThatLostItsDocument) {
    const PackageFolder package(kPackageXml);
    failures = {};
    {
        CSoftwareComponentInfo reader;
        std::filesystem::remove(package / "package.xml");
        reader.GetComponentID();
    }
    EXPECT_EQ(failures.cleanups, 0);
}

TEST(SoftwareComponentInfoXmlCleanup, FollowsAReaderThatFoundItsDocumentLater) {
    const PackageFolder package;
    failures = {};
    {
        CSoftwareComponentInfo reader;
        package.setPackage(kPackageXml);
        reader.GetComponentVersion();
    }
    EXPECT_EQ(failures.cleanups, 1);
}

}  // namespace
}  // namespace test
