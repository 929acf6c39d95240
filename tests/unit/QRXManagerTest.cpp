#include "Logger.h"
#include "ManagerRun.h"
#include "QRXManager.h"
#include "VtekDouble.h"

#include <gmock/gmock.h>

#include <functional>
#include <type_traits>

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::StartsWith;

static_assert(!std::is_polymorphic_v<CQRXManager>);

constexpr const char* kPackage =
    R"(<SoftwareComponent vendorVersion="2.0"><ComponentType value="FRMW"/><SupportedDevices>)"
    R"(<Device componentID="25227"/></SupportedDevices></SoftwareComponent>)";
constexpr const char* kInventory =
    R"(<SVMInventory><Device componentID="25227"><Application version="1.0"/></Device></SVMInventory>)";

constexpr const char* kInventoryReport =
    R"(<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en"><Device  componentID="25227" display="QRX">)"
    R"(<Application componentType="FRMW" version="1.0" display="QRX"/></Device></SVMInventory>)";
constexpr const char* kUnknownReport =
    R"(<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en"><SPStatus result = "false" >)"
    R"(<Message id="1">Update not compatable to this system</Message></SPStatus></SVMInventory>)";
constexpr const char* kUpdateReport =
    R"(<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en"><Device  componentID="25227" display="QRX">)"
    R"(<Application componentType="FRMW" version="2.0" display="QRX" packageVersion="2.0"><SPStatus result = "true" >)"
    R"(<Message id="0">Update is successful</Message></SPStatus></Application></Device>)"
    R"(<RebootRequired>0</RebootRequired></SVMExecution>)";
constexpr const char* kUnsignedReport =
    R"(<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en"><SPStatus result = "false" >)"
    R"(<Message id="1">Signing the Payload failed</Message></SPStatus></SVMExecution>)";

class QRXManager : public ::testing::Test {
protected:
    QRXManager() {
        script_.inventory = kInventory;
        writeFile(folder_ / "package.xml", kPackage);
    }

    /** One run of the manager with these arguments. */
    ManagerOutcome run(const std::vector<std::string>& arguments,
                       const std::function<void(const std::string&)>& observer = {}) const {
        return folder_.inFolder([&] {
            VtekDouble vtek;
            vtek.script = script_;
            vtek.observer = observer;
            CQRXManager manager;
            return updateInventory(manager, arguments);
        });
    }

    /** As run, but the library's calls, one in a line, instead of what is printed. */
    std::vector<std::string> callsOf(const std::vector<std::string>& arguments) const {
        run(arguments, [this](const std::string& event) {
            if (!event.starts_with("logWyndMsg") && !event.starts_with("request")) {
                std::ofstream(folder_ / "calls", std::ios::app) << event << '\n';
            }
        });
        std::vector<std::string> calls;
        std::ifstream in(folder_ / "calls");
        for (std::string line; std::getline(in, line);) {
            calls.push_back(line);
        }
        return calls;
    }

    ManagerRun folder_;
    VtekScript script_;
};

TEST_F(QRXManager, ReportsAnInventoryOnStandardOutput) {
    const ManagerOutcome outcome = run({"-i"});
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output, kInventoryReport);
    EXPECT_EQ(outcome.error, "");
}

TEST_F(QRXManager, ReportsAnUpdateOnStandardOutput) {
    const ManagerOutcome outcome = run({"-u"});
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output, kUpdateReport);
    EXPECT_EQ(outcome.error, "");
}

TEST_F(QRXManager, WritesBothReportsOneAfterTheOther) {
    const ManagerOutcome outcome = run({"-u", "-i"});
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output, std::string(kInventoryReport) + kUpdateReport);
}

TEST_F(QRXManager, WritesBothReportsToOneFile) {
    const ManagerOutcome outcome = run({"-i", "-u", "-o", "report.xml"});
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(readFile(folder_ / "report.xml"), std::string(kInventoryReport) + kUpdateReport);
}

TEST_F(QRXManager, ReportsOnStandardOutputIfTheFileCannotBeOpened) {
    const ManagerOutcome outcome = run({"-i", "-o", "missing/report.xml"});
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output, kInventoryReport);
    EXPECT_EQ(outcome.error, "");
}

TEST_F(QRXManager, TreatsAnEmptyReportNameAsNone) {
    const ManagerOutcome outcome = run({"-i", "-o", ""});
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output, kInventoryReport);
}

TEST_F(QRXManager, EmptiesTheReportFileBeforeAnyOperation) {
    writeFile(folder_ / "report.xml", "an old report");
    run({"-i", "-o", "report.xml"}, [this](const std::string& event) {
        if (event == "secureWynd()") {
            writeFile(folder_ / "seen", readFile(folder_ / "report.xml"));
        }
    });
    EXPECT_EQ(readFile(folder_ / "seen"), "");
}

TEST_F(QRXManager, SucceedsWithARefusedComponent) {
    script_.inventory = "<SVMInventory/>";
    const ManagerOutcome outcome = run({"-i"});
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output, kUnknownReport);
}

TEST_F(QRXManager, RunsTheUpdateAfterARefusedInventory) {
    script_.inventory = "<SVMInventory/>";
    const ManagerOutcome outcome = run({"-i", "-u"});
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output, std::string(kUnknownReport) + kUpdateReport);
}

TEST_F(QRXManager, SucceedsWithAFailedUpdate) {
    script_.payloadSigned = false;
    const ManagerOutcome outcome = run({"-u"});
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output, kUnsignedReport);
}

TEST_F(QRXManager, CreatesAndDeletesOneRepositoryPerOperation) {
    EXPECT_THAT(callsOf({"-i", "-u"}),
                ElementsAre("secureWynd()", "OEMIPMIRequest(0xd0, 1, IPMIReqBuf, 10, 12)", "IsWyndPresent()",
                            "secureWyndInit()", "QueryTVK(12)", "~secureWynd()",  //
                            "secureWynd()", "IsWyndPresent()", "secureWyndInit()", "IsPayloadSigned()",
                            "StartCopyFile()", "AddFile(/payloads/firmware.fwp, Chassis/firmware.fwp, 16)",
                            "CompleteSignedUnzip()", "EndCopyFile()", "~secureWynd()"));
}

TEST_F(QRXManager, AsksForNoPermissionInAnUpdateAlone) {
    EXPECT_THAT(callsOf({"-u"}),
                ::testing::Not(::testing::Contains("OEMIPMIRequest(0xd0, 1, IPMIReqBuf, 10, 12)")));
}

TEST_F(QRXManager, SucceedsWithoutAnOperation) {
    for (const char* option : {"-f", "-v"}) {
        const ManagerOutcome outcome = run({option});
        EXPECT_EQ(outcome.result, 1) << option;
        EXPECT_EQ(outcome.output, "") << option;
    }
    EXPECT_TRUE(callsOf({"-f", "-v"}).empty());
}

TEST_F(QRXManager, RunsAndOpensNothingAfterAUsageError) {
    const std::vector<std::vector<std::string>> errors = {
        {}, {"-x"}, {"-o"}, {"-d", "x", "-o", "f", "-i", "-u", "--long"}, {"-i", "-debug"}, {"-I"}};
    for (const std::vector<std::string>& arguments : errors) {
        const ManagerOutcome outcome = run(arguments);
        EXPECT_EQ(outcome.result, 0) << ::testing::PrintToString(arguments);
        EXPECT_THAT(outcome.output, StartsWith("\nUsage: -h\n")) << ::testing::PrintToString(arguments);
        EXPECT_EQ(outcome.output.size(), 381U) << ::testing::PrintToString(arguments);
    }
    EXPECT_TRUE(callsOf({"-i", "-x"}).empty());
    EXPECT_FALSE(folder_.holds("x"));
    EXPECT_FALSE(folder_.holds("f"));
    EXPECT_FALSE(folder_.holds("debug.log"));
}

TEST_F(QRXManager, SucceedsAndDoesNothingForHelp) {
    const ManagerOutcome outcome = run({"-h"});
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output.size(), 381U);
}

TEST_F(QRXManager, OpensBothFilesForHelpAfterNames) {
    EXPECT_EQ(run({"-d", "x", "-o", "f", "-h"}).result, 1);
    EXPECT_THAT(folder_.ownMessages("x"),
                ElementsAre("CQRXManager::UpdateInventory() Logger initialized",
                            "CQRXManager::UpdateInventory() UpdateInventory Exited"));
    EXPECT_EQ(readFile(folder_ / "f"), "");
}

TEST_F(QRXManager, RunsTheInventoryForHelpAfterInventory) {
    const ManagerOutcome outcome = run({"-i", "-h"});
    EXPECT_EQ(outcome.result, 1);
    EXPECT_THAT(outcome.output, EndsWith(kInventoryReport));
    EXPECT_EQ(outcome.output.size(), 381U + std::string_view(kInventoryReport).size());
}

TEST_F(QRXManager, StartsTheLogOfAnInventoryWithItsOwnLine) {
    run({"-i", "-d", "-o", "report.xml"});
    EXPECT_EQ(folder_.messages("debug.log").front(), "CQRXManager::UpdateInventory() Logger initialized");
    EXPECT_THAT(
        folder_.ownMessages("debug.log"),
        ElementsAre("CQRXManager::UpdateInventory() Logger initialized",
                    "CQRXManager::Inventory() Inventory Started", "CQRXManager::Inventory() Inventory Exited",
                    "CQRXManager::UpdateInventory() UpdateInventory Exited"));
}

TEST_F(QRXManager, LogsAnUpdate) {
    run({"-u", "-d", "trace.txt"});
    EXPECT_THAT(folder_.ownMessages("trace.txt"),
                ElementsAre("CQRXManager::UpdateInventory() Logger initialized",
                            "CQRXManager::Update() Update Started", "CQRXManager::Update() Update Exited",
                            "CQRXManager::UpdateInventory() UpdateInventory Exited"));
}

TEST_F(QRXManager, LogsTheInventoryBeforeTheUpdate) {
    run({"-u", "-i", "-d"});
    EXPECT_THAT(folder_.ownMessages("debug.log"),
                ElementsAre("CQRXManager::UpdateInventory() Logger initialized",
                            "CQRXManager::Inventory() Inventory Started",
                            "CQRXManager::Inventory() Inventory Exited",  //
                            "CQRXManager::Update() Update Started",       //
                            "CQRXManager::Update() Update Exited",
                            "CQRXManager::UpdateInventory() UpdateInventory Exited"));
}

TEST_F(QRXManager, CreatesTheInventoryBeforeItsStartAndDeletesItAfterItsExit) {
    run({"-i", "-d"});
    const std::vector<std::string> log = folder_.messages("debug.log");
    const auto started = std::find(log.begin(), log.end(), "CQRXManager::Inventory() Inventory Started");
    ASSERT_NE(started, log.end());
    EXPECT_EQ(*(started - 1), "CQRXInventory::CQRXInventory() Exiting CQRXInventory Constructor");
    EXPECT_EQ(*(started + 1), "CQRXInventory::GetInventory() Entering GetInventory function");
    const auto exited = std::find(log.begin(), log.end(), "CQRXManager::Inventory() Inventory Exited");
    ASSERT_NE(exited, log.end());
    EXPECT_EQ(*(exited + 1), "CQRXInventory()::~CQRXInventory Entering CQRXInventory Destructor");
}

TEST_F(QRXManager, CreatesTheUpdateBeforeItsStartAndDeletesItAfterItsExit) {
    run({"-u", "-d"});
    const std::vector<std::string> log = folder_.messages("debug.log");
    const auto started = std::find(log.begin(), log.end(), "CQRXManager::Update() Update Started");
    ASSERT_NE(started, log.end());
    EXPECT_EQ(*(started - 1), "CQRXInventory::CQRXExecution() Exiting CQRXExecution Constructor");
    EXPECT_EQ(*(started + 1), "CQRXExecution::GetUpdate() Entering GetUpdate function");
    const auto exited = std::find(log.begin(), log.end(), "CQRXManager::Update() Update Exited");
    ASSERT_NE(exited, log.end());
    EXPECT_EQ(*(exited + 1), "CQRXExecution()::~CQRXExecution Entering CQRXExecution Destructor");
}

TEST_F(QRXManager, LogsItsStartFirstIfTheLogIsOn) {
    folder_.inFolder([] {
        CLogger::GetInstance()->Initialize("mine.log");
        CQRXManager manager;
        return updateInventory(manager, {"-f"});
    });
    EXPECT_THAT(folder_.messages("mine.log"),
                ElementsAre("CQRXManager::UpdateInventory() UpdateInventory Started",
                            "CQRXManager::UpdateInventory() UpdateInventory Exited"));
}

TEST_F(QRXManager, LogsOnlyTheStartForAUsageError) {
    folder_.inFolder([] {
        CLogger::GetInstance()->Initialize("mine.log");
        CQRXManager manager;
        return updateInventory(manager, {"-x"});
    });
    EXPECT_THAT(folder_.messages("mine.log"),
                ElementsAre("CQRXManager::UpdateInventory() UpdateInventory Started"));
}

TEST_F(QRXManager, IgnoresALogThatCannotBeOpened) {
    for (const char* name : {"", "missing/trace.log"}) {
        const ManagerOutcome outcome = run({"-d", name, "-i"});
        EXPECT_EQ(outcome.result, 1) << name;
        EXPECT_EQ(outcome.output, kInventoryReport) << name;
        EXPECT_EQ(outcome.error, "") << name;
    }
}

TEST_F(QRXManager, WritesOneLineToThePlatformsLogForAMarkerWithoutDebug) {
    writeFile(folder_ / "enabledebug.txt", "");
    EXPECT_EQ(run({"-i"}).output, kInventoryReport);
    EXPECT_THAT(folder_.messages("baseutils_DBG.log"),
                ElementsAre("CLinuxImpl::IsFileExistsAbs() File name " +
                            (folder_ / "enabledebug.txt").string() + " exist"));
    EXPECT_FALSE(folder_.holds("baseutils.log"));
}

TEST_F(QRXManager, EndsTheLogAtTheExistenceCheckForAMarkerWithDebug) {
    writeFile(folder_ / "enabledebug.txt", "");
    EXPECT_EQ(run({"-d", "-i", "-u"}).output, std::string(kInventoryReport) + kUpdateReport);
    EXPECT_THAT(folder_.messages("debug.log"),
                ElementsAre("CQRXManager::UpdateInventory() Logger initialized",
                            "CQRXInventory::CQRXInventory() Entering CQRXInventory Constructor",
                            "CLinuxImpl::IsFileExistsAbs() File name " +
                                (folder_ / "enabledebug.txt").string() + " exist"));
    EXPECT_FALSE(folder_.holds("baseutils_DBG.log"));
    EXPECT_FALSE(folder_.holds("baseutils.log"));
}

TEST_F(QRXManager, RunsEachOperationAlone) {
    const ManagerOutcome outcome = folder_.inFolder([this] {
        VtekDouble vtek;
        vtek.script = script_;
        CQRXManager manager;
        const bool updated = manager.doUpdate();
        return updated && manager.inventory() ? 1 : 0;
    });
    EXPECT_EQ(outcome.result, 1);
    EXPECT_EQ(outcome.output, std::string(kUpdateReport) + kInventoryReport);
}

}  // namespace
}  // namespace test
