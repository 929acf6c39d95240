#include "PackageFolder.h"
#include "QRXInventory.h"
#include "VtekDouble.h"

#include <gmock/gmock.h>

#include <memory>

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

constexpr const char* kInventory =
    R"(<SVMInventory><Device componentID="25227"><Application version="1.10"/></Device></SVMInventory>)";
constexpr const char* kRefused =
    "The shared components could not be updated through operating system because QRX and/or Vexa is not "
    "configured to "
    "enable this behavior. For enabling this set \"Chassis Management at Server\" attribute on QRX to "
    "\"Monitor and "
    "Manage\" and \"Enable Shared Components Update through OS/PFW\" on Vexa to true.";

using Answer = std::array<unsigned char, 12>;

Answer answer(unsigned char mode, unsigned char flag) {
    return {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, mode, flag};
}

class QRXInventoryPermission : public ::testing::Test {
protected:
    QRXInventoryPermission() {
        vtek_.script.inventory = kInventory;
        package_.clearLog();
    }

    int ask(unsigned char completion, const Answer& bytes) {
        vtek_.script.ipmiCompletion = completion;
        vtek_.script.ipmiAnswer = bytes;
        return inventory_.isQRXResetAllowed();
    }

    /** The one record of GetInventory. */
    CDeviceInfo inventoried() {
        const std::vector<CDeviceInfo*> devices = inventory_.GetInventory();
        EXPECT_EQ(devices.size(), 1U);
        const std::unique_ptr<CDeviceInfo> record(devices.at(0));
        return *record;
    }

    VtekDouble vtek_;
    PackageFolder package_{kPackageXml};
    CQRXInventory inventory_;
    CDeviceInfo record_;
};

TEST_F(QRXInventoryPermission, SendsARequestWithThreeBytesSet) {
    inventory_.isQRXResetAllowed();
    ASSERT_EQ(vtek_.requests().size(), 1U);
    std::array<unsigned char, 72> expected{};
    expected[35] = 0x17;
    expected[36] = 0x04;
    expected[40] = 0x04;
    EXPECT_EQ(vtek_.requests()[0], expected);
}

TEST_F(QRXInventoryPermission, SendsOneRequestWithFixedArguments) {
    inventory_.isQRXResetAllowed();
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()", "OEMIPMIRequest(0xd0, 1, IPMIReqBuf, 10, 12)"));
}

TEST_F(QRXInventoryPermission, SendsNoSecondRequestAfterAFailure) {
    ask(0xC1, answer(0, 0));
    EXPECT_EQ(vtek_.requests().size(), 1U);
}

TEST_F(QRXInventoryPermission, ClearsTheBufferBeforeEachRequest) {
    ask(0, {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 2, 1});
    ask(0, answer(2, 1));
    EXPECT_EQ(vtek_.requests().at(1), vtek_.requests().at(0));
}

TEST_F(QRXInventoryPermission, AllowsMode2WithFlag1) {
    EXPECT_EQ(ask(0, answer(2, 1)), 0);
}

TEST_F(QRXInventoryPermission, RefusesAnotherFlagWith3) {
    EXPECT_EQ(ask(0, answer(2, 0)), 3);
    EXPECT_EQ(ask(0, answer(2, 2)), 3);
    EXPECT_EQ(ask(0, answer(2, 255)), 3);
}

TEST_F(QRXInventoryPermission, RefusesAnotherModeWith4) {
    EXPECT_EQ(ask(0, answer(0, 0)), 4);
    EXPECT_EQ(ask(0, answer(0, 1)), 4);
    EXPECT_EQ(ask(0, answer(1, 1)), 4);
    EXPECT_EQ(ask(0, answer(3, 1)), 4);
    EXPECT_EQ(ask(0, answer(255, 1)), 4);
}

TEST_F(QRXInventoryPermission, AllowsAFailedRequestRegardlessOfItsBytes) {
    EXPECT_EQ(ask(1, answer(2, 0)), 0);
    EXPECT_EQ(ask(0xC1, answer(0, 0)), 0);
    EXPECT_EQ(ask(0xFF, answer(2, 1)), 0);
}

TEST_F(QRXInventoryPermission, LogsThePermissionInTheLibrarysLog) {
    ask(0, {0x17, 0x04, 0x00, 0xAB, 0xFF, 0x01, 0x10, 0x0F, 0xF0, 0x7E, 0x02, 0x01});
    EXPECT_THAT(
        vtek_.libraryLogMessages(),
        ElementsAre(
            "Entered in isQRXResetAllowed()",
            " isQRXResetAllowed()::IPMIRequest[ 0x17 0x04 0x00 0xab 0xff 0x01 0x10 0x0f 0xf0 0x7e 0x02 0x01]",
            "isQRXResetAllowed():: bRetVal = ",                  //
            "isQRXResetAllowed()::IPMI command returns succes",  //
            "isQRXResetAllowed():: PM status is "));
    EXPECT_THAT(package_.messages(), IsEmpty()) << "nothing of it goes to the program's own log";
}

TEST_F(QRXInventoryPermission, LogsARefusalByFlagWithoutAStatusLine) {
    ask(0, answer(2, 0));
    EXPECT_THAT(
        vtek_.libraryLogMessages(),
        ElementsAre(
            "Entered in isQRXResetAllowed()",
            " isQRXResetAllowed()::IPMIRequest[ 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x02 0x00]",
            "isQRXResetAllowed():: bRetVal = ",  //
            "isQRXResetAllowed()::IPMI command returns succes"));
}

TEST_F(QRXInventoryPermission, LogsARefusalByModeWithoutAStatusLine) {
    ask(0, answer(0, 1));
    EXPECT_THAT(
        vtek_.libraryLogMessages(),
        ElementsAre(
            "Entered in isQRXResetAllowed()",
            " isQRXResetAllowed()::IPMIRequest[ 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x00 0x01]",
            "isQRXResetAllowed():: bRetVal = ",  //
            "isQRXResetAllowed()::IPMI command returns succes"));
}

TEST_F(QRXInventoryPermission, LogsTheBufferOfAFailedRequest) {
    vtek_.script.ipmiCompletion = 0xC1;
    vtek_.script.ipmiAnswer.reset();
    inventory_.isQRXResetAllowed();
    EXPECT_THAT(
        vtek_.libraryLogMessages(),
        ElementsAre(
            "Entered in isQRXResetAllowed()",
            " isQRXResetAllowed()::IPMIRequest[ 0x00 0x00 0x00 0x17 0x04 0x00 0x00 0x00 0x04 0x00 0x00 0x00]",
            "",  //
            "isQRXResetAllowed()::IPMI command does not return succes"));
}

TEST_F(QRXInventoryPermission, LogsUnderTheSourceNameWithTheCallsLine) {
    ask(0, answer(2, 1));
    unsigned before = 0;
    for (const VtekLogLine& line : vtek_.libraryLog()) {
        EXPECT_EQ(line.sourceFile, "../src/QRXInventory");
        EXPECT_GT(line.line, before) << "in the order of the source";
        before = line.line;
    }
}

TEST_F(QRXInventoryPermission, LogsBeforeAndAfterTheRequest) {
    std::vector<std::string> events;
    vtek_.observer = [&events](const std::string& event) { events.push_back(event.substr(0, 7)); };
    ask(1, answer(0, 0));
    vtek_.observer = nullptr;
    EXPECT_THAT(events, ElementsAre("logWynd", "OEMIPMI", "request", "logWynd", "logWynd", "logWynd"));
}

/** A completion value and what is left of the text that it advances. */
struct Completion {
    unsigned value;
    const char* text;
};

void PrintTo(const Completion& completion, std::ostream* out) {
    *out << completion.value;
}

class QRXInventoryPermissionCompletion : public QRXInventoryPermission,
                                         public ::testing::WithParamInterface<Completion> {};

TEST_P(QRXInventoryPermissionCompletion, ShortensTheTextOfItsLine) {
    EXPECT_EQ(ask(static_cast<unsigned char>(GetParam().value), answer(2, 1)), 0);
    EXPECT_EQ(vtek_.libraryLogMessages().at(2), GetParam().text);
    EXPECT_EQ(vtek_.libraryLogMessages().at(3),
              GetParam().value == 0 ? "isQRXResetAllowed()::IPMI command returns succes"
                                    : "isQRXResetAllowed()::IPMI command does not return succes");
}

INSTANTIATE_TEST_SUITE_P(Every, QRXInventoryPermissionCompletion,
                         ::testing::Values(Completion{0, "isQRXResetAllowed():: bRetVal = "},
                                           Completion{1, "sQRXResetAllowed():: bRetVal = "},
                                           Completion{19, ":: bRetVal = "},  //
                                           Completion{31, " "},              //
                                           Completion{32, ""},               //
                                           Completion{33, ""},               //
                                           Completion{36, ""},               //
                                           Completion{0xC1, ""},             //
                                           Completion{0xFF, ""}));

TEST_F(QRXInventoryPermission, ReturnsIdVersionAndSuccess) {
    EXPECT_TRUE(inventory_.validateInventory(&record_));
    EXPECT_EQ(record_.getComponentID(), "25227");
    EXPECT_EQ(record_.getVersion(), "1.10");
    EXPECT_EQ(record_.getErrorMsg(), "Inventory Success");
    EXPECT_EQ(record_.getStatus(), 0);
    EXPECT_EQ(record_.getMessageID(), 0);
}

TEST_F(QRXInventoryPermission, SkipsTheInventoryAfterARefusal) {
    vtek_.script.ipmiAnswer = answer(2, 0);
    EXPECT_FALSE(inventory_.validateInventory(&record_));
    EXPECT_EQ(record_.getErrorMsg(), kRefused);
    EXPECT_EQ(record_.getStatus(), 1);
    EXPECT_EQ(record_.getMessageID(), 1);
    EXPECT_EQ(record_.getComponentID(), "");
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()", "OEMIPMIRequest(0xd0, 1, IPMIReqBuf, 10, 12)"));
    EXPECT_EQ(package_.messages().back(), "CQRXInventory::validateInventory()::isQRXResetAllowed()");
}

TEST_F(QRXInventoryPermission, ReportsAnUnknownComponentAsIncompatible) {
    vtek_.script.inventory = "<SVMInventory/>";
    EXPECT_FALSE(inventory_.validateInventory(&record_));
    EXPECT_EQ(record_.getErrorMsg(), "Update not compatable to this system");
    EXPECT_EQ(record_.getStatus(), 1);
    EXPECT_EQ(record_.getMessageID(), 1);
    EXPECT_EQ(record_.getComponentID(), "");
    EXPECT_EQ(package_.messages().back(),
              "CQRXInventory::validateInventory()::isTVKRecordPresent() TVK Record not found");
}

TEST_F(QRXInventoryPermission, ReportsAMissingRepositoryAsIncompatible) {
    vtek_.script.kind = 0;
    EXPECT_FALSE(inventory_.validateInventory(&record_));
    EXPECT_EQ(record_.getErrorMsg(), "Update not compatable to this system")
        << "the failed query's own message is overwritten";
}

TEST_F(QRXInventoryPermission, SucceedsAfterAFailedQueryWithADocument) {
    vtek_.script.queryResult = false;
    EXPECT_TRUE(inventory_.validateInventory(&record_));
    EXPECT_EQ(record_.getErrorMsg(), "Inventory Success");
    EXPECT_EQ(record_.getStatus(), 0);
}

TEST_F(QRXInventoryPermission, AsksThePackageThenTheChassisThenTheRepository) {
    std::size_t linesBefore = 0;
    vtek_.observer = [&](const std::string& event) {
        if (event == "OEMIPMIRequest(0xd0, 1, IPMIReqBuf, 10, 12)") {
            linesBefore = package_.messages().size();
        }
    };
    inventory_.validateInventory(&record_);
    vtek_.observer = nullptr;
    EXPECT_EQ(package_.messages().at(linesBefore - 1),
              "CQRXInventory::validateInventory() Entering validateInventroy function");
    EXPECT_EQ(package_.messages().at(linesBefore - 2), "Leaving CSoftwareComponentInfo::GetComponentID()");
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()", "OEMIPMIRequest(0xd0, 1, IPMIReqBuf, 10, 12)",
                                           "IsWyndPresent()", "secureWyndInit()", "QueryTVK(12)"));
}

TEST_F(QRXInventoryPermission, MatchesAnEmptyComponentIdWithAnEmptyOne) {
    package_.setPackage("<SoftwareComponent/>");
    vtek_.script.inventory =
        R"(<SVMInventory><Device componentID=""><Application version="7"/></Device></SVMInventory>)";
    EXPECT_TRUE(inventory_.validateInventory(&record_));
    EXPECT_EQ(record_.getComponentID(), "");
    EXPECT_EQ(record_.getVersion(), "7");
    EXPECT_EQ(package_.messages().back(), "CQRXInventory::getBasicDeviceInfo() Setting the Component ID : ");
}

TEST_F(QRXInventoryPermission, ReportsAnEmptyComponentIdAsUnknownElsewhere) {
    package_.setPackage("<SoftwareComponent/>");
    EXPECT_FALSE(inventory_.validateInventory(&record_));
    EXPECT_EQ(record_.getErrorMsg(), "Update not compatable to this system");
}

TEST_F(QRXInventoryPermission, ReturnsOneSuccessfulRecord) {
    const CDeviceInfo record = inventoried();
    EXPECT_EQ(record.getStatus(), 0);
    EXPECT_EQ(record.getMessageID(), 0);
    EXPECT_EQ(record.getErrorMsg(), "Inventory Success");
    EXPECT_EQ(record.getDeviceName(), "QRX");
    EXPECT_EQ(record.getComponentType(), "FRMW");
    EXPECT_EQ(record.getDeviceType(), CDeviceInfo::NON_PCI_DEVICE);
    EXPECT_EQ(record.getComponentID(), "25227");
    EXPECT_EQ(record.getVersion(), "1.10");
    EXPECT_FALSE(record.getRebootRequired());
}

TEST_F(QRXInventoryPermission, LogsEveryStepInOrder) {
    inventoried();
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXInventory::GetInventory() Entering GetInventory function",
                            "CQRXInventory::getBasicDeviceInfo() Setting the Device Name",
                            "CQRXInventory::getBasicDeviceInfo() Setting the Component Type",
                            "CQRXInventory::getBasicDeviceInfo() Setting the Device Type",
                            "Entering CSoftwareComponentInfo::GetComponentID()",
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering",  //
                            package_.exists("package.xml"),                           //
                            "CSoftwareComponentInfo::GetNodeSet() Entering",
                            "CSoftwareComponentInfo::GetNodeSet() Exiting",
                            "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting",
                            "Found the component id as 25227",  //
                            "Leaving CSoftwareComponentInfo::GetComponentID()",
                            "CQRXInventory::validateInventory() Entering validateInventroy function",
                            "CQRXInventory::getTVKInvXML():: Wynd TOLV Install success",
                            "CQRXInventory::getTVKInvXML():: WYND Present",
                            "CQRXInventory::getTVKInvXML():: Type of WYND Present : WYND Full",
                            "CQRXInventory::getTVKInvXML():: WYND Session Success",
                            "CQRXInventory::getTVKInvXML():: Get Inventory XML from TVK",
                            "CQRXInventory::getTVKInvXML():: QueryTVK success",
                            "CIdentityModuleInventory::GetInvFromTVK:: component ID found",
                            "CQRXInventory::isTVKRecordPresent() :: bReturnCode is 1",
                            "Record Found : ComponentID is 25227",
                            "<Device componentID=\"25227\">\n  <Application version=\"1.10\"/>\n</Device>",
                            "CQRXInventory::getBasicDeviceInfo() Setting the Component ID : 25227",
                            "CQRXInventory::GetInventory() Exiting GetInventory function"));
}

TEST_F(QRXInventoryPermission, ReturnsOneFailedRecordWithoutAnExitLineAfterARefusal) {
    vtek_.script.ipmiAnswer = answer(0, 0);
    const CDeviceInfo record = inventoried();
    EXPECT_EQ(record.getStatus(), 1);
    EXPECT_EQ(record.getMessageID(), 1);
    EXPECT_EQ(record.getErrorMsg(), kRefused);
    EXPECT_EQ(record.getDeviceName(), "QRX");
    const std::vector<std::string> messages = package_.messages();
    EXPECT_EQ(messages.at(messages.size() - 2), "CQRXInventory::validateInventory()::isQRXResetAllowed()");
    EXPECT_EQ(messages.back(),
              "CQRXInventory::GetInventory() Inventory failed in validateInventory function");
}

TEST_F(QRXInventoryPermission, ReturnsOneFailedRecordForAnUnknownComponent) {
    vtek_.script.inventory = "<SVMInventory/>";
    const CDeviceInfo record = inventoried();
    EXPECT_EQ(record.getStatus(), 1);
    EXPECT_EQ(record.getErrorMsg(), "Update not compatable to this system");
    EXPECT_EQ(package_.messages().back(),
              "CQRXInventory::GetInventory() Inventory failed in validateInventory function");
}

TEST_F(QRXInventoryPermission, ContinuesAfterAFailedRequest) {
    vtek_.script.ipmiCompletion = 0xC1;
    vtek_.script.ipmiAnswer = answer(0, 0);
    EXPECT_EQ(inventoried().getErrorMsg(), "Inventory Success");
}

TEST_F(QRXInventoryPermission, ReportsAnUnpreparedLibraryAsIncompatible) {
    vtek_.script.successAfterConstruction = false;
    CQRXInventory unprepared;
    const std::unique_ptr<CDeviceInfo> record(unprepared.GetInventory().at(0));
    EXPECT_EQ(record->getErrorMsg(), "Update not compatable to this system");
}

TEST_F(QRXInventoryPermission, AppendsTheSameRecordInASecondInventory) {
    const std::vector<CDeviceInfo*> first = inventory_.GetInventory();
    const std::unique_ptr<CDeviceInfo> record(first.at(0));
    const std::vector<CDeviceInfo*> second = inventory_.GetInventory();
    EXPECT_THAT(first, ElementsAre(record.get()));
    EXPECT_THAT(second, ElementsAre(record.get(), record.get()));
    EXPECT_EQ(record->getStatus(), 1) << "two documents in one stream are no document";
}

TEST_F(QRXInventoryPermission, KeepsTheRecordBeyondTheOperation) {
    auto inventory = std::make_unique<CQRXInventory>();
    const std::unique_ptr<CDeviceInfo> record(inventory->GetInventory().at(0));
    inventory.reset();
    EXPECT_EQ(record->getErrorMsg(), "Inventory Success");
}

}  // namespace
}  // namespace test
