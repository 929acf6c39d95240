#include "ChildProcess.h"
#include "CoutCapture.h"
#include "TempDir.h"
#include "XMLWriter.h"

#include <gmock/gmock.h>

#include <memory>
#include <type_traits>

namespace test {
namespace {

static_assert(!std::is_polymorphic_v<CXMLWriter>);

constexpr const char* kNoDevicesInventoried =
    R"(<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en"></SVMInventory>)";
constexpr const char* kNoDevicesUpdated =
    R"(<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en"></SVMExecution>)";

/** A successful record of the controller: id C1, version V1, message T. */
CDeviceInfo controller() {
    CDeviceInfo record;
    record.setComponentID("C1");
    record.setDeviceName("QRX");
    record.setComponentType("FRMW");
    record.setVersion("V1");
    record.setDeviceType(CDeviceInfo::NON_PCI_DEVICE);
    record.setStatus(0);
    record.setMessageID(0);
    record.setErrorMsg("T");
    return record;
}

/** A failed record: message id 5, message T. */
CDeviceInfo failure(CDeviceInfo::eDeviceType type = CDeviceInfo::NON_PCI_DEVICE) {
    CDeviceInfo record = controller();
    record.setDeviceType(type);
    record.setStatus(1);
    record.setMessageID(5);
    return record;
}

/** What one operation of a new writer prints on standard output. */
template <typename Operation>
std::string printedBy(Operation operation) {
    const CoutCapture out;
    CXMLWriter writer;
    operation(writer);
    return out.text();
}

std::vector<CDeviceInfo*> pointersTo(std::vector<CDeviceInfo>& records) {
    std::vector<CDeviceInfo*> pointers;
    for (CDeviceInfo& record : records) {
        pointers.push_back(&record);
    }
    return pointers;
}

std::string inventoryOf(std::vector<CDeviceInfo> records) {
    return printedBy(
        [&](CXMLWriter& writer) { EXPECT_EQ(writer.writeInventoryXml(pointersTo(records)), 1); });
}

std::string executionOf(std::vector<CDeviceInfo> records) {
    return printedBy([&](CXMLWriter& writer) { EXPECT_EQ(writer.WriteUpdateXML(pointersTo(records)), 1); });
}

/** What stands between the root's tags. */
std::string within(const std::string& document) {
    const std::size_t start = document.find("\"en\">") + 5;
    return document.substr(start, document.rfind("</") - start);
}

std::string fragment(void (CXMLWriter::*add)()) {
    return printedBy([add](CXMLWriter& writer) {
        (writer.*add)();
        writer.Print();
    });
}

TEST(XMLWriterFragment, WritesTheXmlHeader) {
    EXPECT_EQ(fragment(&CXMLWriter::AddXMLHeader), R"(<?xml version="1.0" encoding="UTF-8"?>)");
    EXPECT_EQ(fragment(&CXMLWriter::AddXMLHeader).size(), 38U);
}

TEST(XMLWriterFragment, WritesTheInventoryHeaderAndFooter) {
    EXPECT_EQ(fragment(&CXMLWriter::AddInventoryHeader), R"(<SVMInventory lang="en">)");
    EXPECT_EQ(fragment(&CXMLWriter::AddInventoryFooter), "</SVMInventory>");
}

TEST(XMLWriterFragment, WritesTheUpdateHeaderAndFooter) {
    EXPECT_EQ(fragment(&CXMLWriter::AddUpdateHeader), R"(<SVMExecution lang="en">)");
    EXPECT_EQ(fragment(static_cast<void (CXMLWriter::*)()>(&CXMLWriter::AddUpdateFooter)), "</SVMExecution>");
}

TEST(XMLWriterFragment, WritesRebootRequiredAsADigit) {
    const auto rebootElement = [](bool required) {
        return printedBy([required](CXMLWriter& writer) {
            writer.AddUpdateFooter(required);
            writer.Print();
        });
    };
    EXPECT_EQ(rebootElement(true), "<RebootRequired>1</RebootRequired>");
    EXPECT_EQ(rebootElement(false), "<RebootRequired>0</RebootRequired>");
}

TEST(XMLWriterFragment, PrintsNothingBeforePrint) {
    EXPECT_EQ(printedBy([](CXMLWriter& writer) { writer.AddXMLHeader(); }), "");
}

TEST(XMLWriterFragment, EmptiesTheBufferInPrint) {
    EXPECT_EQ(printedBy([](CXMLWriter& writer) {
                  writer.AddInventoryFooter();
                  writer.Print();
                  writer.Print();
                  writer.AddInventoryHeader();
                  writer.Print();
              }),
              R"(</SVMInventory><SVMInventory lang="en">)");
}

TEST(XMLWriterInventory, WritesASuccessfulControllerInOneLineWithoutANewline) {
    EXPECT_EQ(
        inventoryOf({controller()}),
        R"(<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en"><Device  componentID="C1" )"
        R"(display="QRX"><Application componentType="FRMW" version="V1" display="QRX"/></Device></SVMInventory>)");
}

TEST(XMLWriterInventory, WritesEachValueInItsPlace) {
    CDeviceInfo record = controller();
    record.setComponentID("id");
    record.setDeviceName("name");
    record.setComponentType("type");
    record.setVersion("version");
    EXPECT_EQ(
        within(inventoryOf({record})),
        R"(<Device  componentID="id" display="name"><Application componentType="type" version="version" )"
        R"(display="name"/></Device>)");
}

TEST(XMLWriterInventory, WritesTheFailureElementForAFailedPciRecord) {
    EXPECT_EQ(within(inventoryOf({failure(CDeviceInfo::PCI_DEVICE)})),
              R"(<SPStatus result = "false" ><Message id="5">T</Message></SPStatus>)");
    EXPECT_EQ(within(inventoryOf({failure(CDeviceInfo::UNKNOWN_DEVICE)})),
              R"(<SPStatus result = "false" ><Message id="5">T</Message></SPStatus>)");
}

TEST(XMLWriterInventory, TreatsEveryStatusButZeroAsAFailure) {
    for (const int status : {-1, 1, 2, 255}) {
        CDeviceInfo record = controller();
        record.setStatus(status);
        EXPECT_EQ(within(inventoryOf({record})),
                  R"(<SPStatus result = "false" ><Message id="0">T</Message></SPStatus>)")
            << status;
    }
}

TEST(XMLWriterInventory, WritesANewRecordAsAFailureWithAnEmptyMessage) {
    EXPECT_EQ(within(inventoryOf({CDeviceInfo()})),
              R"(<SPStatus result = "false" ><Message id="0"></Message></SPStatus>)");
}

TEST(XMLWriterInventory, OmitsASuccessfulPciRecord) {
    CDeviceInfo record = controller();
    record.setDeviceType(CDeviceInfo::PCI_DEVICE);
    EXPECT_EQ(inventoryOf({record}), kNoDevicesInventoried);
    record.setDeviceType(CDeviceInfo::UNKNOWN_DEVICE);
    EXPECT_EQ(inventoryOf({record}), kNoDevicesInventoried);
}

TEST(XMLWriterInventory, OmitsTheRebootFlag) {
    CDeviceInfo record = controller();
    record.setRebootRequired(true);
    EXPECT_THAT(inventoryOf({record}), ::testing::Not(::testing::HasSubstr("RebootRequired")));
}

TEST(XMLWriterInventory, KeepsTheSignOfAMessageId) {
    CDeviceInfo record = failure();
    record.setMessageID(-12);
    EXPECT_THAT(inventoryOf({record}), ::testing::HasSubstr(R"(<Message id="-12">)"));
}

TEST(XMLWriterInventory, KeepsTheOrderOfTheList) {
    CDeviceInfo pci = controller();
    pci.setDeviceType(CDeviceInfo::PCI_DEVICE);
    CDeviceInfo last = controller();
    last.setComponentID("C2");
    EXPECT_EQ(
        within(inventoryOf({failure(), controller(), pci, last})),
        R"(<SPStatus result = "false" ><Message id="5">T</Message></SPStatus>)"
        R"(<Device  componentID="C1" display="QRX"><Application componentType="FRMW" version="V1" display="QRX"/></Device>)"
        R"(<Device  componentID="C2" display="QRX"><Application componentType="FRMW" version="V1" display="QRX"/></Device>)");
}

TEST(XMLWriterInventory, IgnoresTheCurrentVersion) {
    CDeviceInfo record = controller();
    record.setCurrentVersion("installed");
    EXPECT_THAT(inventoryOf({record}), ::testing::Not(::testing::HasSubstr("installed")));
    EXPECT_THAT(executionOf({record}), ::testing::Not(::testing::HasSubstr("installed")));
}

TEST(XMLWriterInventory, WritesValuesUnescaped) {
    CDeviceInfo record = controller();
    record.setComponentID("\"<&>'");
    record.setVersion("\xC3\xA9\t\n\x01");
    EXPECT_EQ(within(inventoryOf({record})),
              "<Device  componentID=\"\"<&>'\" display=\"QRX\"><Application componentType=\"FRMW\" "
              "version=\"\xC3\xA9\t\n\x01\" display=\"QRX\"/></Device>");
}

TEST(XMLWriterInventory, WritesANulByteOfAValue) {
    CDeviceInfo record = failure();
    record.setErrorMsg(std::string("a\0b", 3));
    EXPECT_EQ(within(inventoryOf({record})), std::string(R"(<SPStatus result = "false" ><Message id="5">a)") +
                                                 '\0' + "b</Message></SPStatus>");
}

TEST(XMLWriterExecution, WritesASuccessfulControllerInOneLineWithoutANewline) {
    EXPECT_EQ(
        executionOf({controller()}),
        R"(<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en"><Device  componentID="C1" )"
        R"(display="QRX"><Application componentType="FRMW" version="V1" display="QRX" packageVersion="V1">)"
        R"(<SPStatus result = "true" ><Message id="0">T</Message></SPStatus></Application></Device>)"
        R"(<RebootRequired>0</RebootRequired></SVMExecution>)");
}

TEST(XMLWriterExecution, WritesEachValueInItsPlace) {
    CDeviceInfo record = controller();
    record.setComponentID("id");
    record.setDeviceName("name");
    record.setComponentType("type");
    record.setVersion("version");
    record.setMessageID(-3);
    record.setErrorMsg("message");
    EXPECT_EQ(
        within(executionOf({record})),
        R"(<Device  componentID="id" display="name"><Application componentType="type" version="version" )"
        R"(display="name" packageVersion="version"><SPStatus result = "true" ><Message id="-3">message</Message>)"
        R"(</SPStatus></Application></Device><RebootRequired>0</RebootRequired>)");
}

TEST(XMLWriterExecution, WritesNoRebootElementForAFailedRecord) {
    CDeviceInfo record = failure();
    record.setRebootRequired(true);
    EXPECT_EQ(executionOf({record}),
              R"(<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en">)"
              R"(<SPStatus result = "false" ><Message id="5">T</Message></SPStatus></SVMExecution>)");
}

TEST(XMLWriterExecution, WritesTheFailureElementForAFailedPciRecord) {
    EXPECT_EQ(within(executionOf({failure(CDeviceInfo::PCI_DEVICE)})),
              R"(<SPStatus result = "false" ><Message id="5">T</Message></SPStatus>)");
}

TEST(XMLWriterExecution, OmitsASuccessfulPciRecord) {
    CDeviceInfo record = controller();
    record.setDeviceType(CDeviceInfo::PCI_DEVICE);
    EXPECT_EQ(executionOf({record}), kNoDevicesUpdated);
}

TEST(XMLWriterExecution, WritesARebootElementAfterEachSuccessfulDevice) {
    CDeviceInfo rebooting = controller();
    rebooting.setRebootRequired(true);
    const std::string device =
        R"(<Device  componentID="C1" display="QRX"><Application componentType="FRMW" version="V1" display="QRX" )"
        R"(packageVersion="V1"><SPStatus result = "true" ><Message id="0">T</Message></SPStatus></Application></Device>)";
    EXPECT_EQ(within(executionOf({rebooting, failure(), controller()})),
              device + "<RebootRequired>1</RebootRequired>" +
                  R"(<SPStatus result = "false" ><Message id="5">T</Message></SPStatus>)" + device +
                  "<RebootRequired>0</RebootRequired>");
}

TEST(XMLWriterExecution, WritesValuesUnescaped) {
    CDeviceInfo record = controller();
    record.setErrorMsg("\"<&>'\xC3\xA9\t");
    record.setVersion("1\"2");
    EXPECT_EQ(
        within(executionOf({record})),
        "<Device  componentID=\"C1\" display=\"QRX\"><Application componentType=\"FRMW\" version=\"1\"2\" "
        "display=\"QRX\" packageVersion=\"1\"2\"><SPStatus result = \"true\" ><Message "
        "id=\"0\">\"<&>'\xC3\xA9\t"
        "</Message></SPStatus></Application></Device><RebootRequired>0</RebootRequired>");
}

/** A writer on a report file; the report goes when the writer does. */
class XMLWriterFile : public ::testing::Test {
protected:
    std::string written() {
        writer_.reset();
        return readFile(file_);
    }

    TempDir folder_;
    std::filesystem::path file_ = folder_ / "report.xml";
    std::unique_ptr<CXMLWriter> writer_ = std::make_unique<CXMLWriter>();
    CoutCapture out_;
};

TEST_F(XMLWriterFile, ReceivesTheReportInsteadOfStandardOutput) {
    writer_->SetFileName(file_.string());
    writer_->writeInventoryXml({});
    EXPECT_EQ(written(), kNoDevicesInventoried);
    EXPECT_EQ(out_.text(), "");
}

TEST_F(XMLWriterFile, ReceivesBothDocumentsWithNothingBetween) {
    writer_->SetFileName(file_.string());
    writer_->writeInventoryXml({});
    writer_->WriteUpdateXML({});
    EXPECT_EQ(written(), std::string(kNoDevicesInventoried) + kNoDevicesUpdated);
}

TEST_F(XMLWriterFile, LeavesBothDocumentsWithNothingBetweenToStandardOutput) {
    writer_->writeInventoryXml({});
    writer_->WriteUpdateXML({});
    EXPECT_EQ(out_.text(), std::string(kNoDevicesInventoried) + kNoDevicesUpdated);
}

TEST_F(XMLWriterFile, EmptiesTheFileAsSoonAsItIsNamed) {
    writeFile(file_, "an old report");
    writer_->SetFileName(file_.string());
    EXPECT_EQ(readFile(file_), "");
}

TEST_F(XMLWriterFile, CreatesTheFileAsSoonAsItIsNamed) {
    writer_->SetFileName(file_.string());
    EXPECT_TRUE(std::filesystem::exists(file_));
}

TEST_F(XMLWriterFile, LeavesTheReportsToStandardOutputIfItCannotBeOpened) {
    writer_->SetFileName((folder_ / "missing/report.xml").string());
    EXPECT_EQ(writer_->writeInventoryXml({}), 1);
    EXPECT_EQ(writer_->WriteUpdateXML({}), 1);
    EXPECT_EQ(out_.text(), std::string(kNoDevicesInventoried) + kNoDevicesUpdated);
}

TEST_F(XMLWriterFile, LeavesTheReportsToStandardOutputIfItIsAFolder) {
    writer_->SetFileName(folder_.path().string());
    writer_->writeInventoryXml({});
    EXPECT_EQ(out_.text(), kNoDevicesInventoried);
}

TEST_F(XMLWriterFile, LosesTheReportSilentlyOnAFullDevice) {
    writer_->SetFileName("/dev/full");
    EXPECT_EQ(writer_->writeInventoryXml({}), 1);
    EXPECT_EQ(writer_->WriteUpdateXML({}), 1);
    writer_.reset();
    EXPECT_EQ(out_.text(), "");
}

TEST_F(XMLWriterFile, LeavesTheRecordsToTheCaller) {
    const auto record = std::make_unique<CDeviceInfo>(controller());
    writer_->SetFileName(file_.string());
    writer_->writeInventoryXml({record.get()});
    writer_->WriteUpdateXML({record.get()});
    EXPECT_EQ(record->getErrorMsg(), "T");
}

TEST(XMLWriterStandardOutput, ReceivesTheDocumentByteForByte) {
    const Outcome outcome = runInChild([] {
        CXMLWriter writer;
        writer.writeInventoryXml({});
        return 0;
    });
    EXPECT_EQ(outcome.exitStatus, 0);
    EXPECT_EQ(outcome.output, kNoDevicesInventoried);
    EXPECT_EQ(outcome.error, "");
}

}  // namespace
}  // namespace test
