#include "DeviceInventoryInfo.h"
#include "FailingXPath.h"
#include "LogCapture.h"
#include "TempDir.h"
#include "XMLWriter.h"
#include "XmlReading.h"

#include <gmock/gmock.h>
#include <libxml/parser.h>

#include <memory>
#include <type_traits>

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using ::testing::StrEq;

static_assert(std::has_virtual_destructor_v<CDeviceInventoryInfo>);

constexpr const char* kStart = "CDeviceInventoryInfo::GetNodeSet() Start";
constexpr const char* kEnd = "CDeviceInventoryInfo::GetNodeSet() END";
constexpr const char* kEmpty = "CDeviceInventoryInfo::GetNodeSet() Empty nodeset";
constexpr const char* kNoStatus = "CDeviceInventoryInfo::GetInventoryStatus() pXpathObj is NULL";
constexpr const char* kNoDevices = "CDeviceInventoryInfo::GetDeviceInfo() pXpathObj is NULL";
constexpr const char* kGotMessage = "CDeviceInventoryInfo::GetInventoryStatus() got message";
constexpr const char* kNoNode = "CDeviceInventoryInfo::GetAttributeValue() NULL == cur || NULL == propName";
constexpr const char* kUntouched = "untouched";

/** Type, component id, ids, name, component type and version of a record. */
std::string identityOf(const CDeviceInfo& record) {
    const SPCIInfo ids = record.getPCIInfo();
    return std::to_string(record.getDeviceType()) + "|" + record.getComponentID() + "|" + ids.componentID +
           ids.vendorID + "," + ids.deviceID + "," + ids.subVendorID + "," + ids.subDeviceID +
           ids.marketingName + "|" + record.getDeviceName() + "|" + record.getComponentType() + "|" +
           record.getVersion();
}

class DeviceInventoryInfo : public ::testing::Test {
protected:
    void setResult(std::string_view xml) { writeFile(file_, xml); }

    void setInventory(std::string_view content) {
        std::string xml = "<SVMInventory lang=\"en\">";
        setResult(xml.append(content).append("</SVMInventory>"));
    }

    std::vector<std::unique_ptr<CDeviceInfo>> records() {
        std::vector<std::unique_ptr<CDeviceInfo>> owned;
        for (CDeviceInfo* record : reader_.GetDeviceInfo()) {
            owned.emplace_back(record);
        }
        return owned;
    }

    std::vector<std::string> devicesIn(std::string_view content) {
        setInventory(content);
        std::vector<std::string> identities;
        for (const auto& record : records()) {
            identities.push_back(identityOf(*record));
        }
        return identities;
    }

    /** Status and message of each record. */
    std::vector<std::string> outcomesIn(std::string_view content) {
        setInventory(content);
        std::vector<std::string> outcomes;
        for (const auto& record : records()) {
            outcomes.push_back(std::to_string(record->getStatus()) + "|" + record->getErrorMsg());
        }
        return outcomes;
    }

    /** The answer to GetInventoryStatus, and the message where the status is a failure. */
    std::string statusIn(std::string_view content) {
        setInventory(content);
        records();
        std::string message = kUntouched;
        return reader_.GetInventoryStatus(message) ? "no failure, " + message : message;
    }

    TempDir folder_;
    std::filesystem::path file_ = folder_ / "inventory.xml";
    CDeviceInventoryInfo reader_{file_.string()};
    LogCapture log_;
};

TEST_F(DeviceInventoryInfo, ReadsADeviceWithAComponentIdAsNonPci) {
    EXPECT_THAT(devicesIn(R"(<Device componentID="C1" display="QRX"><Application componentType="FRMW" )"
                          R"(version="1.40" display="other"/></Device>)"),
                ElementsAre("2|C1|,,,|QRX|FRMW|1.40"));
}

TEST_F(DeviceInventoryInfo, ReadsADeviceWithoutAComponentIdAsPciWithItsIdsAsWritten) {
    EXPECT_THAT(
        devicesIn(R"(<Device vendorID="8" deviceID="9a" subVendorID="0xB" subDeviceID="00c" display="Card">)"
                  R"(<Application componentType="BIOS" version="2"/></Device>)"),
        ElementsAre("1||8,9a,0xB,00c|Card|BIOS|2"));
}

TEST_F(DeviceInventoryInfo, IgnoresPciIdsOfADeviceWithAComponentId) {
    EXPECT_THAT(
        devicesIn(R"(<Device componentID="C1" vendorID="8" deviceID="9" subVendorID="a" subDeviceID="b"/>)"),
        ElementsAre("2|C1|,,,|||"));
}

TEST_F(DeviceInventoryInfo, TreatsAnEmptyComponentIdAsAbsent) {
    EXPECT_THAT(devicesIn(R"(<Device componentID="" vendorID="8"/>)"), ElementsAre("1||8,,,|||"));
}

TEST_F(DeviceInventoryInfo, ReadsADeviceWithoutAttributesAsPciWithoutIds) {
    EXPECT_THAT(devicesIn("<Device/>"), ElementsAre("1||,,,|||"));
}

TEST_F(DeviceInventoryInfo, CarriesNothingOverFromOneDeviceToTheNext) {
    EXPECT_THAT(devicesIn(R"(<Device vendorID="1" deviceID="2" subVendorID="3" subDeviceID="4" display="A">)"
                          R"(<Application componentType="T" version="V"/></Device><Device vendorID="5"/>)"),
                ElementsAre("1||1,2,3,4|A|T|V", "1||5,,,|||"));
}

TEST_F(DeviceInventoryInfo, ReadsOnlyTheFirstChildElement) {
    EXPECT_THAT(
        devicesIn(R"(<Device componentID="1"><Other/><Application componentType="T" version="V"/></Device>)"
                  R"(<Device componentID="2"><Any componentType="T" version="V"/></Device>)"),
        ElementsAre("2|1|,,,|||", "2|2|,,,||T|V"));
}

TEST_F(DeviceInventoryInfo, KeepsTheDefaultForAMissingVersion) {
    EXPECT_THAT(devicesIn(R"(<Device componentID="1"><Application componentType="T"/></Device>)"
                          R"(<Device componentID="2"><Application version="V"/></Device>)"),
                ElementsAre("2|1|,,,||T|", "2|2|,,,|||V"));
}

TEST_F(DeviceInventoryInfo, SkipsCommentsAndBlanksBeforeTheFirstChildElement) {
    EXPECT_THAT(devicesIn("<Device componentID=\"1\">\n  <!-- c --><?p i?> text "
                          "<Application componentType=\"T\" version=\"V\"/></Device>"),
                ElementsAre("2|1|,,,||T|V"));
}

TEST_F(DeviceInventoryInfo, FindsDevicesAtAnyDepth) {
    EXPECT_THAT(devicesIn(R"(<Group><Device componentID="1"><Device componentID="2"/></Device></Group>)"),
                ElementsAre("2|1|,,,|||", "2|2|,,,|||"));
}

TEST_F(DeviceInventoryInfo, IgnoresDevicesOfAnotherRoot) {
    setResult(R"(<SVMExecution><Device componentID="1"/></SVMExecution>)");
    EXPECT_THAT(records(), IsEmpty());
}

TEST_F(DeviceInventoryInfo, KeepsTheDefaultStatusWithoutAFailure) {
    EXPECT_THAT(
        outcomesIn(
            R"(<Device componentID="1"/><SPStatus result="true"><Message id="0">fine</Message></SPStatus>)"),
        ElementsAre("-1|"));
}

TEST_F(DeviceInventoryInfo, PutsAFailureOnEveryRecord) {
    EXPECT_THAT(
        outcomesIn(
            R"(<Device componentID="1"/><SPStatus result="false"><Message id="1">bad</Message></SPStatus>)"
            R"(<Device vendorID="2"/>)"),
        ElementsAre("1|bad", "1|bad"));
}

TEST_F(DeviceInventoryInfo, ReturnsOneRecordForAFailureWithoutDevices) {
    setInventory(R"(<SPStatus result="FALSE">The inventory failed</SPStatus>)");
    const auto found = records();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(identityOf(*found[0]), "0||,,,|||");
    EXPECT_EQ(found[0]->getStatus(), 1);
    EXPECT_EQ(found[0]->getErrorMsg(), "The inventory failed");
    EXPECT_THAT(log_.messages(), ElementsAre(kStart, kEmpty, kNoDevices, kStart, kEnd, kGotMessage));
}

TEST_F(DeviceInventoryInfo, ReturnsAnEmptyMessageForAFailureWithoutAText) {
    EXPECT_THAT(outcomesIn(R"(<SPStatus result="false"/>)"), ElementsAre("1|"));
    EXPECT_THAT(log_.messages(), ElementsAre(kStart, kEmpty, kNoDevices, kStart, kEnd));
}

TEST_F(DeviceInventoryInfo, ReturnsAnEmptyListWithoutDevicesOrAFailure) {
    EXPECT_THAT(outcomesIn(""), IsEmpty());
    EXPECT_THAT(log_.messages(), ElementsAre(kStart, kEmpty, kNoDevices, kStart, kEmpty, kNoStatus));
}

TEST_F(DeviceInventoryInfo, LogsTheStatusQuestionForEachRecord) {
    setInventory(R"(<Device componentID="1"/><Device componentID="2"/>)");
    EXPECT_EQ(records().size(), 2U);
    EXPECT_THAT(log_.messages(), ElementsAre(kStart, kEnd,               // the devices
                                             kStart, kEmpty, kNoStatus,  // the first record
                                             kNoNode, kNoNode,           // without component type and version
                                             kStart, kEmpty, kNoStatus, kNoNode, kNoNode));
    for (const LogLine& line : log_.lines()) {
        EXPECT_EQ(line.source, "DeviceInventoryInfo");
    }
}

TEST_F(DeviceInventoryInfo, LogsTheFailureForEachRecord) {
    setInventory(
        R"(<Device componentID="1"/><Device componentID="2"/><SPStatus result="false">m</SPStatus>)");
    EXPECT_EQ(records().size(), 2U);
    EXPECT_THAT(log_.messages(), ElementsAre(kStart, kEnd,                                 //
                                             kStart, kEnd, kGotMessage, kNoNode, kNoNode,  //
                                             kStart, kEnd, kGotMessage, kNoNode, kNoNode));
}

TEST_F(DeviceInventoryInfo, LogsASuccessForEachRecord) {
    setInventory(R"(<Device componentID="1"><Application><SPStatus result="true"/></Application></Device>)");
    EXPECT_EQ(records().size(), 1U);
    EXPECT_THAT(log_.messages(), ElementsAre(kStart, kEnd, kStart, kEnd));
}

// The file.

TEST_F(DeviceInventoryInfo, LogsAnEmptyPath) {
    CDeviceInventoryInfo reader("");
    EXPECT_THAT(reader.GetDeviceInfo(), IsEmpty());
    EXPECT_THAT(log_.messages(), ElementsAre("Inventory file path is empty "));
}

TEST_F(DeviceInventoryInfo, LogsAMissingFile) {
    EXPECT_THAT(reader_.GetDeviceInfo(), IsEmpty());
    EXPECT_THAT(log_.messages(), ElementsAre("CDeviceInventoryInfo::GetDeviceInfo() Document " +
                                             file_.string() + "  parsing failed "));
}

TEST_F(DeviceInventoryInfo, LogsAMalformedFile) {
    setResult("<SVMInventory>");
    EXPECT_THAT(reader_.GetDeviceInfo(), IsEmpty());
    EXPECT_THAT(log_.messages(), ElementsAre("CDeviceInventoryInfo::GetDeviceInfo() Document " +
                                             file_.string() + "  parsing failed "));
}

TEST_F(DeviceInventoryInfo, ReadsTheFileAgainForEachCall) {
    EXPECT_THAT(devicesIn(R"(<Device componentID="1"/>)"), ElementsAre("2|1|,,,|||"));
    EXPECT_THAT(devicesIn(R"(<Device componentID="2"/>)"), ElementsAre("2|2|,,,|||"));
}

TEST_F(DeviceInventoryInfo, ReadsAReportOfTheProgram) {
    CDeviceInfo failed;
    failed.setErrorMsg("Shared component update is disabled");
    failed.setStatus(1);
    failed.setMessageID(1);
    CDeviceInfo device;
    device.setComponentID("C1");
    device.setDeviceName("QRX");
    device.setComponentType("FRMW");
    device.setVersion("V1");
    device.setDeviceType(CDeviceInfo::NON_PCI_DEVICE);
    device.setStatus(0);
    {
        CXMLWriter writer;
        writer.SetFileName(file_.string());
        writer.writeInventoryXml({&device, &failed});
    }
    const auto found = records();
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(identityOf(*found[0]), "2|C1|,,,|QRX|FRMW|V1");
    EXPECT_EQ(found[0]->getErrorMsg(), "Shared component update is disabled");
}

TEST_F(DeviceInventoryInfo, SwitchesBlankTextNodesOffForTheProcess) {
    xmlKeepBlanksDefault(1);
    const CDeviceInventoryInfo reader(file_.string());
    EXPECT_EQ(xmlKeepBlanksDefault(0), 0);
}

TEST_F(DeviceInventoryInfo, ReadsTheMessageOfAnIndentedResult) {
    xmlKeepBlanksDefault(1);
    CDeviceInventoryInfo reader(file_.string());
    setInventory("\n  <SPStatus result=\"false\">\n    <Message id=\"1\">bad</Message>\n  </SPStatus>\n");
    reader.GetDeviceInfo();
    std::string message;
    EXPECT_FALSE(reader.GetInventoryStatus(message));
    EXPECT_EQ(message, "bad");
}

// The status of the inventory.

TEST_F(DeviceInventoryInfo, ReportsNoFailureWithoutAStatusElement) {
    EXPECT_EQ(statusIn(R"(<Device componentID="1"/>)"), "no failure, untouched");
}

TEST_F(DeviceInventoryInfo, ReportsNoFailureBeforeTheFileIsRead) {
    setInventory(R"(<SPStatus result="false">m</SPStatus>)");
    std::string message = kUntouched;
    EXPECT_TRUE(reader_.GetInventoryStatus(message));
    EXPECT_EQ(message, kUntouched);
    EXPECT_THAT(log_.messages(), ElementsAre(kStart, kEmpty, kNoStatus));
}

TEST_F(DeviceInventoryInfo, ReportsTheFirstFailedStatus) {
    EXPECT_EQ(
        statusIn(
            R"(<SPStatus result="true">a</SPStatus><SPStatus>b</SPStatus><SPStatus result="">c</SPStatus>)"
            R"(<Device><Application><SPStatus result="False">d</SPStatus></Application></Device>)"
            R"(<SPStatus result="false">e</SPStatus>)"),
        "d");
}

TEST_F(DeviceInventoryInfo, CountsOnlyAStatusOfADeviceOrOfTheInventory) {
    EXPECT_EQ(statusIn(R"(<SPStatus result="false">inventory</SPStatus>)"), "inventory");
    EXPECT_EQ(
        statusIn(R"(<Device><Application><SPStatus result="false">device</SPStatus></Application></Device>)"),
        "device");
    EXPECT_EQ(statusIn(R"(<Device><SPStatus result="false">x</SPStatus></Device>)"), "no failure, untouched");
    EXPECT_EQ(statusIn(R"(<Application><SPStatus result="false">x</SPStatus></Application>)"),
              "no failure, untouched");
    EXPECT_EQ(
        statusIn(
            R"(<Group><Device><Application><SPStatus result="false">x</SPStatus></Application></Device></Group>)"),
        "no failure, untouched");
    EXPECT_EQ(statusIn(R"(<SPStatus result="falsehood">x</SPStatus>)"), "no failure, untouched");
}

TEST_F(DeviceInventoryInfo, ReturnsTheWholeTextOfTheFirstChildAsMessage) {
    EXPECT_EQ(
        statusIn(R"(<SPStatus result="false"><Message id="1">a <b>b</b> &amp; c</Message>d</SPStatus>)"),
        "a b & c");
    EXPECT_EQ(statusIn(R"(<SPStatus result="false">text<Message>m</Message></SPStatus>)"), "text");
    EXPECT_EQ(statusIn(R"(<SPStatus result="false"><![CDATA[a < b]]></SPStatus>)"), "a < b");
    EXPECT_EQ(statusIn(R"(<SPStatus result="false"><!--c--><?p i?><Message>m</Message></SPStatus>)"), "m");
    EXPECT_EQ(statusIn(R"(<SPStatus result="false"><Message/><Message>second</Message></SPStatus>)"),
              kUntouched);
}

TEST_F(DeviceInventoryInfo, KeepsTheMessageForAFailureWithoutAText) {
    setInventory(R"(<SPStatus result="false"/><SPStatus result="false">second</SPStatus>)");
    records();
    const LogCapture log;
    std::string message = kUntouched;
    EXPECT_FALSE(reader_.GetInventoryStatus(message));
    EXPECT_EQ(message, kUntouched);
    EXPECT_THAT(log.messages(), ElementsAre(kStart, kEnd));
}

TEST_F(DeviceInventoryInfo, LogsAFailureWithAText) {
    setInventory(R"(<SPStatus result="false">m</SPStatus>)");
    records();
    const LogCapture log;
    std::string message = kUntouched;
    EXPECT_FALSE(reader_.GetInventoryStatus(message));
    EXPECT_EQ(message, "m");
    EXPECT_THAT(log.messages(), ElementsAre(kStart, kEnd, kGotMessage));
}

// Node sets and attributes.

TEST_F(DeviceInventoryInfo, ReturnsTheNodesOfAnExpression) {
    setInventory("<Device/><Device/>");
    records();
    const LogCapture log;
    const XPathObjectPtr devices = reader_.GetNodeSet("//Device");
    ASSERT_THAT(devices, NotNull());
    EXPECT_EQ(devices->nodesetval->nodeNr, 2);
    EXPECT_THAT(log.messages(), ElementsAre(kStart, kEnd));
}

TEST_F(DeviceInventoryInfo, RefusesABrokenExpression) {
    EXPECT_THAT(reader_.GetNodeSet("//["), IsNull());
    EXPECT_THAT(log_.messages(),
                ElementsAre(kStart, "CDeviceInventoryInfo::GetNodeSet() Error in xmlXPathEvalExpression"));
}

TEST_F(DeviceInventoryInfo, ReturnsNoNodesWithoutAContext) {
    setInventory(R"(<Device componentID="1"/><SPStatus result="false">m</SPStatus>)");
    const FailingXPathContext failing;
    EXPECT_THAT(reader_.GetDeviceInfo(), IsEmpty());
    constexpr const char* kNoContext = "CDeviceInventoryInfo::GetNodeSet() Error in xmlXPathNewContext";
    EXPECT_THAT(log_.messages(), ElementsAre(kStart, kNoContext, kNoDevices, kStart, kNoContext, kNoStatus));
}

TEST_F(DeviceInventoryInfo, ReturnsTheTextOfAnAttributeOrNull) {
    setInventory(R"(<Device display="d" version=""/>)");
    records();
    const XPathObjectPtr devices = reader_.GetNodeSet("//Device");
    ASSERT_THAT(devices, NotNull());
    xmlNode* device = devices->nodesetval->nodeTab[0];
    const LogCapture log;
    EXPECT_THAT(asChars(reader_.GetAttributeValue(device, "display")), StrEq("d"));
    EXPECT_THAT(reader_.GetAttributeValue(device, "version"), IsNull());
    EXPECT_THAT(reader_.GetAttributeValue(device, "vendorID"), IsNull());
    EXPECT_THAT(log.messages(), IsEmpty());
}

TEST_F(DeviceInventoryInfo, LogsAnAttributeOfNull) {
    setInventory("<Device/>");
    records();
    const XPathObjectPtr devices = reader_.GetNodeSet("//Device");
    ASSERT_THAT(devices, NotNull());
    const LogCapture log;
    EXPECT_THAT(reader_.GetAttributeValue(nullptr, "display"), IsNull());
    EXPECT_THAT(reader_.GetAttributeValue(devices->nodesetval->nodeTab[0], nullptr), IsNull());
    constexpr const char* kNull = "CDeviceInventoryInfo::GetAttributeValue() NULL == cur || NULL == propName";
    EXPECT_THAT(log.messages(), ElementsAre(kNull, kNull));
}

}  // namespace
}  // namespace test
