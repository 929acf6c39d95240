// The formats of docs/formats.md: what fits their schemas, and what must not.
#include "CaseFile.h"
#include "DeviceWriterTest.h"
#include "InventoryXMLWriter.h"
#include "UpdateXMLWriter.h"
#include "XmlReading.h"

#include <libxml/relaxng.h>

#include <algorithm>
#include <array>

namespace test {
namespace {

namespace fs = std::filesystem;

void silence(void*, const char*, ...) {}

/** A compiled schema of docs/schemas. */
class Schema {
public:
    explicit Schema(const std::string& name) {
        const fs::path file = fs::path(QRX_SOURCE_FOLDER) / "docs/schemas" / (name + ".rng");
        xmlRelaxNGParserCtxt* parser = xmlRelaxNGNewParserCtxt(file.c_str());
        schema_ = xmlRelaxNGParse(parser);
        xmlRelaxNGFreeParserCtxt(parser);
        EXPECT_NE(schema_, nullptr) << file;
    }
    ~Schema() { xmlRelaxNGFree(schema_); }
    Schema(const Schema&) = delete;
    Schema& operator=(const Schema&) = delete;

    /** Whether the text is a document, and one that fits. */
    bool accepts(const std::string& text) const {
        const XmlDocPtr doc(xmlReadMemory(text.data(), static_cast<int>(text.size()), "document", nullptr,
                                          XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET));
        if (!doc) {
            return false;
        }
        xmlRelaxNGValidCtxt* validation = xmlRelaxNGNewValidCtxt(schema_);
        xmlRelaxNGSetValidErrors(validation, silence, silence, nullptr);
        const int result = xmlRelaxNGValidateDoc(validation, doc.get());
        xmlRelaxNGFreeValidCtxt(validation);
        return result == 0;
    }

private:
    xmlRelaxNG* schema_;
};

bool isWellFormed(const std::string& text) {
    return XmlDocPtr(xmlReadMemory(text.data(), static_cast<int>(text.size()), "document", nullptr,
                                   XML_PARSE_NOERROR | XML_PARSE_NOWARNING | XML_PARSE_NONET)) != nullptr;
}

/** The documents of an output, which follow one another without anything between them. */
std::vector<std::string> documentsOf(const std::string& output) {
    constexpr std::string_view kDeclaration = "<?xml";
    std::vector<std::string> documents;
    std::size_t start = output.find(kDeclaration);
    while (start != std::string::npos) {
        const std::size_t next = output.find(kDeclaration, start + 1);
        documents.push_back(output.substr(start, next - start));
        start = next;
    }
    return documents;
}

/** Well-formed documents that must not fit, each with what is wrong about it. */
struct Misfit {
    const char* wrong;
    const char* document;
};

void expectMisfits(const std::string& schema, const std::vector<Misfit>& misfits) {
    const Schema compiled(schema);
    for (const auto& [wrong, document] : misfits) {
        EXPECT_TRUE(isWellFormed(document)) << wrong;
        EXPECT_FALSE(compiled.accepts(document)) << wrong;
    }
}

// package.xml.

constexpr const char* kFullPackage =
    R"(<SoftwareComponent vendorVersion="1.40.200"><ComponentType value="FRMW"/>
  <SupportedDevices><Device componentID="25227">
    <PCIInfo vendorID="14e4" deviceID="1657" subVendorID="1028" subDeviceID="8"/>
    <PCIInfo vendorID="14e4" deviceID="1658" subVendorID="1028" subDeviceID="9"/>
    <Display>Chassis controller firmware</Display>
    <SoftDependency componentID="160" componentType="FRMW" version="3" path="idrac.bin"/>
    <RollbackInformation/>
    <Dependency componentID="159" componentType="BIOS" version="2.1" path="bios\159.bin" releaseID="R1">
      <PCIInfo vendorID="1" deviceID="2" subVendorID="3" subDeviceID="4"/>
      <Detail>Update the BIOS first.</Detail><Display>Server BIOS</Display></Dependency>
  </Device><Device componentID="2"/></SupportedDevices></SoftwareComponent>)";

TEST(SchemaOfPackages, AcceptsTheShippedPackage) {
    EXPECT_TRUE(Schema("package").accepts(readFile(fs::path(QRX_SOURCE_FOLDER) / "package/package.xml")));
}

TEST(SchemaOfPackages, AcceptsAPackageWithEverything) {
    EXPECT_TRUE(Schema("package").accepts(kFullPackage));
}

TEST(SchemaOfPackages, RefusesDocumentsThatDoNotConform) {
    expectMisfits(
        "package",
        {
            {"another root", "<Package/>"},
            {"no version",
             R"(<SoftwareComponent><ComponentType value="F"/><SupportedDevices><Device componentID="1"/></SupportedDevices></SoftwareComponent>)"},
            {"an empty version",
             R"(<SoftwareComponent vendorVersion=""><ComponentType value="F"/><SupportedDevices><Device componentID="1"/></SupportedDevices></SoftwareComponent>)"},
            {"no component type",
             R"(<SoftwareComponent vendorVersion="1"><SupportedDevices><Device componentID="1"/></SupportedDevices></SoftwareComponent>)"},
            {"two component types",
             R"(<SoftwareComponent vendorVersion="1"><ComponentType value="F"/><ComponentType value="G"/><SupportedDevices><Device componentID="1"/></SupportedDevices></SoftwareComponent>)"},
            {"no device",
             R"(<SoftwareComponent vendorVersion="1"><ComponentType value="F"/><SupportedDevices/></SoftwareComponent>)"},
            {"a device without an id",
             R"(<SoftwareComponent vendorVersion="1"><ComponentType value="F"/><SupportedDevices><Device/></SupportedDevices></SoftwareComponent>)"},
            {"a device with an empty id",
             R"(<SoftwareComponent vendorVersion="1"><ComponentType value="F"/><SupportedDevices><Device componentID=""/></SupportedDevices></SoftwareComponent>)"},
            {"an empty name",
             R"(<SoftwareComponent vendorVersion="1"><ComponentType value="F"/><SupportedDevices><Device componentID="1"><Display/></Device></SupportedDevices></SoftwareComponent>)"},
            {"a name before the PCIInfo",
             R"(<SoftwareComponent vendorVersion="1"><ComponentType value="F"/><SupportedDevices><Device componentID="1"><Display>N</Display><PCIInfo vendorID="1" deviceID="2" subVendorID="3" subDeviceID="4"/></Device></SupportedDevices></SoftwareComponent>)"},
            {"a PCIInfo that lacks an id",
             R"(<SoftwareComponent vendorVersion="1"><ComponentType value="F"/><SupportedDevices><Device componentID="1"><PCIInfo vendorID="1" deviceID="2" subVendorID="3"/></Device></SupportedDevices></SoftwareComponent>)"},
            {"a dependency without a path",
             R"(<SoftwareComponent vendorVersion="1"><ComponentType value="F"/><SupportedDevices><Device componentID="1"><Dependency componentID="1" componentType="T" version="V"/></Device></SupportedDevices></SoftwareComponent>)"},
            {"a misspelt element",
             R"(<SoftwareComponent vendorVersion="1"><ComponentType value="F"/><SupportedDevices><Device componentID="1"><Dependancy/></Device></SupportedDevices></SoftwareComponent>)"},
        });
}

// What the program reports, as tests/system expects it.

const fs::path kCases = fs::path(QRX_SOURCE_FOLDER) / "tests/system/cases";

/** The reports that the cases of the whole program expect, by name of the case. */
std::vector<std::pair<std::string, std::string>> expectedReports() {
    std::vector<std::pair<std::string, std::string>> reports;
    for (const auto& entry : fs::directory_iterator(kCases)) {
        const Case sections = readCase(entry.path());
        for (const char* name : {"after/report.xml", "stdout"}) {
            if (const auto section = sections.find(name); section != sections.end()) {
                for (std::string& document : documentsOf(section->second)) {
                    reports.emplace_back(entry.path().stem(), std::move(document));
                }
            }
        }
    }
    return reports;
}

/** Cases about values that, written as they are, break the document. */
constexpr std::array kBrokenByValues = {"inventory-values-raw", "update-values-raw"};

TEST(SchemaOfReports, AcceptsEveryReportUnlessValuesBreakIt) {
    const Schema inventory("SVMInventory");
    const Schema execution("SVMExecution");
    std::size_t fitting = 0;
    for (const auto& [name, report] : expectedReports()) {
        if (std::find(kBrokenByValues.begin(), kBrokenByValues.end(), name) != kBrokenByValues.end()) {
            continue;
        }
        const bool isInventory = report.find("<SVMInventory") != std::string::npos;
        EXPECT_TRUE((isInventory ? inventory : execution).accepts(report)) << name << ": " << report;
        EXPECT_FALSE((isInventory ? execution : inventory).accepts(report)) << name;
        ++fitting;
    }
    EXPECT_GT(fitting, 50U);
}

TEST(SchemaOfReports, RejectsAReportThatValuesBreakAsXml) {
    std::size_t broken = 0;
    for (const auto& [name, report] : expectedReports()) {
        if (name == "inventory-values-raw" || name == "update-values-raw") {
            EXPECT_FALSE(isWellFormed(report)) << name;
            ++broken;
        }
    }
    EXPECT_EQ(broken, 2U);
}

TEST(SchemaOfReports, RejectsTwoReportsInOneFile) {
    const std::string both = readCase(kCases / "both-in-one-file.txt").at("after/report.xml");
    EXPECT_FALSE(isWellFormed(both));
    EXPECT_EQ(documentsOf(both).size(), 2U);
}

TEST(SchemaOfReports, RefusesInventoriesThatDoNotConform) {
    expectMisfits(
        "SVMInventory",
        {
            {"another root", R"(<SVMExecution lang="en"/>)"},
            {"no language", "<SVMInventory/>"},
            {"another language", R"(<SVMInventory lang="de"/>)"},
            {"a device without an id",
             R"(<SVMInventory lang="en"><Device display="D"><Application componentType="T" version="V" display="N"/></Device></SVMInventory>)"},
            {"a PCI device",
             R"(<SVMInventory lang="en"><Device vendorID="1" deviceID="2" subVendorID="3" subDeviceID="4" display="D"><Application componentType="T" version="V" display="N"/></Device></SVMInventory>)"},
            {"an enumerator",
             R"(<SVMInventory lang="en"><Device componentID="1" display="D" enum="E"><Application componentType="T" version="V" display="N"/></Device></SVMInventory>)"},
            {"no application",
             R"(<SVMInventory lang="en"><Device componentID="1" display="D"/></SVMInventory>)"},
            {"no version",
             R"(<SVMInventory lang="en"><Device componentID="1" display="D"><Application componentType="T" display="N"/></Device></SVMInventory>)"},
            {"a success status",
             R"(<SVMInventory lang="en"><SPStatus result="true"><Message id="0"/></SPStatus></SVMInventory>)"},
            {"a failure in a device",
             R"(<SVMInventory lang="en"><Device componentID="1" display="D"><SPStatus result="false"><Message id="1"/></SPStatus></Device></SVMInventory>)"},
            {"a message id that is no number",
             R"(<SVMInventory lang="en"><SPStatus result="false"><Message id="one">M</Message></SPStatus></SVMInventory>)"},
            {"no message", R"(<SVMInventory lang="en"><SPStatus result="false"/></SVMInventory>)"},
            {"a reboot", R"(<SVMInventory lang="en"><RebootRequired>1</RebootRequired></SVMInventory>)"},
        });
}

TEST(SchemaOfReports, RefusesExecutionsThatDoNotConform) {
    expectMisfits(
        "SVMExecution",
        {
            {"another root", R"(<SVMInventory lang="en"/>)"},
            {"a device without a reboot element",
             R"(<SVMExecution lang="en"><Device componentID="1" display="D"><Application componentType="T" version="V" display="N" packageVersion="V"><SPStatus result="true"><Message id="0">M</Message></SPStatus></Application></Device></SVMExecution>)"},
            {"a reboot that is neither 0 nor 1",
             R"(<SVMExecution lang="en"><Device componentID="1" display="D"><Application componentType="T" version="V" display="N" packageVersion="V"><SPStatus result="true"><Message id="0">M</Message></SPStatus></Application></Device><RebootRequired>true</RebootRequired></SVMExecution>)"},
            {"no package version",
             R"(<SVMExecution lang="en"><Device componentID="1" display="D"><Application componentType="T" version="V" display="N"><SPStatus result="true"><Message id="0">M</Message></SPStatus></Application></Device><RebootRequired>0</RebootRequired></SVMExecution>)"},
            {"an application without a status",
             R"(<SVMExecution lang="en"><Device componentID="1" display="D"><Application componentType="T" version="V" display="N" packageVersion="V"/></Device><RebootRequired>0</RebootRequired></SVMExecution>)"},
            {"a device that failed",
             R"(<SVMExecution lang="en"><Device componentID="1" display="D"><Application componentType="T" version="V" display="N" packageVersion="V"><SPStatus result="false"><Message id="1">M</Message></SPStatus></Application></Device><RebootRequired>0</RebootRequired></SVMExecution>)"},
        });
}

// What the device writers write.

class SchemaOfDeviceInventories : public DeviceWriterTest<CInventoryXMLWriter> {};
class SchemaOfDeviceExecutions : public DeviceWriterTest<CUpdateXMLWriter> {};

CDeviceInfo withoutEnumerator(CDeviceInfo device) {
    device.setEnumId("");
    return device;
}

std::vector<CDeviceInfo> everyKind() {
    CDeviceInfo rebooting = card();
    rebooting.setRebootRequired(true);
    return {controller(),  card(), rebooting, withoutEnumerator(controller()), withoutEnumerator(card()),
            failed(card())};
}

TEST_F(SchemaOfDeviceInventories, AcceptsTheWritersDocuments) {
    const Schema schema("SVMInventory-devices");
    EXPECT_TRUE(schema.accepts(reportOf({})));
    EXPECT_TRUE(schema.accepts(reportOf(everyKind())));
    EXPECT_FALSE(schema.accepts(reportOf({withRawValues(card())})));
    EXPECT_FALSE(Schema("SVMInventory").accepts(readFile(file_)));
}

TEST_F(SchemaOfDeviceExecutions, AcceptsTheWritersDocuments) {
    const Schema schema("SVMExecution-devices");
    EXPECT_TRUE(schema.accepts(reportOf({})));
    EXPECT_TRUE(schema.accepts(reportOf(everyKind())));
    EXPECT_FALSE(Schema("SVMExecution").accepts(readFile(file_)));
    EXPECT_FALSE(schema.accepts(reportOf({withRawValues(card())})));
}

TEST(SchemaOfDeviceReports, RefusesDocumentsThatDoNotConform) {
    expectMisfits(
        "SVMInventory-devices",
        {
            {"component id and PCI ids",
             R"(<SVMInventory lang="en"><Device componentID="1" vendorID="1" deviceID="2" subVendorID="3" subDeviceID="4" display="D"><Application componentType="T" version="V" display="N"/></Device></SVMInventory>)"},
            {"a PCI device that lacks an id",
             R"(<SVMInventory lang="en"><Device vendorID="1" deviceID="2" subVendorID="3" display="D"><Application componentType="T" version="V" display="N"/></Device></SVMInventory>)"},
            {"an empty enumerator",
             R"(<SVMInventory lang="en"><Device componentID="1" display="D" enum=""><Application componentType="T" version="V" display="N"/></Device></SVMInventory>)"},
        });
    expectMisfits(
        "SVMExecution-devices",
        {
            {"a reboot that is not required",
             R"(<SVMExecution lang="en"><RebootRequired>0</RebootRequired></SVMExecution>)"},
            {"a reboot before the end",
             R"(<SVMExecution lang="en"><RebootRequired>1</RebootRequired><SPStatus result="false"><Message id="1"/></SPStatus></SVMExecution>)"},
            {"two reboots",
             R"(<SVMExecution lang="en"><RebootRequired>1</RebootRequired><RebootRequired>1</RebootRequired></SVMExecution>)"},
            {"a package version",
             R"(<SVMExecution lang="en"><Device componentID="1" display="D"><Application componentType="T" version="V" display="N" packageVersion="V"><SPStatus result="true"><Message id="0">M</Message></SPStatus></Application></Device></SVMExecution>)"},
        });
}

// PIEConfig.

TEST(SchemaOfPieConfigs, AcceptsAConfigurationWithSeveralPlugins) {
    EXPECT_TRUE(
        Schema("PIEConfig")
            .accepts(
                R"(<PIEConfig><Plugins><Plugin description="Inventory" type="0" timeout="600"><CliToFile>)"
                R"(<Command>qrxupdate -i -o inventory.xml</Command><Output>inventory.xml</Output></CliToFile></Plugin>)"
                R"(<Plugin description="Update" type="1" timeout="3600"><CliToFile><Output>update.xml</Output>)"
                R"(<Command>qrxupdate -u -o update.xml</Command></CliToFile></Plugin></Plugins></PIEConfig>)"));
}

TEST(SchemaOfPieConfigs, RefusesDocumentsThatDoNotConform) {
    expectMisfits(
        "PIEConfig",
        {
            {"another root", "<Plugins/>"},
            {"no plug-in", "<PIEConfig><Plugins/></PIEConfig>"},
            {"no time-out",
             R"(<PIEConfig><Plugins><Plugin description="Inventory" type="0"><CliToFile><Command>c</Command><Output>o</Output></CliToFile></Plugin></Plugins></PIEConfig>)"},
            {"a time-out with a unit",
             R"(<PIEConfig><Plugins><Plugin description="Inventory" type="0" timeout="30s"><CliToFile><Command>c</Command><Output>o</Output></CliToFile></Plugin></Plugins></PIEConfig>)"},
            {"a type that is no number",
             R"(<PIEConfig><Plugins><Plugin description="Inventory" type="x" timeout="30"><CliToFile><Command>c</Command><Output>o</Output></CliToFile></Plugin></Plugins></PIEConfig>)"},
            {"no output",
             R"(<PIEConfig><Plugins><Plugin description="Inventory" type="0" timeout="30"><CliToFile><Command>c</Command></CliToFile></Plugin></Plugins></PIEConfig>)"},
            {"an empty command",
             R"(<PIEConfig><Plugins><Plugin description="Inventory" type="0" timeout="30"><CliToFile><Command/><Output>o</Output></CliToFile></Plugin></Plugins></PIEConfig>)"},
            {"two commands",
             R"(<PIEConfig><Plugins><Plugin description="Inventory" type="0" timeout="30"><CliToFile><Command>c</Command><Command>d</Command><Output>o</Output></CliToFile></Plugin></Plugins></PIEConfig>)"},
        });
}

}  // namespace
}  // namespace test
