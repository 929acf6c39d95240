#include "DeviceWriterTest.h"
#include "UpdateXMLWriter.h"

namespace test {
namespace {

using ::testing::ElementsAre;

static_assert(std::is_base_of_v<IDeviceXMLWriter, CUpdateXMLWriter>);

constexpr const char* kNoDevices =
    R"(<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en"></SVMExecution>)";
constexpr const char* kReboot = "<RebootRequired>1</RebootRequired>";

CDeviceInfo needingReboot(CDeviceInfo device) {
    device.setRebootRequired(true);
    return device;
}

class UpdateXMLWriter : public DeviceWriterTest<CUpdateXMLWriter> {
protected:
    /** What the report of the records holds between its root's tags. */
    std::string contentOf(std::vector<CDeviceInfo> records) {
        return between(reportOf(std::move(records)),
                       R"(<?xml version="1.0" encoding="UTF-8"?><SVMExecution lang="en">)",
                       "</SVMExecution>");
    }
};

TEST_F(UpdateXMLWriter, WritesAnEmptyRootWithoutDevices) {
    EXPECT_EQ(reportOf({}), kNoDevices);
}

TEST_F(UpdateXMLWriter, WritesANonPciDevice) {
    EXPECT_EQ(
        contentOf({controller()}),
        R"(<Device  componentID="C" display="D" enum = "E" ><Application componentType="T" version="V" )"
        R"(display="N" ><SPStatus result = "true" ><Message id="5" >M</Message></SPStatus></Application></Device>)");
}

TEST_F(UpdateXMLWriter, WritesANonPciDeviceWithoutAnEnumerator) {
    CDeviceInfo device = controller();
    device.setEnumId("");
    EXPECT_EQ(
        contentOf({device}),
        R"(<Device  componentID="C" display="D" ><Application componentType="T" version="V" display="N" >)"
        R"(<SPStatus result = "true" ><Message id="5" >M</Message></SPStatus></Application></Device>)");
}

TEST_F(UpdateXMLWriter, WritesAPciDeviceWithSingleBlanks) {
    EXPECT_EQ(
        contentOf({card()}),
        R"(<Device  vendorID="v" deviceID="d" subVendorID="sv" subDeviceID="sd" display="D" enum = "E" >)"
        R"(<Application componentType="T" version="V" display="N" ><SPStatus result = "true" >)"
        R"(<Message id="5" >M</Message></SPStatus></Application></Device>)");
}

TEST_F(UpdateXMLWriter, WritesAPciDeviceWithoutAnEnumerator) {
    CDeviceInfo device = card();
    device.setEnumId("");
    EXPECT_EQ(contentOf({device}),
              R"(<Device  vendorID="v" deviceID="d" subVendorID="sv" subDeviceID="sd" display="D" >)"
              R"(<Application componentType="T" version="V" display="N" ><SPStatus result = "true" >)"
              R"(<Message id="5" >M</Message></SPStatus></Application></Device>)");
}

TEST_F(UpdateXMLWriter, WritesAFailedDeviceAsAStatusAlone) {
    constexpr const char* kFailure = R"(<SPStatus result = "false" ><Message id="5" >M</Message></SPStatus>)";
    EXPECT_EQ(contentOf({failed(controller())}), kFailure);
    EXPECT_EQ(contentOf({failed(card())}), kFailure);
    EXPECT_EQ(contentOf({failed(ofUnknownType())}), kFailure);
}

TEST_F(UpdateXMLWriter, OmitsASuccessOfUnknownType) {
    EXPECT_EQ(contentOf({ofUnknownType()}), "");
}

TEST_F(UpdateXMLWriter, KeepsTheOrderOfTheList) {
    EXPECT_EQ(
        contentOf({failed(card()), controller(), failed(controller())}),
        R"(<SPStatus result = "false" ><Message id="5" >M</Message></SPStatus>)"
        R"(<Device  componentID="C" display="D" enum = "E" ><Application componentType="T" version="V" )"
        R"(display="N" ><SPStatus result = "true" ><Message id="5" >M</Message></SPStatus></Application></Device>)"
        R"(<SPStatus result = "false" ><Message id="5" >M</Message></SPStatus>)");
}

TEST_F(UpdateXMLWriter, WritesValuesUnescaped) {
    EXPECT_EQ(contentOf({withRawValues(controller())}),
              "<Device  componentID=\"&<\"C\" display=\"&<\"D\" enum = \"&<\"E\" ><Application "
              "componentType=\"&<\"T\" "
              "version=\"&<\"V\" display=\"&<\"N\" ><SPStatus result = \"true\" ><Message id=\"5\" >&<\"M"
              "</Message></SPStatus></Application></Device>");
    EXPECT_EQ(contentOf({withRawValues(card())}),
              "<Device  vendorID=\"&<\"v\" deviceID=\"&<\"d\" subVendorID=\"&<\"sv\" subDeviceID=\"&<\"sd\" "
              "display=\"&<\"D\" enum = \"&<\"E\" ><Application componentType=\"&<\"T\" version=\"&<\"V\" "
              "display=\"&<\"N\" ><SPStatus result = \"true\" ><Message id=\"5\" >&<\"M"
              "</Message></SPStatus></Application></Device>");
}

// The reboot.

TEST_F(UpdateXMLWriter, WritesOneRebootElementAtTheEnd) {
    const std::string devices = contentOf({controller(), card()});
    EXPECT_EQ(contentOf({controller(), needingReboot(card())}), devices + kReboot);
    EXPECT_EQ(contentOf({needingReboot(controller()), card()}), devices + kReboot);
    EXPECT_EQ(contentOf({needingReboot(controller()), needingReboot(card())}), devices + kReboot);
}

TEST_F(UpdateXMLWriter, IgnoresTheRebootOfAFailedDevice) {
    EXPECT_EQ(contentOf({needingReboot(failed(controller()))}),
              R"(<SPStatus result = "false" ><Message id="5" >M</Message></SPStatus>)");
}

TEST_F(UpdateXMLWriter, IgnoresTheRebootOfAnOmittedDevice) {
    EXPECT_EQ(contentOf({needingReboot(ofUnknownType())}), "");
}

TEST_F(UpdateXMLWriter, CarriesNoRebootOver) {
    std::vector<CDeviceInfo> records = {needingReboot(controller())};
    CUpdateXMLWriter writer;
    EXPECT_TRUE(writer.GetXML(pointersTo(records), file_.string()));
    EXPECT_TRUE(writer.GetXML({}, file_.string()));
    EXPECT_EQ(readFile(file_), kNoDevices);
}

// The file.

TEST_F(UpdateXMLWriter, EmptiesAnExistingFile) {
    writeFile(file_, std::string(4096, 'x'));
    EXPECT_EQ(reportOf({}), kNoDevices);
}

TEST_F(UpdateXMLWriter, CompletesTheFileBeforeItReturns) {
    CUpdateXMLWriter writer;
    EXPECT_TRUE(writer.GetXML({}, file_.string()));
    EXPECT_EQ(readFile(file_), kNoDevices);
}

TEST_F(UpdateXMLWriter, WritesAndLogsNoFileWithoutAName) {
    const WorkingDirectory here(folder_.path());
    {
        CUpdateXMLWriter writer;
        log_.emplace();
        EXPECT_TRUE(writer.GetXML({}, ""));
        EXPECT_THAT(
            log_->messages(),
            ElementsAre("CUpdateXMLWriter::GetXML() Entering",                                            //
                        "CUpdateXMLWriter::addXMLHeader() In addXMLHeader Method",                        //
                        "CUpdateXMLWriter::addUpdateHeader() In addUpdateHeader Method",                  //
                        "CUpdateXMLWriter::addRebootRequiredStatus() In addRebootRequiredStatus Method",  //
                        "CUpdateXMLWriter::addUpdateFooter() In addUpdateFooter Method",                  //
                        "CUpdateXMLWriter::print() Entering",                                             //
                        "CUpdateXMLWriter::print() Exiting",                                              //
                        "CUpdateXMLWriter::GetXML() Exiting"));
    }
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
}

TEST_F(UpdateXMLWriter, LogsAFileThatCannotBeOpenedAsOpened) {
    CUpdateXMLWriter writer;
    log_.emplace();
    EXPECT_TRUE(writer.GetXML({}, (folder_ / "no folder/report.xml").string()));
    EXPECT_THAT(
        log_->messages(),
        ElementsAre("CUpdateXMLWriter::GetXML() Entering",                                            //
                    "CUpdateXMLWriter::GetXML() udpate xml file opened",                              //
                    "CUpdateXMLWriter::addXMLHeader() In addXMLHeader Method",                        //
                    "CUpdateXMLWriter::addUpdateHeader() In addUpdateHeader Method",                  //
                    "CUpdateXMLWriter::addRebootRequiredStatus() In addRebootRequiredStatus Method",  //
                    "CUpdateXMLWriter::addUpdateFooter() In addUpdateFooter Method",                  //
                    "CUpdateXMLWriter::print() Entering",                                             //
                    "CUpdateXMLWriter::print() Exiting",                                              //
                    "CUpdateXMLWriter::GetXML() Exiting"));
}

TEST_F(UpdateXMLWriter, WritesAnUnwrittenReportBeforeTheNext) {
    CUpdateXMLWriter writer;
    EXPECT_TRUE(writer.GetXML({}, ""));
    EXPECT_TRUE(writer.GetXML({}, file_.string()));
    EXPECT_EQ(readFile(file_), std::string(kNoDevices) + kNoDevices);
}

TEST_F(UpdateXMLWriter, LogsAnExceptionWhileOpeningUnderTheInventoryWritersName) {
    CUpdateXMLWriter writer;
    log_.emplace();
    {
        const FailingAllocation failing(BUFSIZ);  // the file stream's buffer
        EXPECT_FALSE(writer.GetXML({}, file_.string()));
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_THAT(
        log_->messages(),
        ElementsAre("CUpdateXMLWriter::GetXML() Entering",
                    "CInventoryXMLWriter::GetXML() exception caught during file opening std::bad_alloc"));
}

TEST_F(UpdateXMLWriter, LogsAndContainsAnExceptionWhileWriting) {
    CDeviceInfo device = failed(controller());
    device.setErrorMsg(std::string(5000, 'x'));
    const std::size_t textSize = reportOf({device}).size() + 1;
    CUpdateXMLWriter writer;
    log_.emplace();
    {
        const FailingAllocation failing(textSize);  // the copy of the report's text
        EXPECT_TRUE(writer.GetXML({&device}, file_.string()));
        EXPECT_TRUE(failing.happened());
    }
    const std::vector<std::string> log = log_->messages();
    ASSERT_GE(log.size(), 3U);
    EXPECT_EQ(log[log.size() - 3], "CUpdateXMLWriter::print() Entering");
    EXPECT_EQ(log[log.size() - 2],
              "CUpdateXMLWriter::print() exception caught during file is_open function std::bad_alloc");
    EXPECT_EQ(log[log.size() - 1], "CUpdateXMLWriter::GetXML() Exiting");
    EXPECT_EQ(readFile(file_), "");
}

TEST_F(UpdateXMLWriter, ContainsAnExceptionOfTheFirstLineOfPrint) {
    constexpr char kEntering[] = "CUpdateXMLWriter::print() Entering";
    CUpdateXMLWriter writer;
    log_.emplace();
    {
        const FailingAllocation failing(sizeof kEntering);  // the line's text
        EXPECT_NO_THROW(writer.print());
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_THAT(
        log_->messages(),
        ElementsAre(
            "CUpdateXMLWriter::print() exception caught during file is_open function std::bad_alloc"));
}

TEST_F(UpdateXMLWriter, LetsAnExceptionOfTheLogOutAfterTheOpening) {
    constexpr char kOpened[] = "CUpdateXMLWriter::GetXML() udpate xml file opened";
    CUpdateXMLWriter writer;
    log_.emplace();
    {
        const FailingAllocation failing(sizeof kOpened);  // the line's text
        EXPECT_THROW(writer.GetXML({}, file_.string()), std::bad_alloc);
        EXPECT_TRUE(failing.happened());
    }
    EXPECT_THAT(log_->messages(), ElementsAre("CUpdateXMLWriter::GetXML() Entering"));
    EXPECT_TRUE(std::filesystem::exists(file_));
}

// The log, and the steps by themselves.

TEST_F(UpdateXMLWriter, LogsEachStep) {
    std::vector<CDeviceInfo> records = {controller(), needingReboot(card()), failed(card()), ofUnknownType()};
    {
        CUpdateXMLWriter writer;
        EXPECT_TRUE(writer.GetXML(pointersTo(records), file_.string()));
    }
    EXPECT_THAT(
        log_->messages(),
        ElementsAre("CUpdateXMLWriter::CUpdateXMLWriter() In Constructor Method",                     //
                    "CUpdateXMLWriter::GetXML() Entering",                                            //
                    "CUpdateXMLWriter::GetXML() udpate xml file opened",                              //
                    "CUpdateXMLWriter::addXMLHeader() In addXMLHeader Method",                        //
                    "CUpdateXMLWriter::addUpdateHeader() In addUpdateHeader Method",                  //
                    "CUpdateXMLWriter::GetXML() Found one Non PCI Device",                            //
                    "CUpdateXMLWriter::GetXML() Found one PCI Device",                                //
                    "CUpdateXMLWriter::GetXML() Update failed for one Device",                        //
                    "CUpdateXMLWriter::addRebootRequiredStatus() In addRebootRequiredStatus Method",  //
                    "CUpdateXMLWriter::addRebootRequiredStatus() Device need reboot",                 //
                    "CUpdateXMLWriter::addUpdateFooter() In addUpdateFooter Method",                  //
                    "CUpdateXMLWriter::print() Entering",                                             //
                    "CUpdateXMLWriter::print() copying the contents to Update XML file",              //
                    "CUpdateXMLWriter::print() Exiting",                                              //
                    "CUpdateXMLWriter::GetXML() Exiting",                                             //
                    "CUpdateXMLWriter::~CUpdateXMLWriter() In Destructor Method"));
    for (const LogLine& line : log_->lines()) {
        EXPECT_EQ(line.source, "UpdateXMLWriter");
    }
}

TEST_F(UpdateXMLWriter, AddsEachPieceByItsOwnCall) {
    CUpdateXMLWriter writer;
    writer.addUpdateFooter();
    writer.addRebootRequiredStatus(false);
    writer.addRebootRequiredStatus(true);
    writer.addUpdateHeader();
    writer.addXMLHeader();
    writer.print();
    EXPECT_TRUE(writer.GetXML({}, file_.string()));
    EXPECT_EQ(readFile(file_), std::string("</SVMExecution>") + kReboot +
                                   R"(<SVMExecution lang="en"><?xml version="1.0" encoding="UTF-8"?>)" +
                                   kNoDevices);
}

}  // namespace
}  // namespace test
