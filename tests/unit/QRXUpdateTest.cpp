#include "PackageFolder.h"
#include "QRXUpdate.h"
#include "VtekDouble.h"

#include <gmock/gmock.h>

#include <cstring>
#include <memory>
#include <type_traits>

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

static_assert(std::is_abstract_v<IDeviceExecution>);
static_assert(std::has_virtual_destructor_v<IDeviceExecution>);
static_assert(std::is_base_of_v<IDeviceExecution, CQRXExecution>);

using Lines = std::vector<std::string>;

// What updateFirmware logs for the payload /tmp/a/b.bin, step by step.
const Lines kSigned = {"Entering SignedUpdate \n"};
const Lines kStarted = {"SignedUpdate :: Start copy file success\n",
                        "SignedUpdate :: Payload File Name : /tmp/a/b.bin",
                        "SignedUpdate :: Payload size is SignedUpdate : Payload Size : 6",
                        "SignedUpdate :: Payload absolute File Name is b.bin",
                        "SignedUpdate :: destination location is  Chassis",
                        "SignedUpdate :: strDstFileName is  Chassis/b.bin"};
const Lines kAdded = {"SignedUpdate :: strDstFileName is  Chassis/b.bin", "SignedUpdate :: Addfile Success"};
const Lines kUnpacked = {"SignedUpdate :: Complete Signed Unzip success\n"};
const Lines kEnded = {"SignedUpdate :: End Copy File Success\n"};

Lines joined(std::initializer_list<Lines> parts) {
    Lines all;
    for (const Lines& part : parts) {
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

class QRXUpdate : public ::testing::Test {
protected:
    QRXUpdate() { vtek_.script.payloadPath = "/tmp/a/b.bin"; }

    /** The operation under test; its log starts after its construction. */
    CQRXExecution& execution() {
        execution_ = std::make_unique<CQRXExecution>();
        package_.clearLog();
        return *execution_;
    }

    /** The one record of Update. */
    CDeviceInfo updated() {
        const std::vector<CDeviceInfo*> devices = execution().Update();
        EXPECT_EQ(devices.size(), 1U);
        const std::unique_ptr<CDeviceInfo> record(devices.at(0));
        return *record;
    }

    /** Expects the record to tell this failure. */
    static void expectFailure(const CDeviceInfo& record, const char* message) {
        EXPECT_EQ(record.getErrorMsg(), message);
        EXPECT_EQ(record.getStatus(), 1);
        EXPECT_EQ(record.getMessageID(), 1);
    }

    VtekDouble vtek_;
    PackageFolder package_{kPackageXml};
    std::unique_ptr<CQRXExecution> execution_;
    CDeviceInfo record_;
};

TEST_F(QRXUpdate, CreatesTheRepositoryThenTheReader) {
    std::size_t linesBefore = 0;
    vtek_.observer = [&](const std::string&) { linesBefore = package_.messages().size(); };
    package_.clearLog();
    const CQRXExecution execution;
    vtek_.observer = nullptr;
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXExecution::CQRXExecution() Entering CQRXExecution Constructor",
                            package_.doesNotExist("enabledebug.txt"),
                            "CSoftwareComponentInfo::CSoftwareComponentInfo() Entering Constructor Method",
                            "CSoftwareComponentInfo::Init() Entering",  //
                            package_.exists("package.xml"),             //
                            "CSoftwareComponentInfo::Init() Exiting",
                            "CQRXInventory::CQRXExecution() Exiting CQRXExecution Constructor"));
    EXPECT_EQ(linesBefore, 1U);
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()"));
}

TEST_F(QRXUpdate, LogsUnderItsSourceName) {
    execution().updateFirmware(&record_);
    for (const LogLine& line : package_.lines()) {
        EXPECT_EQ(line.source, "QRXUpdate");
    }
}

TEST_F(QRXUpdate, LogsAndDeletesTheRepository) {
    execution();
    std::size_t linesBefore = 0;
    vtek_.observer = [&](const std::string&) { linesBefore = package_.messages().size(); };
    execution_.reset();
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXExecution()::~CQRXExecution Entering CQRXExecution Destructor",
                            "Deleting the m_secureWynd"));
    EXPECT_EQ(linesBefore, 2U);
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()", "~secureWynd()"));
}

TEST_F(QRXUpdate, ContinuesWithoutMemoryForTheRepository) {
    vtek_.script.constructorThrows = true;
    package_.clearLog();
    const CQRXExecution execution;
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXExecution::CQRXExecution() Entering CQRXExecution Constructor",  //
                            "std::bad_alloc",
                            "Bad Allocation caught at CQRXExecution::CQRXExecution() for  m_secureWynd",
                            package_.doesNotExist("enabledebug.txt"),
                            "CSoftwareComponentInfo::CSoftwareComponentInfo() Entering Constructor Method",
                            "CSoftwareComponentInfo::Init() Entering",  //
                            package_.exists("package.xml"),             //
                            "CSoftwareComponentInfo::Init() Exiting",
                            "CQRXInventory::CQRXExecution() Exiting CQRXExecution Constructor"));
}

TEST_F(QRXUpdate, TreatsARepositoryWithoutMemoryAsAbsent) {
    vtek_.script.constructorThrows = true;
    expectFailure(updated(), "WYND is not present");
    EXPECT_EQ(package_.messages().back(), "SignedUpdate :: wynd is not present");
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()"));
}

TEST_F(QRXUpdate, TakesTheComponentTypeFromThePackage) {
    package_.setPackage(R"(<SoftwareComponent><ComponentType value="BIOS"/></SoftwareComponent>)");
    execution().getBasicDeviceInfo(&record_);
    EXPECT_EQ(record_.getDeviceName(), "QRX");
    EXPECT_EQ(record_.getComponentType(), "BIOS");
    EXPECT_EQ(record_.getDeviceType(), CDeviceInfo::NON_PCI_DEVICE);
    EXPECT_THAT(package_.messages(),
                ElementsAre("CQRXExecution::getBasicDeviceInfo() Setting the Device Name",
                            "CSoftwareComponentInfo::GetNodeSet() Entering",
                            "CSoftwareComponentInfo::GetNodeSet() Exiting",
                            "CQRXExecution::getBasicDeviceInfo() Setting the Component Type",
                            "CQRXExecution::getBasicDeviceInfo() Setting the Device Type"));
}

TEST_F(QRXUpdate, SetsStatusAndMessageIdAlike) {
    execution().setMsgStatus(&record_, "text", 7);
    EXPECT_EQ(record_.getErrorMsg(), "text");
    EXPECT_EQ(record_.getStatus(), 7);
    EXPECT_EQ(record_.getMessageID(), 7);
    EXPECT_THAT(package_.messages(), IsEmpty());
}

TEST_F(QRXUpdate, ReturnsThePackagesIdentity) {
    const CDeviceInfo record = updated();
    EXPECT_EQ(record.getErrorMsg(), "Update is successful");
    EXPECT_EQ(record.getStatus(), 0);
    EXPECT_EQ(record.getMessageID(), 0);
    EXPECT_EQ(record.getDeviceName(), "QRX");
    EXPECT_EQ(record.getComponentType(), "FRMW");
    EXPECT_EQ(record.getComponentID(), "25227");
    EXPECT_EQ(record.getVersion(), "1.40.200");
    EXPECT_FALSE(record.getRebootRequired());
}

TEST_F(QRXUpdate, CallsEveryStepOnceInOrder) {
    updated();
    EXPECT_THAT(vtek_.calls(),
                ElementsAre("secureWynd()", "IsWyndPresent()", "secureWyndInit()", "IsPayloadSigned()",
                            "StartCopyFile()", "AddFile(/tmp/a/b.bin, Chassis/b.bin, 16)",
                            "CompleteSignedUnzip()", "EndCopyFile()"));
}

TEST_F(QRXUpdate, LogsEveryStepInOrder) {
    updated();
    EXPECT_EQ(
        package_.messages(),
        joined(
            {{"CQRXExecution::GetUpdate() Entering GetUpdate function",
              "CQRXExecution::getBasicDeviceInfo() Setting the Device Name",
              "CSoftwareComponentInfo::GetNodeSet() Entering", "CSoftwareComponentInfo::GetNodeSet() Exiting",
              "CQRXExecution::getBasicDeviceInfo() Setting the Component Type",
              "CQRXExecution::getBasicDeviceInfo() Setting the Device Type",
              "Entering CSoftwareComponentInfo::GetComponentID()",
              "CSoftwareComponentInfo::ParseXmlUsingXpath() Entering", package_.exists("package.xml"),
              "CSoftwareComponentInfo::GetNodeSet() Entering", "CSoftwareComponentInfo::GetNodeSet() Exiting",
              "CSoftwareComponentInfo::ParseXmlUsingXpath() Exiting", "Found the component id as 25227",
              "Leaving CSoftwareComponentInfo::GetComponentID()",
              "CSoftwareComponentInfo::GetNodeSet() Entering",
              "CSoftwareComponentInfo::GetNodeSet() Exiting"},
             kSigned,
             kStarted,
             kAdded,
             kUnpacked,
             kEnded,
             {"CQRXExecution::GetUpdate() Update Firmware is successfully.\n",
              "CQRXExecution::GetUpdate() Exiting GetUpdate function"}}));
}

TEST_F(QRXUpdate, KeepsThePackagesIdentityAfterAFailure) {
    vtek_.script.payloadSigned = false;
    const CDeviceInfo record = updated();
    EXPECT_EQ(record.getComponentID(), "25227");
    EXPECT_EQ(record.getVersion(), "1.40.200");
    EXPECT_EQ(record.getComponentType(), "FRMW");
}

TEST_F(QRXUpdate, UpdatesAMissingPackageWithAnEmptyIdentity) {
    std::filesystem::remove(package_ / "package.xml");
    const CDeviceInfo record = updated();
    EXPECT_EQ(record.getErrorMsg(), "Update is successful");
    EXPECT_EQ(record.getComponentID() + record.getComponentType() + record.getVersion(), "");
}

TEST_F(QRXUpdate, StopsBeforeTheSessionWithoutARepository) {
    vtek_.script.kind = 0;
    expectFailure(updated(), "WYND is not present");
    EXPECT_EQ(package_.messages().back(), "SignedUpdate :: wynd is not present");
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()", "IsWyndPresent()"));
}

TEST_F(QRXUpdate, TakesEveryKindButZeroForARepository) {
    for (const int kind : {1, 2, 3, 4, 5, -1}) {
        vtek_.script.kind = kind;
        EXPECT_EQ(updated().getErrorMsg(), "Update is successful") << kind;
    }
}

TEST_F(QRXUpdate, AsksAnUnpreparedLibraryForASession) {
    vtek_.script.successAfterConstruction = false;
    EXPECT_EQ(updated().getErrorMsg(), "Update is successful");
}

TEST_F(QRXUpdate, AsksForTheErrorAndStopsWithoutASession) {
    vtek_.script.successAfterInit = false;
    vtek_.script.error = 17;
    expectFailure(updated(), "WYND Session Failed");
    EXPECT_EQ(package_.messages().back(), "SignedUpdate :: WYND Session Failed\n");
    EXPECT_THAT(vtek_.calls(),
                ElementsAre("secureWynd()", "IsWyndPresent()", "secureWyndInit()", "getVTEKError()"));
}

TEST_F(QRXUpdate, AsksForTheErrorBeforeItLogsTheFailure) {
    vtek_.script.successAfterInit = false;
    std::string lastLine;
    vtek_.observer = [&](const std::string& event) {
        if (event == "getVTEKError()") {
            lastLine = package_.messages().back();
        }
    };
    updated();
    vtek_.observer = nullptr;
    EXPECT_EQ(lastLine, "CSoftwareComponentInfo::GetNodeSet() Exiting");
}

TEST_F(QRXUpdate, LogsAFailedStepAndReturnsTheList) {
    vtek_.script.endCopyFile = false;
    updated();
    EXPECT_EQ(package_.messages().back(), "CQRXExecution::GetUpdate() Update Firmware is failed.\n");
}

TEST_F(QRXUpdate, CopiesNoFirmwareWithABadSignature) {
    vtek_.script.payloadSigned = false;
    EXPECT_FALSE(execution().updateFirmware(&record_));
    expectFailure(record_, "Signing the Payload failed");
    EXPECT_EQ(package_.messages(), joined({kSigned, {"SignedUpdate :: Signing the Payload failed\n"}}));
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()", "IsPayloadSigned()"));
}

TEST_F(QRXUpdate, AddsNoFirmwareWithoutATransaction) {
    vtek_.script.startCopyFile = false;
    EXPECT_FALSE(execution().updateFirmware(&record_));
    expectFailure(record_, "Start copying file failed");
    EXPECT_EQ(package_.messages(), joined({kSigned, {"SignedUpdate :: Start copy file failure\n"}}));
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()", "IsPayloadSigned()", "StartCopyFile()"));
}

TEST_F(QRXUpdate, UnpacksNoFirmwareThatCannotBeAdded) {
    vtek_.script.addFile = false;
    EXPECT_FALSE(execution().updateFirmware(&record_));
    expectFailure(record_, "Addfile to the list is failed");
    EXPECT_EQ(package_.messages(),
              joined({kSigned, kStarted, {"SignedUpdate :: Addfile to the list failure"}}));
    EXPECT_THAT(vtek_.calls(), ElementsAre("secureWynd()", "IsPayloadSigned()", "StartCopyFile()",
                                           "AddFile(/tmp/a/b.bin, Chassis/b.bin, 16)"));
}

TEST_F(QRXUpdate, LeavesTheTransactionOpenIfUnpackingFails) {
    vtek_.script.completeSignedUnzip = false;
    EXPECT_FALSE(execution().updateFirmware(&record_));
    expectFailure(record_, "Complete Signed Unzip is failed");
    EXPECT_EQ(package_.messages(),
              joined({kSigned, kStarted, kAdded, {"SignedUpdate :: Complete Signed Unzip failure\n"}}));
    EXPECT_THAT(vtek_.calls(),
                ElementsAre("secureWynd()", "IsPayloadSigned()", "StartCopyFile()",
                            "AddFile(/tmp/a/b.bin, Chassis/b.bin, 16)", "CompleteSignedUnzip()"));
}

TEST_F(QRXUpdate, FailsIfTheTransactionCannotBeClosed) {
    vtek_.script.endCopyFile = false;
    EXPECT_FALSE(execution().updateFirmware(&record_));
    expectFailure(record_, "Complete Copy File failed");
    EXPECT_EQ(package_.messages(),
              joined({kSigned, kStarted, kAdded, kUnpacked, {"SignedUpdate :: End Copy File failure\n"}}));
    EXPECT_EQ(vtek_.calls().back(), "EndCopyFile()");
}

TEST_F(QRXUpdate, SucceedsAfterEveryStep) {
    EXPECT_TRUE(execution().updateFirmware(&record_));
    EXPECT_EQ(record_.getErrorMsg(), "Update is successful");
    EXPECT_EQ(record_.getStatus(), 0);
    EXPECT_EQ(record_.getMessageID(), 0);
    EXPECT_EQ(package_.messages(), joined({kSigned, kStarted, kAdded, kUnpacked, kEnded}));
}

TEST_F(QRXUpdate, UsesAnEmptyDestinationForAPathWithoutASlash) {
    vtek_.script.payloadPath = "b.bin";
    EXPECT_TRUE(execution().updateFirmware(&record_));
    EXPECT_EQ(
        package_.messages(),
        joined({kSigned,
                {"SignedUpdate :: Start copy file success\n", "SignedUpdate :: Payload File Name : b.bin",
                 "SignedUpdate :: Payload size is SignedUpdate : Payload Size : 18446744073709551615",
                 "SignedUpdate :: destination location is  Chassis", "SignedUpdate :: strDstFileName is  ",
                 "SignedUpdate :: strDstFileName is  ", "SignedUpdate :: Addfile Success"},
                kUnpacked,
                kEnded}));
    EXPECT_THAT(vtek_.calls(), ::testing::Contains("AddFile(b.bin, , 16)"));
}

TEST_F(QRXUpdate, UsesAnEmptyFileNameForAPathThatEndsInASlash) {
    vtek_.script.payloadPath = "/tmp/";
    EXPECT_TRUE(execution().updateFirmware(&record_));
    EXPECT_THAT(package_.messages(),
                ::testing::IsSupersetOf({"SignedUpdate :: Payload size is SignedUpdate : Payload Size : 4",
                                         "SignedUpdate :: Payload absolute File Name is ",
                                         "SignedUpdate :: strDstFileName is  Chassis/"}));
    EXPECT_THAT(vtek_.calls(), ::testing::Contains("AddFile(/tmp/, Chassis/, 16)"));
}

TEST_F(QRXUpdate, LogsPositionZeroForAPathInTheRoot) {
    vtek_.script.payloadPath = "/b.bin";
    EXPECT_TRUE(execution().updateFirmware(&record_));
    EXPECT_THAT(package_.messages(),
                ::testing::Contains("SignedUpdate :: Payload size is SignedUpdate : Payload Size : 0"));
    EXPECT_THAT(vtek_.calls(), ::testing::Contains("AddFile(/b.bin, Chassis/b.bin, 16)"));
}

TEST_F(QRXUpdate, PassesTheFirstPathAndAppendsTheRecordInASecondUpdate) {
    const std::vector<CDeviceInfo*> first = execution().Update();
    const std::unique_ptr<CDeviceInfo> record(first.at(0));
    EXPECT_THAT(execution_->Update(), ElementsAre(record.get(), record.get()));
    EXPECT_THAT(vtek_.calls(), ::testing::Contains("IsPayloadSigned(/tmp/a/b.bin)"));
}

TEST_F(QRXUpdate, KeepsTheRecordBeyondTheOperation) {
    const std::unique_ptr<CDeviceInfo> record(execution().Update().at(0));
    execution_.reset();
    EXPECT_EQ(record->getErrorMsg(), "Update is successful");
}

TEST(QRXUpdateInterface, KeepsItsOperationAfterTheDestructor) {
    auto operation = &IDeviceExecution::Update;
    std::size_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    EXPECT_EQ((offset - 1) / sizeof(void*), 2U) << "the destructor takes two places";
}

}  // namespace
}  // namespace test
