#include "DeviceWriterTest.h"
#include "InventoryXMLWriter.h"

namespace test {
namespace {

using ::testing::ElementsAre;

static_assert(std::is_base_of_v<IDeviceXMLWriter, CInventoryXMLWriter>);

constexpr const char* kNoDevices =
    R"(<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en"></SVMInventory>)";

class InventoryXMLWriter : public DeviceWriterTest<CInventoryXMLWriter> {
protected:
    /** What the report of the records holds between its root's tags. */
    std::string contentOf(std::vector<CDeviceInfo> records) {
        return between(reportOf(std::move(records)),
                       R"(<?xml version="1.0" encoding="UTF-8"?><SVMInventory lang="en">)",
                       "</SVMInventory>");
    }
};

TEST_F(InventoryXMLWriter, WritesAnEmptyRootWithoutDevices) {
    EXPECT_EQ(reportOf({}), kNoDevices);
}

TEST_F(InventoryXMLWriter, WritesANonPciDevice) {
    EXPECT_EQ(contentOf({controller()}),
              R"(<Device  componentID="C" display="D" enum = "E"><Application componentType="T" version="V" )"
              R"(display="N"/></Device>)");
}

TEST_F(InventoryXMLWriter, KeepsTheBlankOfANonPciDeviceWithoutAnEnumerator) {
    CDeviceInfo device = controller();
    device.setEnumId("");
    EXPECT_EQ(
        contentOf({device}),
        R"(<Device  componentID="C" display="D" ><Application componentType="T" version="V" display="N"/></Device>)");
}

TEST_F(InventoryXMLWriter, WritesAPciDeviceWithDoubleBlanks) {
    EXPECT_EQ(
        contentOf({card()}),
        R"(<Device  vendorID="v" deviceID="d" subVendorID="sv" subDeviceID="sd"  display="D" enum = "E">)"
        R"(<Application componentType="T"  version="V"  display="N"/></Device>)");
}

TEST_F(InventoryXMLWriter, KeepsTheBlankOfAPciDeviceWithoutAnEnumerator) {
    CDeviceInfo device = card();
    device.setEnumId("");
    EXPECT_EQ(contentOf({device}),
              R"(<Device  vendorID="v" deviceID="d" subVendorID="sv" subDeviceID="sd"  display="D" >)"
              R"(<Application componentType="T"  version="V"  display="N"/></Device>)");
}

TEST_F(InventoryXMLWriter, CarriesNoEnumeratorOver) {
    CDeviceInfo device = controller();
    device.setEnumId("");
    EXPECT_EQ(
        contentOf({controller(), device}),
        R"(<Device  componentID="C" display="D" enum = "E"><Application componentType="T" version="V" )"
        R"(display="N"/></Device>)"
        R"(<Device  componentID="C" display="D" ><Application componentType="T" version="V" display="N"/></Device>)");
}

TEST_F(InventoryXMLWriter, WritesAFailedDeviceAsAStatusAlone) {
    constexpr const char* kFailure = R"(<SPStatus result = "false" ><Message id="5" >M</Message></SPStatus>)";
    EXPECT_EQ(contentOf({failed(controller())}), kFailure);
    EXPECT_EQ(contentOf({failed(card())}), kFailure);
    EXPECT_EQ(contentOf({failed(ofUnknownType())}), kFailure);
}

TEST_F(InventoryXMLWriter, WritesANewRecordAsFailed) {
    EXPECT_EQ(contentOf({CDeviceInfo()}),
              R"(<SPStatus result = "false" ><Message id="0" ></Message></SPStatus>)");
}

TEST_F(InventoryXMLWriter, KeepsTheSignOfAMessageId) {
    CDeviceInfo device = failed(controller());
    device.setMessageID(-12);
    EXPECT_EQ(contentOf({device}),
              R"(<SPStatus result = "false" ><Message id="-12" >M</Message></SPStatus>)");
}

TEST_F(InventoryXMLWriter, OmitsASuccessOfUnknownType) {
    EXPECT_EQ(contentOf({ofUnknownType()}), "");
}

TEST_F(InventoryXMLWriter, KeepsTheOrderOfTheList) {
    CDeviceInfo first = controller();
    first.setComponentID("1");
    first.setEnumId("");
    EXPECT_EQ(
        contentOf({failed(card()), first, card()}),
        R"(<SPStatus result = "false" ><Message id="5" >M</Message></SPStatus>)"
        R"(<Device  componentID="1" display="D" ><Application componentType="T" version="V" display="N"/></Device>)"
        R"(<Device  vendorID="v" deviceID="d" subVendorID="sv" subDeviceID="sd"  display="D" enum = "E">)"
        R"(<Application componentType="T"  version="V"  display="N"/></Device>)");
}

TEST_F(InventoryXMLWriter, WritesValuesUnescaped) {
    EXPECT_EQ(contentOf({failed(withRawValues(controller()))}),
              "<SPStatus result = \"false\" ><Message id=\"5\" >&<\"M</Message></SPStatus>");
    EXPECT_EQ(contentOf({withRawValues(controller())}),
              "<Device  componentID=\"&<\"C\" display=\"&<\"D\" enum = \"&<\"E\"><Application "
              "componentType=\"&<\"T\" "
              "version=\"&<\"V\" display=\"&<\"N\"/></Device>");
    EXPECT_EQ(contentOf({withRawValues(card())}),
              "<Device  vendorID=\"&<\"v\" deviceID=\"&<\"d\" subVendorID=\"&<\"sv\" subDeviceID=\"&<\"sd\"  "
              "display=\"&<\"D\" enum = \"&<\"E\"><Application componentType=\"&<\"T\"  version=\"&<\"V\"  "
              "display=\"&<\"N\"/></Device>");
}

// The file.

TEST_F(InventoryXMLWriter, EmptiesAnExistingFile) {
    writeFile(file_, std::string(4096, 'x'));
    EXPECT_EQ(reportOf({}), kNoDevices);
}

TEST_F(InventoryXMLWriter, CompletesTheFileBeforeItReturns) {
    CInventoryXMLWriter writer;
    EXPECT_TRUE(writer.GetXML({}, file_.string()));
    EXPECT_EQ(readFile(file_), kNoDevices);
}

TEST_F(InventoryXMLWriter, WritesSeveralFiles) {
    CInventoryXMLWriter writer;
    EXPECT_TRUE(writer.GetXML({}, file_.string()));
    EXPECT_TRUE(writer.GetXML({}, (folder_ / "second.xml").string()));
    EXPECT_EQ(readFile(file_), kNoDevices);
    EXPECT_EQ(readFile(folder_ / "second.xml"), kNoDevices);
}

TEST_F(InventoryXMLWriter, WritesAndLogsNoFileWithoutAName) {
    const WorkingDirectory here(folder_.path());
    {
        CInventoryXMLWriter writer;
        log_.emplace();
        EXPECT_TRUE(writer.GetXML({}, ""));
        EXPECT_THAT(log_->messages(),
                    ElementsAre("CInventoryXMLWriter::GetXML() Entering",                                  //
                                "CInventoryXMLWriter::addXMLHeader() In addXMLHeader Method",              //
                                "CInventoryXMLWriter::addInventoryHeader() In addInventoryHeader Method",  //
                                "CInventoryXMLWriter::addInventoryFooter() In addInventoryFooter Method",  //
                                "CInventoryXMLWriter::print() Entering",                                   //
                                "CInventoryXMLWriter::print() Exiting",                                    //
                                "CInventoryXMLWriter::GetXML() Exiting"));
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(InventoryXMLWriter, LogsAFileThatCannotBeOpenedAsOpened) {
    CInventoryXMLWriter writer;
    log_.emplace();
    EXPECT_TRUE(writer.GetXML({}, (folder_ / "no folder/report.xml").string()));
    EXPECT_THAT(log_->messages(),
                ElementsAre("CInventoryXMLWriter::GetXML() Entering",                                  //
                            "CInventoryXMLWriter::GetXML() udpate xml file opened",                    //
                            "CInventoryXMLWriter::addXMLHeader() In addXMLHeader Method",              //
                            "CInventoryXMLWriter::addInventoryHeader() In addInventoryHeader Method",  //
                            "CInventoryXMLWriter::addInventoryFooter() In addInventoryFooter Method",  //
                            "CInventoryXMLWriter::print() Entering",                                   //
                            "CInventoryXMLWriter::print() Exiting",                                    //
                            "CInventoryXMLWriter::GetXML() Exiting"));
}

TEST_F(InventoryXMLWriter, WritesAnUnwrittenReportBeforeTheNext) {
    CInventoryXMLWriter writer;
    EXPECT_TRUE(writer.GetXML({}, ""));
    EXPECT_TRUE(writer.GetXML({}, file_.string()));
    EXPECT_EQ(readFile(file_), std::string(kNoDevices) + kNoDevices);
}

TEST_F(InventoryXMLWriter, LogsAnExceptionWhileOpeningAndFails) {
    CInventoryXMLWriter writer;
    log_.emplace();
    {
        const FailingAllocation failing(BUFSIZ);  // the file stream's buffer
        EXPECT_FALSE(writer.GetXML({}, file_.string()));
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_THAT(
        log_->messages(),
        ElementsAre("CInventoryXMLWriter::GetXML() Entering",
                    "CInventoryXMLWriter::GetXML() exception caught during file opening std::bad_alloc"));
}

TEST_F(InventoryXMLWriter, LogsAnExceptionWhileWritingUnderAnotherNameAndContainsIt) {
    CDeviceInfo device = failed(controller());
    device.setErrorMsg(std::string(5000, 'x'));
    const std::size_t textSize = reportOf({device}).size() + 1;
    CInventoryXMLWriter writer;
    log_.emplace();
    {
        const FailingAllocation failing(textSize);  // the copy of the report's text
        EXPECT_TRUE(writer.GetXML({&device}, file_.string()));
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_THAT(log_->messages(),
                ElementsAre("CInventoryXMLWriter::GetXML() Entering",                                  //
                            "CInventoryXMLWriter::GetXML() udpate xml file opened",                    //
                            "CInventoryXMLWriter::addXMLHeader() In addXMLHeader Method",              //
                            "CInventoryXMLWriter::addInventoryHeader() In addInventoryHeader Method",  //
                            "CInventoryXMLWriter::GetXML() Update failed for one Device",              //
                            "CInventoryXMLWriter::addInventoryFooter() In addInventoryFooter Method",  //
                            "CInventoryXMLWriter::print() Entering",                                   //
                            "CInventoryXMLWriter::GetXML() exception caught during file is_open function "
                            "std::bad_alloc",  //
                            "CInventoryXMLWriter::GetXML() Exiting"));
    EXPECT_EQ(readFile(file_), "");
}

TEST_F(InventoryXMLWriter, ContainsAnExceptionOfTheFirstLineOfPrint) {
    constexpr char kEntering[] = "CInventoryXMLWriter::print() Entering";
    CInventoryXMLWriter writer;
    log_.emplace();
    {
        const FailingAllocation failing(sizeof kEntering);  // the line's text
        EXPECT_NO_THROW(writer.print());
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_THAT(
        log_->messages(),
        ElementsAre(
            "CInventoryXMLWriter::GetXML() exception caught during file is_open function std::bad_alloc"));
}

TEST_F(InventoryXMLWriter, LetsAnExceptionOfTheLogOutAfterTheOpening) {
    constexpr char kOpened[] = "CInventoryXMLWriter::GetXML() udpate xml file opened";
    CInventoryXMLWriter writer;
    log_.emplace();
    {
        const FailingAllocation failing(sizeof kOpened);  // the line's text
        EXPECT_THROW(writer.GetXML({}, file_.string()), std::bad_alloc);
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_THAT(log_->messages(), ElementsAre("CInventoryXMLWriter::GetXML() Entering"));
    EXPECT_TRUE(std::filesystem::exists(file_));
}

// The log, and the steps by themselves.

TEST_F(InventoryXMLWriter, LogsEachStep) {
    std::vector<CDeviceInfo> records = {controller(), card(), failed(card()), ofUnknownType()};
    {
        CInventoryXMLWriter writer;
        EXPECT_TRUE(writer.GetXML(pointersTo(records), file_.string()));
    }
    EXPECT_THAT(log_->messages(),
                ElementsAre("CInventoryXMLWriter::CInventoryXMLWriter() In Constructor Method",         //
                            "CInventoryXMLWriter::GetXML() Entering",                                   //
                            "CInventoryXMLWriter::GetXML() udpate xml file opened",                     //
                            "CInventoryXMLWriter::addXMLHeader() In addXMLHeader Method",               //
                            "CInventoryXMLWriter::addInventoryHeader() In addInventoryHeader Method",   //
                            "CInventoryXMLWriter::GetXML() Found one Non PCI Device",                   //
                            "CInventoryXMLWriter::GetXML() Found one PCI Device",                       //
                            "CInventoryXMLWriter::GetXML() Update failed for one Device",               //
                            "CInventoryXMLWriter::addInventoryFooter() In addInventoryFooter Method",   //
                            "CInventoryXMLWriter::print() Entering",                                    //
                            "CInventoryXMLWriter::print() copying the contents to Inventory XML file",  //
                            "CInventoryXMLWriter::print() Exiting",                                     //
                            "CInventoryXMLWriter::GetXML() Exiting",                                    //
                            "CInventoryXMLWriter::CInventoryXMLWriter() In Destructor Method"));
    for (const LogLine& line : log_->lines()) {
        EXPECT_EQ(line.source, "InventoryXMLWriter");
    }
}

TEST_F(InventoryXMLWriter, KeepsTheTextIfPrintHasNoFile) {
    CInventoryXMLWriter writer;
    writer.addInventoryFooter();
    writer.print();
    EXPECT_TRUE(writer.GetXML({}, file_.string()));
    EXPECT_EQ(readFile(file_), std::string("</SVMInventory>") + kNoDevices);
}

TEST_F(InventoryXMLWriter, AddsEachPieceByItsOwnCall) {
    CInventoryXMLWriter writer;
    writer.addInventoryHeader();
    writer.addXMLHeader();
    EXPECT_TRUE(writer.GetXML({}, file_.string()));
    EXPECT_EQ(readFile(file_),
              std::string(R"(<SVMInventory lang="en"><?xml version="1.0" encoding="UTF-8"?>)") + kNoDevices);
}

}  // namespace
}  // namespace test
