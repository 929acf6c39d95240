#include "FailingAllocation.h"
#include "PackageReaderTest.h"

#include <algorithm>
#include <memory>

namespace test {
namespace {

using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Not;

using Records = std::vector<std::unique_ptr<CDeviceInfo>>;

constexpr const char* kBaseUrl = "http://downloads.example/";

Records owned(const std::vector<CDeviceInfo*>& devices) {
    Records records;
    for (CDeviceInfo* device : devices) {
        records.emplace_back(device);
    }
    return records;
}

/** Component id, type, version, display and detail. */
std::string textOf(const CDeviceInfo& record) {
    return record.getComponentID() + "|" + record.getComponentType() + "|" + record.getVersion() + "|" +
           record.getDisplay() + "|" + record.getDetail();
}

/** Device, sub-device, vendor and sub-vendor id. */
std::string idsOf(const CDeviceInfo& record) {
    const SPCIInfo ids = record.getPCIInfo();
    EXPECT_EQ(ids.componentID, "");
    EXPECT_EQ(ids.marketingName, "");
    return ids.deviceID + "|" + ids.subDeviceID + "|" + ids.vendorID + "|" + ids.subVendorID;
}

constexpr const char* kDuplicate = "CSoftwareComponentInfo::AddDependencyInfo() Found a duplicate entry";
constexpr const char* kAddingPci =
    "CSoftwareComponentInfo::getDependencyInfo() Adding dependency info for a PCI Device";
constexpr const char* kNoMemory =
    "CSoftwareComponentInfo::getDependencyInfo() new  ( std::nothrow ) CDeviceInfo() failed";

std::string missing(const std::string& what) {
    return "CSoftwareComponentInfo::getDependencyInfo() failed to get the " + what +
           " info from package.xml for dependent device";
}

class SoftwareComponentInfoDependencies : public PackageReaderTest {
protected:
    Records recordsIn(std::string_view devices) {
        setDevices(devices);
        return owned(CSoftwareComponentInfo().getDependencyInfo());
    }

    /** The component ids of the records, in order. */
    std::vector<std::string> componentsIn(std::string_view devices) {
        std::vector<std::string> ids;
        for (const auto& record : recordsIn(devices)) {
            ids.push_back(record->getComponentID());
        }
        return ids;
    }

    std::vector<std::string> identitiesIn(std::string_view devices) {
        std::vector<std::string> identities;
        for (const auto& record : recordsIn(devices)) {
            identities.push_back(idsOf(*record));
        }
        return identities;
    }

    std::vector<std::string> logOfDependencies() {
        return logOf([](CSoftwareComponentInfo& reader) { owned(reader.getDependencyInfo()); });
    }
};

TEST_F(SoftwareComponentInfoDependencies, ReadsAHardDependency) {
    const Records records = recordsIn(
        R"(<Device componentID="P"><Dependency componentID="C" componentType="BIOS" version="1.2" )"
        R"(path="a\b.bin" releaseID="R1"><Display>Name</Display><Detail>More</Detail></Dependency></Device>)");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(textOf(*records[0]), "C|BIOS|1.2|Name|More");
    EXPECT_EQ(records[0]->getParentComponentID(), "P");
    EXPECT_EQ(records[0]->getReleaseID(), "R1");
    EXPECT_EQ(records[0]->getFilePath(), std::string(kBaseUrl) + "a/b.bin");
    EXPECT_EQ(records[0]->getDependencyType(), CDeviceInfo::HARD_DEPENDENCY);
    EXPECT_EQ(records[0]->getDeviceType(), CDeviceInfo::NON_PCI_DEVICE);
    EXPECT_EQ(idsOf(*records[0]), "|||");
    EXPECT_EQ(records[0]->getStatus(), -1);
}

TEST_F(SoftwareComponentInfoDependencies, ReadsASoftDependency) {
    const Records records = recordsIn(R"(<Device><SoftDependency componentID="C"/></Device>)");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0]->getDependencyType(), CDeviceInfo::SOFT_DEPENDENCY);
    EXPECT_EQ(records[0]->getDeviceType(), CDeviceInfo::NON_PCI_DEVICE);
}

TEST_F(SoftwareComponentInfoDependencies, ReturnsHardAndSoftOnesInDocumentOrder) {
    EXPECT_THAT(
        componentsIn(R"(<Device><SoftDependency componentID="1"/><Dependency componentID="2"/></Device>)"
                     R"(<Device/><Device><Dependency componentID="3"/><Display/>)"
                     R"(<SoftDependency componentID="4"/><Dependency componentID="5"/></Device>)"),
        ElementsAre("1", "2", "3", "4", "5"));
}

TEST_F(SoftwareComponentInfoDependencies, ReadsOnlyChildrenOfSupportedDevicesWithTheExactName) {
    EXPECT_THAT(
        componentsIn(
            R"(<Dependency componentID="1"/><Device><dependency componentID="2"/>)"
            R"(<Group><Dependency componentID="3"/><SoftDependency/></Group><SOFTDEPENDENCY componentID="4"/>)"
            R"(<!--Dependency--><?Dependency x?></Device>)"),
        IsEmpty());
}

TEST_F(SoftwareComponentInfoDependencies, KeepsAHardAndASoftOneWithTheSameAttributes) {
    const Records records =
        recordsIn(R"(<Device><Dependency componentID="C"/><SoftDependency componentID="C"/></Device>)");
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0]->getDependencyType(), CDeviceInfo::HARD_DEPENDENCY);
    EXPECT_EQ(records[1]->getDependencyType(), CDeviceInfo::SOFT_DEPENDENCY);
}

TEST_F(SoftwareComponentInfoDependencies, ReturnsOneRecordOfTwoIdenticalOnes) {
    setDevices(R"(<Device><Dependency componentID="C"/><Dependency componentID="C"/></Device>)");
    EXPECT_EQ(owned(CSoftwareComponentInfo().getDependencyInfo()).size(), 1U);
    const std::vector<std::string> log = logOfDependencies();
    EXPECT_EQ(std::count(log.begin(), log.end(), kDuplicate), 1);
}

TEST_F(SoftwareComponentInfoDependencies, IgnoresReleaseIdAndParentInComparisons) {
    const Records records =
        recordsIn(R"(<Device componentID="P1"><Dependency componentID="C" releaseID="1"/></Device>)"
                  R"(<Device componentID="P2"><Dependency componentID="C" releaseID="2"/></Device>)");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0]->getParentComponentID(), "P1");
    EXPECT_EQ(records[0]->getReleaseID(), "1");
}

TEST_F(SoftwareComponentInfoDependencies, ComparesEachValue) {
    EXPECT_EQ(
        recordsIn(
            R"(<Device><Dependency componentID="C"/><Dependency componentID="D"/>)"
            R"(<Dependency componentID="C" componentType="T"/><Dependency componentID="C" version="V"/>)"
            R"(<Dependency componentID="C" path="a/b"/><Dependency componentID="C" path="a\b"/>)"
            R"(<Dependency componentID="C"><Display>x</Display></Dependency>)"
            R"(<Dependency componentID="C"><Detail>x</Detail></Dependency>)"
            R"(<Dependency componentID="C"><PCIInfo deviceID="1"/></Dependency></Device>)")
            .size(),
        9U);
}

TEST_F(SoftwareComponentInfoDependencies, TreatsAnEmptyAttributeAsAbsent) {
    setDevices(R"(<Device componentID=""><Dependency componentID="" componentType="" version="" path="" )"
               R"(releaseID=""/></Device>)");
    EXPECT_THAT(
        logOfDependencies(),
        ElementsAre(package_.exists("package.xml"),                                      //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",                     //
                    "CSoftwareComponentInfo::GetNodeSet() Exiting",                      //
                    "CSoftwareComponentInfo::getDependencyInfo() Entered Method",        //
                    "CSoftwareComponentInfo::getDependencyInfo() Found HardDependency",  //
                    "CSoftwareComponentInfo::getDependencyInfo() failed to get the parent componentID info "
                    "from package.xml",                                                    //
                    missing("componentID"), missing("componentType"), missing("version"),  //
                    missing("path"), missing("releaseID"),                                 //
                    "CSoftwareComponentInfo::getDependencyInfo() Exiting"));
}

TEST_F(SoftwareComponentInfoDependencies, ReturnsOneWithoutAPathAndLogsIt) {
    setDevices(
        R"(<Device componentID="P"><Dependency componentID="C" componentType="T" version="V" releaseID="R"/>)"
        R"(</Device>)");
    const Records records = owned(CSoftwareComponentInfo().getDependencyInfo());
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0]->getFilePath(), kBaseUrl);
    EXPECT_THAT(
        logOfDependencies(),
        ElementsAre(package_.exists("package.xml"),                                      //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",                     //
                    "CSoftwareComponentInfo::GetNodeSet() Exiting",                      //
                    "CSoftwareComponentInfo::getDependencyInfo() Entered Method",        //
                    "CSoftwareComponentInfo::getDependencyInfo() Found HardDependency",  //
                    "CSoftwareComponentInfo::getDependencyInfo() got the parent componentID info from "
                    "package.xml",    //
                    missing("path"),  //
                    "CSoftwareComponentInfo::getDependencyInfo() Exiting"));
}

TEST_F(SoftwareComponentInfoDependencies, LogsEachMissingAttribute) {
    for (const std::string name : {"componentID", "componentType", "version", "path", "releaseID"}) {
        std::string attributes;
        for (const std::string other : {"componentID", "componentType", "version", "path", "releaseID"}) {
            if (other != name) {
                attributes += " " + other + "=\"1\"";
            }
        }
        setDevices("<Device><Dependency" + attributes + "/></Device>");
        const std::vector<std::string> log = logOfDependencies();
        EXPECT_THAT(log, Contains(missing(name)));
        EXPECT_EQ(std::count_if(log.begin(), log.end(),
                                [](const std::string& line) {
                                    return line.ends_with("info from package.xml for dependent device");
                                }),
                  1)
            << name;
    }
}

TEST_F(SoftwareComponentInfoDependencies, UsesTheLastTextOfEachKind) {
    const Records records =
        recordsIn(R"(<Device><Dependency><DISPLAY>a</DISPLAY><Display>b</Display><Display/>)"
                  R"(<detail>c</detail><Detail>d</Detail><Detail/></Dependency></Device>)");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(textOf(*records[0]), "|||b|d");
}

TEST_F(SoftwareComponentInfoDependencies, LogsAnEmptyDisplayOrDetail) {
    setDevices(
        R"(<Device><SoftDependency componentID="C" componentType="T" version="V" path="p" releaseID="R">)"
        R"(<Display/><Detail></Detail><Display><b>x</b></Display><Detail><!--x--></Detail>)"
        R"(<?Display x?><!--Detail--><Other/></SoftDependency></Device>)");
    EXPECT_THAT(
        logOfDependencies(),
        ElementsAre(package_.exists("package.xml"),                                      //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",                     //
                    "CSoftwareComponentInfo::GetNodeSet() Exiting",                      //
                    "CSoftwareComponentInfo::getDependencyInfo() Entered Method",        //
                    "CSoftwareComponentInfo::getDependencyInfo() Found SoftDependecny",  //
                    "CSoftwareComponentInfo::getDependencyInfo() failed to get the parent componentID info "
                    "from package.xml",                                                            //
                    missing("Display"), missing("Detail"), missing("Display"), missing("Detail"),  //
                    "CSoftwareComponentInfo::getDependencyInfo() Exiting"));
}

// PCI dependencies.

TEST_F(SoftwareComponentInfoDependencies, ReadsAPciInfoWithTheIdsAsWritten) {
    const Records records =
        recordsIn(R"(<Device><Dependency componentID="C">)"
                  R"(<pciINFO deviceID="8" subDeviceID="0x9" vendorID="ab" subVendorID="Cd"/>)"
                  R"(</Dependency></Device>)");
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0]->getDeviceType(), CDeviceInfo::PCI_DEVICE);
    EXPECT_EQ(records[0]->getComponentID(), "C");
    EXPECT_EQ(idsOf(*records[0]), "8|0x9|ab|Cd");
}

TEST_F(SoftwareComponentInfoDependencies, ReturnsTwoRecordsForTwoPciInfos) {
    const Records records = recordsIn(
        R"(<Device componentID="P"><SoftDependency componentID="C" componentType="T" version="V" path="p" )"
        R"(releaseID="R"><PCIInfo deviceID="1"/><Display>N</Display><PCIInfo deviceID="2"/>)"
        R"(<Detail>D</Detail></SoftDependency></Device>)");
    ASSERT_EQ(records.size(), 2U);
    for (const auto& record : records) {
        EXPECT_EQ(textOf(*record), "C|T|V|N|D");
        EXPECT_EQ(record->getParentComponentID(), "P");
        EXPECT_EQ(record->getReleaseID(), "R");
        EXPECT_EQ(record->getFilePath(), std::string(kBaseUrl) + "p");
        EXPECT_EQ(record->getDependencyType(), CDeviceInfo::SOFT_DEPENDENCY);
        EXPECT_EQ(record->getDeviceType(), CDeviceInfo::PCI_DEVICE);
    }
    EXPECT_EQ(idsOf(*records[0]), "1|||");
    EXPECT_EQ(idsOf(*records[1]), "2|||");
}

TEST_F(SoftwareComponentInfoDependencies, TakesAMissingIdFromThePreviousPciInfo) {
    EXPECT_THAT(
        identitiesIn(R"(<Device><Dependency componentID="1">)"
                     R"(<PCIInfo deviceID="d" subDeviceID="e" vendorID="v" subVendorID="s"/></Dependency>)"
                     R"(<Dependency componentID="2"><PCIInfo deviceID="d2"/></Dependency></Device>)"
                     R"(<Device><SoftDependency componentID="3"/></Device>)"
                     R"(<Device><SoftDependency componentID="4"><PCIInfo vendorID="v4" deviceID=""/>)"
                     R"(<PCIInfo subVendorID="s5" subDeviceID="e5"/></SoftDependency></Device>)"),
        ElementsAre("d|e|v|s", "d2|e|v|s", "|||", "d2|e|v4|s", "d2|e5|v4|s5"));
}

TEST_F(SoftwareComponentInfoDependencies, LogsARefusedDuplicateOfAPciCopy) {
    setDevices(
        R"(<Device componentID="P"><Dependency componentID="C" componentType="T" version="V" path="p" )"
        R"(releaseID="R"><PCIInfo deviceID="1"/><PCIInfo deviceID="1"/></Dependency></Device>)");
    EXPECT_EQ(owned(CSoftwareComponentInfo().getDependencyInfo()).size(), 1U);
    EXPECT_THAT(
        logOfDependencies(),
        ElementsAre(package_.exists("package.xml"),                                      //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",                     //
                    "CSoftwareComponentInfo::GetNodeSet() Exiting",                      //
                    "CSoftwareComponentInfo::getDependencyInfo() Entered Method",        //
                    "CSoftwareComponentInfo::getDependencyInfo() Found HardDependency",  //
                    "CSoftwareComponentInfo::getDependencyInfo() got the parent componentID info from "
                    "package.xml",                                                     //
                    "CSoftwareComponentInfo::getDependencyInfo() Found a PCI Device",  //
                    "CSoftwareComponentInfo::getDependencyInfo() Found a PCI Device",  //
                    kAddingPci, kDuplicate, kAddingPci,                                //
                    "CSoftwareComponentInfo::getDependencyInfo() Exiting"));
    for (const LogLine& line : package_.lines()) {
        EXPECT_THAT(line.source, ::testing::AnyOf("SoftwareComponentInfo", "LinuxImpl"));
    }
}

// Failures.

TEST_F(SoftwareComponentInfoDependencies, ReturnsNoneWithoutAPackage) {
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { EXPECT_THAT(reader.getDependencyInfo(), IsEmpty()); }),
        ElementsAre(package_.doesNotExist("package.xml"),                          //
                    "CSoftwareComponentInfo::getDependencyInfo() Entered Method",  //
                    "CSoftwareComponentInfo::getDependencyInfo() ParseXmlUsingXpath failed"));
}

TEST_F(SoftwareComponentInfoDependencies, ReturnsNoneForAPackageWithoutDependencies) {
    setDevices(R"(<Device componentID="1"/>)");
    EXPECT_THAT(
        logOf([](CSoftwareComponentInfo& reader) { EXPECT_THAT(reader.getDependencyInfo(), IsEmpty()); }),
        ElementsAre(package_.exists("package.xml"),                                //
                    "CSoftwareComponentInfo::GetNodeSet() Entering",               //
                    "CSoftwareComponentInfo::GetNodeSet() Empty nodeset",          //
                    "CSoftwareComponentInfo::getDependencyInfo() Entered Method",  //
                    "CSoftwareComponentInfo::getDependencyInfo() ParseXmlUsingXpath failed"));
}

TEST_F(SoftwareComponentInfoDependencies, EndsTheListWithoutMemoryForARecord) {
    setDevices(
        R"(<Device><Dependency componentID="1"/><Dependency componentID="2"/><Dependency componentID="3"/></Device>)");
    const auto log = logOf([](CSoftwareComponentInfo& reader) {
        const FailingAllocation failing(sizeof(CDeviceInfo), 2);
        EXPECT_EQ(owned(reader.getDependencyInfo()).size(), 1U);
    });
    EXPECT_EQ(log.back(), kNoMemory);
    EXPECT_EQ(std::count(log.begin(), log.end(),
                         "CSoftwareComponentInfo::getDependencyInfo() Found HardDependency"),
              1);
}

TEST_F(SoftwareComponentInfoDependencies, EndsTheListWithoutMemoryForAPciCopy) {
    setDevices(
        R"(<Device><Dependency componentID="1"><PCIInfo deviceID="1"/><PCIInfo deviceID="2"/></Dependency>)"
        R"(<Dependency componentID="2"/></Device>)");
    const auto log = logOf([](CSoftwareComponentInfo& reader) {
        const FailingAllocation failing(sizeof(CDeviceInfo),
                                        3);  // the element's record, one copy, another one
        EXPECT_EQ(owned(reader.getDependencyInfo()).size(), 1U);
    });
    EXPECT_EQ(log.back(), kNoMemory);
    EXPECT_EQ(log[log.size() - 2], kAddingPci);
}

// The insertion by itself.

TEST_F(SoftwareComponentInfoDependencies, AppendsARecordThatIsNotListed) {
    CDeviceInfo one;
    CDeviceInfo other;
    other.setComponentID("other");
    std::vector<CDeviceInfo*> list;
    EXPECT_THAT(logOf([&](CSoftwareComponentInfo& reader) {
                    CDeviceInfo* device = &one;
                    reader.AddDependencyInfo(list, device);
                    device = &other;
                    reader.AddDependencyInfo(list, device);
                }),
                IsEmpty());
    EXPECT_THAT(list, ElementsAre(&one, &other));
}

TEST_F(SoftwareComponentInfoDependencies, RefusesARecordEqualToAListedOne) {
    CDeviceInfo first;
    CDeviceInfo last;
    last.setComponentID("last");
    CDeviceInfo equalToFirst;
    equalToFirst.setReleaseID("not compared");
    CDeviceInfo equalToLast = last;
    std::vector<CDeviceInfo*> list = {&first, &last};
    EXPECT_THAT(logOf([&](CSoftwareComponentInfo& reader) {
                    CDeviceInfo* device = &equalToFirst;
                    reader.AddDependencyInfo(list, device);
                    device = &equalToLast;
                    reader.AddDependencyInfo(list, device);
                }),
                ElementsAre(kDuplicate, kDuplicate));
    EXPECT_THAT(list, ElementsAre(&first, &last));
    EXPECT_EQ(equalToFirst.getReleaseID(), "not compared");
}

TEST_F(SoftwareComponentInfoDependencies, ReturnsTheSameListAsAddingOneByOne) {
    std::string devices;
    for (int i = 0; i < 300; ++i) {
        devices += "<Device><Dependency componentID=\"" + std::to_string(i % 7) + "\" path=\"" +
                   std::to_string(i % 5) + "\"><Display>" + std::to_string(i % 3) +
                   "</Display></Dependency></Device>";
    }
    const Records records = recordsIn(devices);

    CSoftwareComponentInfo reader;
    Records all;
    std::vector<CDeviceInfo*> list;
    for (int i = 0; i < 300; ++i) {
        CDeviceInfo* device = all.emplace_back(std::make_unique<CDeviceInfo>()).get();
        device->setComponentID(std::to_string(i % 7));
        device->setFilePath(std::to_string(i % 5));
        device->setDisplay(std::to_string(i % 3));
        reader.AddDependencyInfo(list, device);
    }
    ASSERT_EQ(records.size(), 105U);  // 7 * 5 * 3
    ASSERT_EQ(list.size(), 105U);
    for (std::size_t i = 0; i < list.size(); ++i) {
        EXPECT_TRUE(*records[i] == *list[i]) << i;
    }
}

TEST_F(SoftwareComponentInfoDependencies, ReadsAnEntityAsItsReplacementText) {
    package_.setPackage(std::string(kEntities) +
                        R"(<SoftwareComponent><SupportedDevices><Device><Dependency version="&nested;">)"
                        "<Display>&nested;</Display><Detail>&name;</Detail></Dependency>"
                        "<Dependency><Display>&empty;</Display><Detail><!--c-->x</Detail></Dependency>"
                        "</Device></SupportedDevices></SoftwareComponent>");
    const Records records = owned(CSoftwareComponentInfo().getDependencyInfo());
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0]->getDisplay(), records[0]->getVersion());
    EXPECT_EQ(textOf(*records[0]), "||a &name; b|a &name; b|Name");
    EXPECT_EQ(textOf(*records[1]), "||||");
}

}  // namespace
}  // namespace test
