#include "DocumentReaders.h"
#include "ReportReader.h"
#include "TempDir.h"

#include <gtest/gtest.h>

namespace qrxinspect {
namespace {

using Outcome = Report::Outcome;

const std::string kDeclaration = R"(<?xml version="1.0" encoding="UTF-8"?>)";

const std::string kInventory =
    kDeclaration +
    R"(<SVMInventory lang="en"><Device  componentID="C1" display="QRX">)"
    R"(<Application componentType="FRMW" version="V1" display="QRX"/></Device></SVMInventory>)";

const std::string kUpdate =
    kDeclaration + R"(<SVMExecution lang="en"><Device  componentID="C1" display="QRX">)"
                   R"(<Application componentType="FRMW" version="V2" display="QRX" packageVersion="V2">)"
                   R"(<SPStatus result = "true" ><Message id="0">Update is successful</Message></SPStatus>)"
                   R"(</Application></Device><RebootRequired>0</RebootRequired></SVMExecution>)";

std::string failureIn(const std::string& root, const std::string& message) {
    return kDeclaration + "<" + root + R"( lang="en"><SPStatus result = "false" ><Message id="1">)" +
           message + "</Message></SPStatus></" + root + ">";
}

std::string updateHolding(const std::string& content) {
    return kDeclaration + "<SVMExecution lang=\"en\">" + content + "</SVMExecution>";
}

/** The report of a file that holds one document. */
Report reportIn(const std::string& text) {
    const std::vector<Report> reports = reportsIn("file", text);
    EXPECT_EQ(reports.size(), 1u);
    return reports.front();
}

TEST(ReportReader, ReadsAnInventory) {
    const Report report = reportIn(kInventory);
    EXPECT_EQ(report.file, "file");
    EXPECT_EQ(report.kind, kindWithRoot("SVMInventory"));
    EXPECT_EQ(report.outcome, Outcome::Success);
    EXPECT_FALSE(report.rebootRequired);
    EXPECT_EQ(report.problem, "");
    EXPECT_EQ(report.text, "");
    ASSERT_EQ(report.devices.size(), 1u);
    const CDeviceInfo& device = report.devices.front();
    EXPECT_TRUE(isSuccess(device));
    EXPECT_EQ(idOf(device), "C1");
    EXPECT_EQ(device.getDeviceName(), "QRX");
    EXPECT_EQ(device.getComponentType(), "FRMW");
    EXPECT_EQ(device.getVersion(), "V1");
    EXPECT_EQ(device.getErrorMsg(), "");
}

TEST(ReportReader, ReadsAFailedInventory) {
    const Report report = reportIn(failureIn("SVMInventory", "Not allowed"));
    EXPECT_EQ(report.kind, kindWithRoot("SVMInventory"));
    EXPECT_EQ(report.outcome, Outcome::Failure);
    ASSERT_EQ(report.devices.size(), 1u);
    EXPECT_FALSE(isSuccess(report.devices.front()));
    EXPECT_EQ(report.devices.front().getErrorMsg(), "Not allowed");
    EXPECT_EQ(idOf(report.devices.front()), "");
}

TEST(ReportReader, AppliesAnInventorysFailureToAllItsDevices) {
    const Report report = reportIn(
        kDeclaration + R"(<SVMInventory lang="en"><Device componentID="C1"/><Device componentID="C2"/>)"
                       R"(<SPStatus result="FALSE"><Message id="1">T</Message></SPStatus></SVMInventory>)");
    EXPECT_EQ(report.outcome, Outcome::Failure);
    ASSERT_EQ(report.devices.size(), 2u);
    EXPECT_EQ(report.devices[0].getErrorMsg(), "T");
    EXPECT_EQ(report.devices[1].getErrorMsg(), "T");
}

TEST(ReportReader, CountsAReportWithoutDevicesAsAFailure) {
    for (const std::string& text :
         {kDeclaration + "<SVMInventory lang=\"en\"></SVMInventory>", updateHolding("")}) {
        const Report report = reportIn(text);
        EXPECT_EQ(report.outcome, Outcome::Failure);
        EXPECT_TRUE(report.devices.empty());
    }
}

TEST(ReportReader, ReadsEveryDeviceInOrder) {
    const Report report =
        reportIn(R"(<SVMInventory><Device componentID="1"/><Device componentID="2"/></SVMInventory>)");
    ASSERT_EQ(report.devices.size(), 2u);
    EXPECT_EQ(idOf(report.devices[0]), "1");
    EXPECT_EQ(idOf(report.devices[1]), "2");
}

TEST(ReportReader, ShowsAPciDeviceByItsFourIds) {
    const Report report = reportIn(
        kDeclaration + R"(<SVMInventory lang="en"><Device  vendorID="8086" deviceID="1521" )"
                       R"(subVendorID="1028" subDeviceID="0001"  display="NIC" ><Application )"
                       R"(componentType="FRMW"  version="9"  display="N"/></Device></SVMInventory>)");
    ASSERT_EQ(report.devices.size(), 1u);
    EXPECT_EQ(idOf(report.devices.front()), "8086:1521:1028:0001");
}

TEST(ReportReader, ReadsAnUpdate) {
    const Report report = reportIn(kUpdate);
    EXPECT_EQ(report.kind, kindWithRoot("SVMExecution"));
    EXPECT_EQ(report.outcome, Outcome::Success);
    EXPECT_FALSE(report.rebootRequired);
    ASSERT_EQ(report.devices.size(), 1u);
    const CDeviceInfo& device = report.devices.front();
    EXPECT_TRUE(isSuccess(device));
    EXPECT_EQ(idOf(device), "C1");
    EXPECT_EQ(device.getDeviceName(), "QRX");
    EXPECT_EQ(device.getComponentType(), "FRMW");
    EXPECT_EQ(device.getVersion(), "V2");
    EXPECT_EQ(device.getErrorMsg(), "Update is successful");
}

TEST(ReportReader, ReadsAFailedUpdate) {
    const Report report = reportIn(failureIn("SVMExecution", "Signature is not valid"));
    EXPECT_EQ(report.kind, kindWithRoot("SVMExecution"));
    EXPECT_EQ(report.outcome, Outcome::Failure);
    ASSERT_EQ(report.devices.size(), 1u);
    EXPECT_EQ(report.devices.front().getErrorMsg(), "Signature is not valid");
}

TEST(ReportReader, ReportsAFailureIfOneDeviceFailed) {
    const Report report = reportIn(updateHolding(
        R"(<Device componentID="C1"><Application><SPStatus result="true"><Message id="0">A</Message></SPStatus>)"
        R"(</Application></Device><SPStatus result="false"><Message id="1">B</Message></SPStatus>)"));
    EXPECT_EQ(report.outcome, Outcome::Failure);
    ASSERT_EQ(report.devices.size(), 2u);
    EXPECT_TRUE(isSuccess(report.devices[0]));
    EXPECT_FALSE(isSuccess(report.devices[1]));
}

TEST(ReportReader, CountsADeviceAsUpdatedOnlyIfTheReportSaysSo) {
    EXPECT_EQ(
        reportIn(updateHolding(R"(<Device componentID="C1"><Application version="1"/></Device>)")).outcome,
        Outcome::Failure);
    EXPECT_EQ(reportIn(updateHolding(R"(<Device componentID="C1"><Application><SPStatus result="maybe"/>)"
                                     R"(</Application></Device>)"))
                  .outcome,
              Outcome::Failure);
    EXPECT_EQ(reportIn(updateHolding(R"(<Device componentID="C1"><Application><SPStatus result="false"/>)"
                                     R"(<SPStatus result="true"/></Application></Device>)"))
                  .outcome,
              Outcome::Failure);
}

TEST(ReportReader, SeesAFailedStatusAtEveryDepth) {
    const std::string failed = R"(<SPStatus result="false"><Message id="1">deep</Message></SPStatus>)";
    const std::string application =
        R"(<Application version="1"><SPStatus result="true"><Message id="0">A</Message></SPStatus></Application>)";
    for (const std::string& content :
         {R"(<Device componentID="C1">)" + application + failed + "</Device>",
          R"(<Device componentID="C1">)" + application + "<Other>" + failed + "</Other></Device>",
          R"(<Device componentID="C1"><Application><Other>)" + failed + "</Other></Application></Device>",
          R"(<Device componentID="C1">)" + application + "</Device><Other><Other>" + failed +
              "</Other></Other>"}) {
        const Report report = reportIn(updateHolding(content));
        EXPECT_EQ(report.outcome, Outcome::Failure) << content;
        EXPECT_EQ(report.devices.back().getErrorMsg(), "deep") << content;
    }
    for (const std::string& content :
         {R"(<Device componentID="C1">)" + failed + "</Device>",
          R"(<Device componentID="C1"><Application version="1">)" + failed + "</Application></Device>",
          R"(<Device componentID="C1"/><Other>)" + failed + "</Other>"}) {
        const Report report = reportIn("<SVMInventory>" + content + "</SVMInventory>");
        EXPECT_EQ(report.outcome, Outcome::Failure) << content;
        EXPECT_EQ(report.devices.front().getErrorMsg(), "deep") << content;
    }
}

TEST(ReportReader, IgnoresTheCaseOfAResult) {
    EXPECT_EQ(reportIn(updateHolding(R"(<Device componentID="C1"><Application><SPStatus result="TRUE"/>)"
                                     R"(</Application></Device>)"))
                  .outcome,
              Outcome::Success);
}

TEST(ReportReader, TakesTheFirstMessageOfAStatus) {
    const Report report = reportIn(updateHolding(R"(<SPStatus result="false"><Message id="1">first</Message>)"
                                                 R"(<Message id="2">second</Message></SPStatus>)"));
    ASSERT_EQ(report.devices.size(), 1u);
    EXPECT_EQ(report.devices.front().getErrorMsg(), "first");
}

TEST(ReportReader, TakesTheMessageOfAStatusWhereBlanksStandBeforeIt) {
    const std::string status =
        "<SPStatus result=\"false\">\n  <Message id=\"1\"> text </Message>\n</SPStatus>";
    for (const std::string& text : {updateHolding(status), "<SVMInventory>" + status + "</SVMInventory>"}) {
        const Report report = reportIn(text);
        ASSERT_EQ(report.devices.size(), 1u) << text;
        EXPECT_EQ(report.devices.front().getErrorMsg(), " text ") << text;
    }
}

TEST(ReportReader, TakesTheTextOfAStatusWithoutAMessage) {
    const Report report = reportIn(updateHolding(R"(<SPStatus result="false">no</SPStatus>)"));
    ASSERT_EQ(report.devices.size(), 1u);
    EXPECT_EQ(report.devices.front().getErrorMsg(), "no");
}

TEST(ReportReader, TakesASuccessWithoutADeviceForNothing) {
    EXPECT_EQ(reportIn(updateHolding(R"(<SPStatus result="true"/>)")).outcome, Outcome::Failure);
}

TEST(ReportReader, TakesANamespaceForDamage) {
    const Report report = reportIn("<SVMInventory xmlns=\"urn:x\"/>");
    EXPECT_EQ(report.outcome, Outcome::Damaged);
    EXPECT_EQ(report.problem, "has a namespace");
}

TEST(ReportReader, ReadsTheNeedForAReboot) {
    EXPECT_TRUE(reportIn(updateHolding("<RebootRequired>1</RebootRequired>")).rebootRequired);
    EXPECT_TRUE(
        reportIn(updateHolding("<RebootRequired>1</RebootRequired><RebootRequired>0</RebootRequired>"))
            .rebootRequired);
    EXPECT_FALSE(reportIn(updateHolding("<RebootRequired>0</RebootRequired>")).rebootRequired);
}

TEST(ReportReader, ReadsThePciDeviceOfAnUpdate) {
    const Report report = reportIn(updateHolding(
        R"(<Device  vendorID="8086" deviceID="1521" subVendorID="1028" subDeviceID="1" display="D" />)"));
    ASSERT_EQ(report.devices.size(), 1u);
    EXPECT_EQ(idOf(report.devices.front()), "8086:1521:1028:1");
}

TEST(ReportReader, SplitsTwoDocumentsAtTheSecondDeclaration) {
    const std::vector<Report> reports = reportsIn("both", kInventory + kUpdate);
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(operationOf(reports[0]), "inventory");
    EXPECT_EQ(reports[0].outcome, Outcome::Success);
    EXPECT_EQ(operationOf(reports[1]), "update");
    EXPECT_EQ(reports[1].outcome, Outcome::Success);
    EXPECT_EQ(reports[1].file, "both");
}

TEST(ReportReader, ReadsTheOtherDocumentIfOneIsDamaged) {
    const std::vector<Report> reports = reportsIn("both", failureIn("SVMInventory", "a & b") + kUpdate);
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0].outcome, Outcome::Damaged);
    EXPECT_EQ(reports[1].outcome, Outcome::Success);
}

TEST(ReportReader, ReportsAThirdDocumentAsDamage) {
    const std::vector<Report> reports = reportsIn("file", kInventory + kUpdate + kUpdate);
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[1].outcome, Outcome::Damaged);
}

TEST(ReportReader, KeepsTheTextOfAReportThatAValueBroke) {
    const std::string text = failureIn("SVMExecution", "chassis \"rack <4> & co\" refused");
    const Report report = reportIn(text);
    EXPECT_EQ(report.kind, kindWithRoot("SVMExecution"));
    EXPECT_EQ(report.outcome, Outcome::Damaged);
    EXPECT_TRUE(report.problem.starts_with("not well-formed XML, line 1: ")) << report.problem;
    EXPECT_EQ(report.text, text);
    EXPECT_TRUE(report.devices.empty());
}

TEST(ReportReader, NeverReportsASuccessForATruncatedReport) {
    for (std::size_t length = 0; length < kUpdate.size(); ++length) {
        const Report report = reportIn(kUpdate.substr(0, length));
        EXPECT_TRUE(report.outcome == Outcome::Damaged || report.outcome == Outcome::Unreadable) << length;
    }
}

TEST(ReportReader, ReportsEverythingElseAsUnreadable) {
    const std::vector<std::pair<std::string, std::string>> cases{
        {"", "is empty"},
        {"hello", "not well-formed XML, line 1: Start tag expected, '<' not found"},
        {"SVMInventory", "not well-formed XML, line 1: Start tag expected, '<' not found"},
        {"<PIEConfig/>", "the root element is \"PIEConfig\", not that of a report"},
    };
    for (const auto& [text, problem] : cases) {
        const Report report = reportIn(text);
        EXPECT_EQ(report.outcome, Outcome::Unreadable) << text;
        EXPECT_EQ(report.kind, nullptr) << text;
        EXPECT_EQ(report.problem, problem);
        EXPECT_EQ(report.text, "");
    }
}

TEST(ReportReader, NeverExpandsEntities) {
    const Report report = reportIn(R"(<!DOCTYPE SVMInventory [<!ENTITY e SYSTEM "/etc/hostname">]>)"
                                   R"(<SVMInventory><Device display="&e;"/></SVMInventory>)");
    EXPECT_NE(report.outcome, Outcome::Success);
    EXPECT_TRUE(report.devices.empty());
}

TEST(ReportReader, ReportsAMissingFileAsUnreadable) {
    const test::TempDir folder;
    const std::vector<Report> reports = readReports((folder / "none.xml").string());
    ASSERT_EQ(reports.size(), 1u);
    EXPECT_EQ(reports[0].outcome, Outcome::Unreadable);
    EXPECT_EQ(reports[0].problem, "No such file or directory");
    EXPECT_EQ(reports[0].file, (folder / "none.xml").string());
}

TEST(ReportReader, ReadsAFile) {
    const test::TempDir folder;
    test::writeFile(folder / "both.xml", kInventory + kUpdate);
    EXPECT_EQ(readReports((folder / "both.xml").string()).size(), 2u);
}

}  // namespace
}  // namespace qrxinspect
