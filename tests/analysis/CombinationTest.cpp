// Both operations, with every combination of the platform library's answers.

#include "QRXInventory.h"
#include "QRXUpdate.h"
#include "Table.h"
#include "VtekDouble.h"
#include "WorkingDirectory.h"

#include <gtest/gtest.h>

#include <memory>

namespace test {
namespace {

constexpr const char* kPackage =
    R"(<SoftwareComponent vendorVersion="2.0"><ComponentType value="FRMW"/><SupportedDevices>)"
    R"(<Device componentID="12345"/></SupportedDevices></SoftwareComponent>)";

/** The documents that an inventory's table names. */
const std::map<std::string, std::string> kDocuments{
    {"known",
     R"(<SVMInventory><Device componentID="12345"><Application version="1.0"/></Device></SVMInventory>)"},
    {"twice", R"(<SVMInventory><Device componentID="12345"><Application version="1.0"/></Device>)"
              R"(<Device componentID="12345"><Application version="3.0"/></Device></SVMInventory>)"},
    {"other",
     R"(<SVMInventory><Device componentID="1"><Application version="1.0"/></Device></SVMInventory>)"},
    {"none", ""},
    {"broken", R"(<SVMInventory><Device componentID="12345"><Application version="1.0"/></Device>)"},
    {"wrong-root",
     R"(<Inventory><Device componentID="12345"><Application version="1.0"/></Device></Inventory>)"},
    {"nested",
     R"(<SVMInventory><Slot><Device componentID="12345"><Application version="1.0"/></Device></Slot>)"
     R"(</SVMInventory>)"},
    {"namespaced",
     R"(<SVMInventory xmlns="urn:x"><Device componentID="12345"><Application version="1.0"/></Device>)"
     R"(</SVMInventory>)"},
    {"no-application", R"(<SVMInventory><Device componentID="12345"/></SVMInventory>)"},
};

/** The texts of the outcomes that the tables name; success carries 0, everything else 1. */
const std::map<std::string, std::string> kInventoryTexts{
    {"refused",
     "The shared components could not be updated through operating system because QRX and/or Vexa is not "
     "configured to "
     "enable this behavior. For enabling this set \"Chassis Management at Server\" attribute on QRX to "
     "\"Monitor and "
     "Manage\" and \"Enable Shared Components Update through OS/PFW\" on Vexa to true."},
    {"not-compatible", "Update not compatable to this system"},
    {"success", "Inventory Success"},
};

const std::map<std::string, std::string> kUpdateTexts{
    {"absent", "WYND is not present"},
    {"session-failed", "WYND Session Failed"},
    {"signing-failed", "Signing the Payload failed"},
    {"start-failed", "Start copying file failed"},
    {"add-failed", "Addfile to the list is failed"},
    {"unzip-failed", "Complete Signed Unzip is failed"},
    {"end-failed", "Complete Copy File failed"},
    {"success", "Update is successful"},
};

bool yes(const Cells& given, const char* name) {
    return given.at(name) == "yes";
}

void answerChassis(const std::string& cell, VtekScript& script) {
    int completion = 0, mode = 0, flag = 0;
    ASSERT_EQ(std::sscanf(cell.c_str(), "%d:%d:%d", &completion, &mode, &flag), 3);
    script.ipmiCompletion = static_cast<unsigned char>(completion);
    (*script.ipmiAnswer)[10] = static_cast<unsigned char>(mode);
    (*script.ipmiAnswer)[11] = static_cast<unsigned char>(flag);
}

void answerRepository(const Cells& given, VtekScript& script) {
    script.constructorThrows = given.at("object") == "failed";
    script.successAfterConstruction = yes(given, "prepared");
    script.kind = std::stoi(given.at("kind"));
    script.successAfterInit = yes(given, "session");
}

/** The names of the repository object's operations that were called, between commas; - for none. */
std::string operations(const VtekDouble& library) {
    std::string names;
    for (const std::string& call : library.calls()) {
        if (!call.starts_with("secureWynd()") && !call.starts_with("~") &&
            !call.starts_with("OEMIPMIRequest")) {
            names += (names.empty() ? "" : ",") + call.substr(0, call.find('('));
        }
    }
    return names.empty() ? "-" : names;
}

/** The destination in the AddFile call; - where there was none. */
std::string destination(const VtekDouble& library) {
    for (const std::string& call : library.calls()) {
        if (call.starts_with("AddFile(")) {
            const std::size_t from = call.find(", ") + 2;
            const std::string name = call.substr(from, call.rfind(", ") - from);
            return name.empty() ? "none" : name;
        }
    }
    return "-";
}

void expectOutcome(const CDeviceInfo& record, const std::string& outcome,
                   const std::map<std::string, std::string>& texts) {
    EXPECT_EQ(record.getErrorMsg(), texts.at(outcome));
    EXPECT_EQ(record.getStatus(), outcome == "success" ? 0 : 1);
    EXPECT_EQ(record.getMessageID(), outcome == "success" ? 0 : 1);
    EXPECT_EQ(record.getDeviceName(), "QRX");
    EXPECT_EQ(record.getComponentType(), "FRMW");
    EXPECT_EQ(record.getDeviceType(), CDeviceInfo::NON_PCI_DEVICE);
}

void runInventory(const Cells& given, const Cells& expected) {
    SCOPED_TRACE(describe(given));
    VtekDouble library;
    answerChassis(given.at("chassis"), library.script);
    answerRepository(given, library.script);
    library.script.queryResult = yes(given, "query");
    library.script.inventory = kDocuments.at(given.at("document"));
    std::unique_ptr<CDeviceInfo> record;
    {
        CQRXInventory operation;
        record.reset(operation.GetInventory().at(0));
    }
    expectOutcome(*record, expected.at("outcome"), kInventoryTexts);
    EXPECT_EQ(record->getVersion(), expected.at("version") == "-" ? "" : expected.at("version"));
    EXPECT_EQ(record->getComponentID(), expected.at("outcome") == "success" ? "12345" : "");
    EXPECT_EQ(operations(library), expected.at("calls"));
}

void runUpdate(const Cells& given, const Cells& expected) {
    SCOPED_TRACE(describe(given));
    VtekDouble library;
    answerRepository(given, library.script);
    library.script.payloadSigned = yes(given, "signed");
    library.script.startCopyFile = yes(given, "start");
    library.script.addFile = yes(given, "add");
    library.script.completeSignedUnzip = yes(given, "unzip");
    library.script.endCopyFile = yes(given, "end");
    library.script.payloadPath = given.at("path");
    std::unique_ptr<CDeviceInfo> record;
    {
        CQRXExecution operation;
        record.reset(operation.Update().at(0));
    }
    expectOutcome(*record, expected.at("outcome"), kUpdateTexts);
    EXPECT_EQ(record->getVersion(), "2.0");
    EXPECT_EQ(record->getComponentID(), "12345");
    EXPECT_EQ(destination(library), expected.at("destination"));
    EXPECT_EQ(operations(library), expected.at("calls"));
}

class Combinations : public ::testing::Test {
protected:
    void SetUp() override { writeFile(folder_ / "package.xml", kPackage); }

private:
    WorkingTempDir folder_;
};

TEST_F(Combinations, ReportsEachOutcomeOfAnInventory) {
    EXPECT_EQ(Table(TABLES "/inventory.table").forEach(runInventory), 10U * 2 * 2 * 7 * 2 * 2 * 9);
}

TEST_F(Combinations, ReportsEachOutcomeOfAnUpdate) {
    EXPECT_EQ(Table(TABLES "/update.table").forEach(runUpdate), 2U * 2 * 7 * 2 * 2 * 2 * 2 * 2 * 2 * 4);
}

}  // namespace
}  // namespace test
