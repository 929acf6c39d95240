#include "PackageFolder.h"
#include "QRXInventory.h"
#include "VtekDouble.h"

#include <gmock/gmock.h>

#include <cstring>
#include <memory>
#include <type_traits>

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::is_abstract_v<IDeviceInventory>);
static_assert(std::has_virtual_destructor_v<IDeviceInventory>);
static_assert(std::is_base_of_v<IDeviceInventory, CQRXInventory>);

constexpr const char* kInventory =
    R"(<SVMInventory><Device componentID="25227"><Application version="1.10"/></Device></SVMInventory>)";
constexpr const char* kRecord =
    "<Device componentID=\"25227\">\n  <Application version=\"1.10\"/>\n</Device>";
constexpr const char* kQueryFailed =
    "CQRXInventory::isTVKRecordPresent() :: getTVKInvXML() function returns failed due to TVK record not "
    "found";

class QRXInventory : public ::testing::Test {
protected:
    QRXInventory() { vtek_.script.inventory = kInventory; }

    /** The operation under test; its log and the library's calls start after its construction. */
    CQRXInventory& inventory() {
        inventory_ = std::make_unique<CQRXInventory>();
        package_.clearLog();
        return *inventory_;
    }

    VtekDouble vtek_;
    PackageFolder package_{kPackageXml};
    std::unique_ptr<CQRXInventory> inventory_;
    CDeviceInfo record_;
};

TEST_F(QRXInventory, CreatesTheRepositoryThenTheReader) {
    std::size_t linesBefore = 0;
    vtek_.observer = [&](const std::string&) { linesBefore = package_.messages().size(); };
    package_.clearLog();
    const CQRXInventory inventory;
    vtek_.observer = nullptr;
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXInventory::CQRXInventory() Entering CQRXInventory Constructor",
                            package_.doesNotExist("enabledebug.txt"),
                            "CSoftwareComponentInfo::CSoftwareComponentInfo() Entering Constructor Method",
                            "CSoftwareComponentInfo::Init() Entering",  //
                            package_.exists("package.xml"),             //
                            "CSoftwareComponentInfo::Init() Exiting",
                            "CQRXInventory::CQRXInventory() Exiting CQRXInventory Constructor"));
    EXPECT_EQ(linesBefore, 1U);
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()"));
}

TEST_F(QRXInventory, LogsUnderItsSourceName) {
    inventory().getBasicDeviceInfo(&record_);
    for (const LogLine& line : package_.lines()) {
        EXPECT_EQ(line.source, "QRXInventory");
    }
}

TEST_F(QRXInventory, LogsAndDeletesTheRepository) {
    inventory();
    std::size_t linesBefore = 0;
    vtek_.observer = [&](const std::string&) { linesBefore = package_.messages().size(); };
    inventory_.reset();
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXInventory()::~CQRXInventory Entering CQRXInventory Destructor",
                            "Deleting the m_secureWynd"));
    EXPECT_EQ(linesBefore, 2U);
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()", "~secureWynd()"));
}

TEST_F(QRXInventory, ContinuesWithoutMemoryForTheRepository) {
    vtek_.script.constructorThrows = true;
    package_.clearLog();
    const CQRXInventory inventory;
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXInventory::CQRXInventory() Entering CQRXInventory Constructor",  //
                            "std::bad_alloc",
                            "Bad Allocation caught at CQRXInventory::CQRXInventory() for  m_secureWynd",
                            package_.doesNotExist("enabledebug.txt"),
                            "CSoftwareComponentInfo::CSoftwareComponentInfo() Entering Constructor Method",
                            "CSoftwareComponentInfo::Init() Entering",  //
                            package_.exists("package.xml"),             //
                            "CSoftwareComponentInfo::Init() Exiting",
                            "CQRXInventory::CQRXInventory() Exiting CQRXInventory Constructor"));
}

TEST_F(QRXInventory, TreatsARepositoryWithoutMemoryAsAbsent) {
    vtek_.script.constructorThrows = true;
    std::stringstream out;
    EXPECT_FALSE(inventory().getTVKInvXML(out));
    EXPECT_EQ(out.str(), "");
    EXPECT_THAT(package_.messages(), ElementsAre("CQRXInventory::getTVKInvXML():: No WYND Present",
                                                 "CQRXInventory::getTVKInvXML():: No Wynd Present"));
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()"));
}

TEST_F(QRXInventory, DeletesNoRepositoryThatWasNotCreated) {
    vtek_.script.constructorThrows = true;
    inventory();
    inventory_.reset();
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXInventory()::~CQRXInventory Entering CQRXInventory Destructor",
                            "Deleting the m_secureWynd"));
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()"));
}

TEST_F(QRXInventory, SetsTheControllersIdentity) {
    inventory().getBasicDeviceInfo(&record_);
    EXPECT_EQ(record_.getDeviceName(), "QRX");
    EXPECT_EQ(record_.getComponentType(), "FRMW");
    EXPECT_EQ(record_.getDeviceType(), CDeviceInfo::NON_PCI_DEVICE);
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXInventory::getBasicDeviceInfo() Setting the Device Name",
                            "CQRXInventory::getBasicDeviceInfo() Setting the Component Type",
                            "CQRXInventory::getBasicDeviceInfo() Setting the Device Type"));
}

TEST_F(QRXInventory, SetsStatusAndMessageIdAlike) {
    inventory().setMsgStatus(&record_, "text", 7);
    EXPECT_EQ(record_.getErrorMsg(), "text");
    EXPECT_EQ(record_.getStatus(), 7);
    EXPECT_EQ(record_.getMessageID(), 7);
    inventory_->setMsgStatus(&record_, "", 0);
    EXPECT_EQ(record_.getErrorMsg(), "");
    EXPECT_EQ(record_.getStatus(), 0);
    EXPECT_EQ(record_.getMessageID(), 0);
    EXPECT_THAT(package_.messages(), IsEmpty());
}

TEST_F(QRXInventory, RejectsKindsOutsideOneToThree) {
    for (const int kind : {-1, 0, 4, 5, 255}) {
        EXPECT_FALSE(inventory().isWyndAvailable(static_cast<ewyndSupport>(kind))) << kind;
        EXPECT_THAT(package_.messages(), ElementsAre("CQRXInventory::getTVKInvXML():: No WYND Present"))
            << kind;
    }
}

TEST_F(QRXInventory, AcceptsKindOneAsTheFullRepository) {
    EXPECT_TRUE(inventory().isWyndAvailable(WYND_FULL));
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXInventory::getTVKInvXML():: WYND Present",
                            "CQRXInventory::getTVKInvXML():: Type of WYND Present : WYND Full"));
}

TEST_F(QRXInventory, AcceptsKindTwoAsTheLightRepository) {
    EXPECT_TRUE(inventory().isWyndAvailable(WYND_LITE));
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXInventory::getTVKInvXML():: WYND Present",
                            "CQRXInventory::getTVKInvXML():: Type of WYND Present : WYND Lite"));
}

TEST_F(QRXInventory, AcceptsKindThreeAsTheLighterRepository) {
    EXPECT_TRUE(inventory().isWyndAvailable(WYND_LITER));
    EXPECT_THAT(package_.messages(), ElementsAre("CQRXInventory::getTVKInvXML():: WYND Present",
                                                 "Inventory :: Type of WYND Present : WYND Liter"));
}

TEST_F(QRXInventory, AppendsTheControllersInventory) {
    std::stringstream out;
    out << "before ";
    EXPECT_TRUE(inventory().getTVKInvXML(out));
    EXPECT_EQ(out.str(), std::string("before ") + kInventory);
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXInventory::getTVKInvXML():: Wynd TOLV Install success",
                            "CQRXInventory::getTVKInvXML():: WYND Present",
                            "CQRXInventory::getTVKInvXML():: Type of WYND Present : WYND Full",
                            "CQRXInventory::getTVKInvXML():: WYND Session Success",
                            "CQRXInventory::getTVKInvXML():: Get Inventory XML from TVK",
                            "CQRXInventory::getTVKInvXML():: QueryTVK success"));
    EXPECT_THAT(vtek_.calls(),
                ElementsAre("secureWynd()", "IsWyndPresent()", "secureWyndInit()", "QueryTVK(12)"));
}

TEST_F(QRXInventory, ReturnsTrueForAnUnpreparedLibraryAndTouchesNothing) {
    vtek_.script.successAfterConstruction = false;
    std::stringstream out;
    EXPECT_TRUE(inventory().getTVKInvXML(out));
    EXPECT_EQ(out.str(), "");
    EXPECT_THAT(package_.messages(), IsEmpty());
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()"));
}

TEST_F(QRXInventory, FailsWithoutARepositoryBeforeTheSession) {
    for (const int kind : {0, 4, -1}) {
        vtek_.script.kind = kind;
        std::stringstream out;
        EXPECT_FALSE(inventory().getTVKInvXML(out)) << kind;
        EXPECT_THAT(package_.messages(),
                    ElementsAre("CQRXInventory::getTVKInvXML():: Wynd TOLV Install success",
                                "CQRXInventory::getTVKInvXML():: No WYND Present",
                                "CQRXInventory::getTVKInvXML():: No Wynd Present"))
            << kind;
        EXPECT_THAT(vtek_.calls(), ::testing::Not(::testing::Contains("secureWyndInit()")));
    }
}

TEST_F(QRXInventory, QueriesEveryKindOfRepository) {
    for (const int kind : {1, 2, 3}) {
        vtek_.script.kind = kind;
        std::stringstream out;
        EXPECT_TRUE(inventory().getTVKInvXML(out)) << kind;
        EXPECT_EQ(out.str(), kInventory) << kind;
    }
}

TEST_F(QRXInventory, FailsWithoutASession) {
    vtek_.script.successAfterInit = false;
    std::stringstream out;
    EXPECT_FALSE(inventory().getTVKInvXML(out));
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXInventory::getTVKInvXML():: Wynd TOLV Install success",
                            "CQRXInventory::getTVKInvXML():: WYND Present",
                            "CQRXInventory::getTVKInvXML():: Type of WYND Present : WYND Full",
                            "CQRXInventory::getTVKInvXML():: WYND Session Failed"));
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()", "IsWyndPresent()", "secureWyndInit()"));
}

TEST_F(QRXInventory, ReportsAFailedQuery) {
    vtek_.script.queryResult = false;
    std::stringstream out;
    EXPECT_FALSE(inventory().getTVKInvXML(out));
    EXPECT_EQ(package_.messages().back(), "CQRXInventory::getTVKInvXML():: QueryTVK failure");
}

TEST_F(QRXInventory, FindsTheRecordAndTakesItsVersion) {
    EXPECT_TRUE(inventory().isTVKRecordPresent("25227", &record_));
    EXPECT_EQ(record_.getVersion(), "1.10");
    EXPECT_EQ(record_.getErrorMsg(), "");
    EXPECT_EQ(record_.getStatus(), -1);
    const std::vector<std::string> messages = package_.messages();
    const std::vector<std::string> afterTheQuery(messages.end() - 5, messages.end());
    EXPECT_THAT(afterTheQuery, ElementsAre("CQRXInventory::getTVKInvXML():: QueryTVK success",
                                           "CIdentityModuleInventory::GetInvFromTVK:: component ID found",
                                           "CQRXInventory::isTVKRecordPresent() :: bReturnCode is 1",
                                           "Record Found : ComponentID is 25227",  //
                                           kRecord));
}

TEST_F(QRXInventory, FindsNoRecordOfAnUnknownComponent) {
    EXPECT_FALSE(inventory().isTVKRecordPresent("99999", &record_));
    EXPECT_EQ(record_.getVersion(), "");
    EXPECT_EQ(record_.getErrorMsg(), "");
    const std::vector<std::string> messages = package_.messages();
    const std::vector<std::string> afterTheQuery(messages.end() - 3, messages.end());
    EXPECT_THAT(afterTheQuery, ElementsAre("CIdentityModuleInventory::GetInvFromTVK:: component ID not found",
                                           "CQRXInventory::isTVKRecordPresent() :: bReturnCode is 1",
                                           "Record Not Found : ComponentID is 99999"));
}

TEST_F(QRXInventory, FindsNoRecordInAnUnpreparedLibrary) {
    vtek_.script.successAfterConstruction = false;
    EXPECT_FALSE(inventory().isTVKRecordPresent("25227", &record_));
    EXPECT_EQ(record_.getErrorMsg(), "");
    EXPECT_THAT(package_.messages(), ElementsAre("CQRXInventory::isTVKRecordPresent() :: bReturnCode is 0",
                                                 "Record Not Found : ComponentID is 25227"));
}

TEST_F(QRXInventory, FindsNoRecordWithoutARepositoryAndSetsTheMessage) {
    vtek_.script.kind = 0;
    EXPECT_FALSE(inventory().isTVKRecordPresent("25227", &record_));
    EXPECT_EQ(record_.getErrorMsg(), "Get TVK Inventory Failed");
    EXPECT_EQ(record_.getStatus(), 1);
    EXPECT_EQ(record_.getMessageID(), 1);
    EXPECT_THAT(package_.messages(), ElementsAre("CQRXInventory::getTVKInvXML():: Wynd TOLV Install success",
                                                 "CQRXInventory::getTVKInvXML():: No WYND Present",
                                                 "CQRXInventory::getTVKInvXML():: No Wynd Present",  //
                                                 kQueryFailed,                                       //
                                                 "CQRXInventory::isTVKRecordPresent() :: bReturnCode is 0",
                                                 "Record Not Found : ComponentID is 25227"));
}

TEST_F(QRXInventory, FindsTheRecordThatAFailedQueryLeftInTheStream) {
    vtek_.script.queryResult = false;
    EXPECT_TRUE(inventory().isTVKRecordPresent("25227", &record_));
    EXPECT_EQ(record_.getVersion(), "1.10");
    EXPECT_EQ(record_.getErrorMsg(), "Get TVK Inventory Failed");
    EXPECT_THAT(package_.messages(), ::testing::Contains(kQueryFailed));
    EXPECT_EQ(package_.messages().back(), kRecord);
}

TEST_F(QRXInventory, FindsNoRecordInAMalformedInventory) {
    vtek_.script.inventory = "<SVMInventory>";
    EXPECT_FALSE(inventory().isTVKRecordPresent("25227", &record_));
    const std::vector<std::string> messages = package_.messages();
    EXPECT_EQ(messages.at(messages.size() - 2), "CQRXInventory::isTVKRecordPresent() :: bReturnCode is 0");
    EXPECT_EQ(messages.back(), "Record Not Found : ComponentID is 25227");
}

TEST_F(QRXInventory, TakesTheFirstVersionOfADuplicateComponentAndLogsBothRecords) {
    vtek_.script.inventory = R"(<SVMInventory><Device componentID="1"><Application version="a"/></Device>)"
                             R"(<Device componentID="1"><Application version="b"/></Device></SVMInventory>)";
    EXPECT_TRUE(inventory().isTVKRecordPresent("1", &record_));
    EXPECT_EQ(record_.getVersion(), "a");
    EXPECT_EQ(package_.messages().back(),
              "<Device componentID=\"1\">\n  <Application version=\"a\"/>\n</Device>"
              "<Device componentID=\"1\">\n  <Application version=\"b\"/>\n</Device>");
}

TEST_F(QRXInventory, KeepsTheVersionForAComponentWithoutAnApplication) {
    vtek_.script.inventory = R"(<SVMInventory><Device componentID="1"/></SVMInventory>)";
    record_.setVersion("before");
    EXPECT_TRUE(inventory().isTVKRecordPresent("1", &record_));
    EXPECT_EQ(record_.getVersion(), "before");
}

TEST_F(QRXInventory, FindsAVersionButNoRecordInADefaultNamespace) {
    vtek_.script.inventory =
        R"(<SVMInventory xmlns="urn:x"><Device componentID="1"><Application version="2"/></Device></SVMInventory>)";
    EXPECT_FALSE(inventory().isTVKRecordPresent("1", &record_));
    EXPECT_EQ(record_.getVersion(), "2");
}

TEST_F(QRXInventory, FindsAVersionButNoRecordForAnIdWithANulByte) {
    EXPECT_FALSE(inventory().isTVKRecordPresent(std::string("25227\0x", 7), &record_));
    EXPECT_EQ(record_.getVersion(), "1.10");
}

TEST_F(QRXInventory, FindsAVersionButNoRecordForAnIdWithAQuote) {
    vtek_.script.inventory =
        R"(<SVMInventory><Device componentID='1"2'><Application version="3"/></Device></SVMInventory>)";
    EXPECT_FALSE(inventory().isTVKRecordPresent("1\"2", &record_));
    EXPECT_EQ(record_.getVersion(), "3");
    EXPECT_THAT(
        package_.messages(),
        ::testing::Contains("CIdentityModuleInventory::getnodeset :: Error in xmlXPathEvalExpression"));
}

TEST_F(QRXInventory, SearchesTwoDocumentsInASecondLookUp) {
    EXPECT_TRUE(inventory().isTVKRecordPresent("25227", &record_));
    EXPECT_FALSE(inventory_->isTVKRecordPresent("25227", &record_));
    EXPECT_EQ(package_.messages().back(), "Record Not Found : ComponentID is 25227");
}

TEST_F(QRXInventory, KeepsTheFirstRecordInASecondLookUp) {
    EXPECT_TRUE(inventory().isTVKRecordPresent("25227", &record_));
    vtek_.script.inventory = "";
    EXPECT_TRUE(inventory_->isTVKRecordPresent("25227", &record_));
    EXPECT_EQ(package_.messages().back(), std::string(kRecord) + kRecord);
    EXPECT_TRUE(inventory_->isTVKRecordPresent("unknown", &record_));
}

TEST(QRXInventoryInterface, KeepsItsOperationAfterTheDestructor) {
    auto operation = &IDeviceInventory::GetInventory;
    std::size_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    EXPECT_EQ((offset - 1) / sizeof(void*), 2U) << "the destructor takes two places";
}

}  // namespace
}  // namespace test
