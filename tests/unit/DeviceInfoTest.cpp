#include "DeviceInfo.h"
#include "LogCapture.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <type_traits>
#include <vector>

namespace test {
namespace {

using namespace std::string_literals;

using ::testing::ElementsAre;

static_assert(!std::is_polymorphic_v<CDeviceInfo>);
static_assert(std::is_same_v<CDeviceInfo::SPCIInfo, ::SPCIInfo>);
static_assert(std::is_same_v<CDeviceInfo::_BDFInfo, ::_BDFInfo>);
static_assert(std::is_same_v<decltype(::_BDFInfo::bus), unsigned char>);
static_assert(sizeof(::_BDFInfo) == 3);

constexpr const char* kBaseUrl = "http://downloads.example/";

/** Every field as text, in declared order; the file path with its base URL. */
std::vector<std::string> fieldsOf(CDeviceInfo record) {
    const SPCIInfo pci = record.getPCIInfo();
    const _BDFInfo bdf = record.getBDFInfo();
    return {record.getReleaseID(),
            record.getComponentID(),
            record.getParentComponentID(),
            record.getComponentType(),
            record.getDeviceName(),
            record.getVersion(),
            pci.componentID + "," + pci.deviceID + "," + pci.subDeviceID + "," + pci.vendorID + "," +
                pci.subVendorID + "," + pci.marketingName,
            std::to_string(record.getDeviceType()),
            std::to_string(record.getDependencyType()),
            std::to_string(record.getMessageID()),
            std::to_string(record.getStatus()),
            record.getErrorMsg(),
            std::to_string(record.getUpdateStatus()),
            record.getDisplay(),
            record.getDetail(),
            record.getFilePath(),
            record.getCurrentVersion(),
            record.getEnumId(),
            std::to_string(record.getRebootRequired()),
            std::to_string(bdf.bus) + "," + std::to_string(bdf.device) + "," + std::to_string(bdf.function)};
}

// The fields of a new record, as fieldsOf shows them.
const std::vector<std::string> kDefaults = {"",   "", "",  "", "", "",       ",,,,,", "0", "1", "0",
                                            "-1", "", "0", "", "", kBaseUrl, "",      "",  "0", "0,0,0"};

TEST(DeviceInfo, KeepsTheFixedValuesOfItsEnumerations) {
    EXPECT_EQ(static_cast<int>(CDeviceInfo::UNKNOWN_DEVICE), 0);
    EXPECT_EQ(static_cast<int>(CDeviceInfo::PCI_DEVICE), 1);
    EXPECT_EQ(static_cast<int>(CDeviceInfo::NON_PCI_DEVICE), 2);
    EXPECT_EQ(static_cast<int>(CDeviceInfo::HARD_DEPENDENCY), 1);
    EXPECT_EQ(static_cast<int>(CDeviceInfo::SOFT_DEPENDENCY), 2);
}

TEST(DeviceInfo, StartsWithItsDefaults) {
    EXPECT_EQ(fieldsOf(CDeviceInfo()), kDefaults);
}

TEST(DeviceInfo, StartsAsFailed) {
    const CDeviceInfo record;
    EXPECT_EQ(record.getStatus(), -1);
    EXPECT_EQ(record.getMessageID(), 0);
    EXPECT_EQ(record.getDeviceType(), CDeviceInfo::UNKNOWN_DEVICE);
    EXPECT_EQ(record.getDependencyType(), CDeviceInfo::HARD_DEPENDENCY);
    EXPECT_FALSE(record.getRebootRequired());
}

/** One setter, the field it sets (its place in fieldsOf) and the field's text afterwards. */
struct Setter {
    const char* name;
    std::function<void(CDeviceInfo&)> set;
    std::size_t field;
    std::string value;
};

void PrintTo(const Setter& setter, std::ostream* out) {
    *out << setter.name;
}

const std::vector<Setter> kSetters = {
    {"ReleaseID", [](CDeviceInfo& r) { r.setReleaseID("a"); }, 0, "a"},
    {"ComponentID", [](CDeviceInfo& r) { r.setComponentID("b"); }, 1, "b"},
    {"ParentComponentID", [](CDeviceInfo& r) { r.setParentComponentID("c"); }, 2, "c"},
    {"ComponentType", [](CDeviceInfo& r) { r.setComponentType("d"); }, 3, "d"},
    {"DeviceName", [](CDeviceInfo& r) { r.setDeviceName("e"); }, 4, "e"},
    {"Version", [](CDeviceInfo& r) { r.setVersion("f"); }, 5, "f"},
    {"PCIInfo",
     [](CDeviceInfo& r) {
         r.setPCIInfo(SPCIInfo{"1", "2", "3", "4", "5", "6"});
     },
     6, "1,2,3,4,5,6"},
    {"PCIInfoOfFourNumbers", [](CDeviceInfo& r) { r.setPCIInfo(0x10B8, 0x00A5, 0x8086, 7); }, 6,
     ",10b8,a5,8086,7,"},
    {"DeviceType", [](CDeviceInfo& r) { r.setDeviceType(CDeviceInfo::NON_PCI_DEVICE); }, 7, "2"},
    {"DependencyType", [](CDeviceInfo& r) { r.setDependencyType(CDeviceInfo::SOFT_DEPENDENCY); }, 8, "2"},
    {"MessageID", [](CDeviceInfo& r) { r.setMessageID(-7); }, 9, "-7"},
    {"Status", [](CDeviceInfo& r) { r.setStatus(0); }, 10, "0"},
    {"ErrorMsg", [](CDeviceInfo& r) { r.setErrorMsg("g"); }, 11, "g"},
    {"UpdateStatus", [](CDeviceInfo& r) { r.setUpdateStatus(9); }, 12, "9"},
    {"Display", [](CDeviceInfo& r) { r.setDisplay("h"); }, 13, "h"},
    {"Detail", [](CDeviceInfo& r) { r.setDetail("i"); }, 14, "i"},
    {"FilePath", [](CDeviceInfo& r) { r.setFilePath("j/k"); }, 15, "http://downloads.example/j/k"},
    {"CurrentVersion", [](CDeviceInfo& r) { r.setCurrentVersion("l"); }, 16, "l"},
    {"EnumId", [](CDeviceInfo& r) { r.setEnumId("m"); }, 17, "m"},
    {"RebootRequired", [](CDeviceInfo& r) { r.setRebootRequired(true); }, 18, "1"},
    {"BDFInfo",
     [](CDeviceInfo& r) {
         r.setBDFInfo(_BDFInfo{1, 2, 255});
     },
     19, "1,2,255"},
    {"BDFInfoOfThreeNumbers", [](CDeviceInfo& r) { r.setBDFInfo(0x41, 3, 200); }, 19, "65,3,200"},
};

class DeviceInfoSetter : public ::testing::TestWithParam<Setter> {};

TEST_P(DeviceInfoSetter, SetsItsFieldAndNoOther) {
    CDeviceInfo record;
    GetParam().set(record);
    std::vector<std::string> expected = kDefaults;
    expected[GetParam().field] = GetParam().value;
    EXPECT_EQ(fieldsOf(record), expected);
}

INSTANTIATE_TEST_SUITE_P(Every, DeviceInfoSetter, ::testing::ValuesIn(kSetters),
                         [](const auto& shown) { return shown.param.name; });

TEST(DeviceInfo, KeepsStringsByteForByte) {
    const std::string value = "a \"<&>\" \xC3\xA9 \0 b"s;
    CDeviceInfo record;
    record.setErrorMsg(value);
    EXPECT_EQ(record.getErrorMsg(), value);
}

TEST(DeviceInfo, StoresAPciNumberOfZeroAsOneZero) {
    CDeviceInfo record;
    record.setPCIInfo(0, 0, 0, 0);
    EXPECT_EQ(record.getPCIInfo().deviceID, "0");
    EXPECT_EQ(record.getPCIInfo().subDeviceID, "0");
    EXPECT_EQ(record.getPCIInfo().vendorID, "0");
    EXPECT_EQ(record.getPCIInfo().subVendorID, "0");
}

TEST(DeviceInfo, StoresPciNumbersAsLowerCaseHexadecimalWithoutPaddingOrPrefix) {
    CDeviceInfo record;
    record.setPCIInfo(0xFFFF, 0x10B8, 0x00A5, 0x0010);
    EXPECT_EQ(record.getPCIInfo().deviceID, "ffff");
    EXPECT_EQ(record.getPCIInfo().subDeviceID, "10b8");
    EXPECT_EQ(record.getPCIInfo().vendorID, "a5");
    EXPECT_EQ(record.getPCIInfo().subVendorID, "10");
}

TEST(DeviceInfo, StoresPciNumbersWithEveryHexadecimalDigit) {
    CDeviceInfo record;
    record.setPCIInfo(0x1234, 0x5678, 0x9ABC, 0xDEF0);
    EXPECT_EQ(record.getPCIInfo().deviceID, "1234");
    EXPECT_EQ(record.getPCIInfo().subDeviceID, "5678");
    EXPECT_EQ(record.getPCIInfo().vendorID, "9abc");
    EXPECT_EQ(record.getPCIInfo().subVendorID, "def0");
}

TEST(DeviceInfo, ReplacesTheWholeIdentityByPciNumbers) {
    CDeviceInfo record;
    record.setPCIInfo(SPCIInfo{"component", "a", "b", "c", "d", "marketing"});
    record.setPCIInfo(1, 2, 3, 4);
    EXPECT_EQ(record.getPCIInfo().componentID, "");
    EXPECT_EQ(record.getPCIInfo().marketingName, "");
}

TEST(DeviceInfo, LogsPciNumbers) {
    const LogCapture log;
    CDeviceInfo record;
    record.setPCIInfo(0x10B8, 0x00A5, 0xFFFF, 0);
    EXPECT_THAT(log.messages(), ElementsAre("CDeviceInfo::setPCIInfo() Device id  10b8",    //
                                            "CDeviceInfo::setPCIInfo() SubDevice id  a5",   //
                                            "CDeviceInfo::setPCIInfo() Vendor id  ffff",    //
                                            "CDeviceInfo::setPCIInfo() SubVendor id  0"));  //
    EXPECT_EQ(log.lines().at(0).source, "DeviceInfo");
}

TEST(DeviceInfo, LogsBdfNumbersAsRawBytes) {
    const LogCapture log;
    CDeviceInfo record;
    record.setBDFInfo(0x41, 3, 0xE9);
    EXPECT_THAT(log.messages(), ElementsAre("CNVMeAdapter::setBDFInfo() Bus Number is  A",            //
                                            "CNVMeAdapter::setBDFInfo() Device Number is  \x03",      //
                                            "CNVMeAdapter::setBDFInfo() Function Number is  \xE9"));  //
}

TEST(DeviceInfo, LogsBdfNumberZeroAsANulByte) {
    const LogCapture log;
    CDeviceInfo record;
    record.setBDFInfo(0, 'b', 'c');
    EXPECT_EQ(log.messages().at(0), std::string("CNVMeAdapter::setBDFInfo() Bus Number is  ") + '\0');
}

TEST(DeviceInfo, CopiesWholeIdentitiesWithoutLogging) {
    const LogCapture log;
    CDeviceInfo record;
    record.setPCIInfo(SPCIInfo{"1", "2", "3", "4", "5", "6"});
    record.setBDFInfo(_BDFInfo{1, 2, 3});
    EXPECT_THAT(log.messages(), ElementsAre());
}

TEST(DeviceInfo, ReturnsTheBaseUrlAndTheStoredPath) {
    CDeviceInfo record;
    record.setFilePath("FOLDER/1/fw.exe");
    EXPECT_EQ(record.getFilePath(), "http://downloads.example/FOLDER/1/fw.exe");
}

TEST(DeviceInfo, ReturnsTheBaseUrlAloneForAnEmptyPath) {
    EXPECT_EQ(CDeviceInfo().getFilePath(), "http://downloads.example/");
}

TEST(DeviceInfo, ReturnsTheSamePathTwiceWithEveryBackslashTurned) {
    CDeviceInfo record;
    record.setFilePath("a\\b\\c");
    EXPECT_EQ(record.getFilePath(), "http://downloads.example/a/b/c");
    EXPECT_EQ(record.getFilePath(), "http://downloads.example/a/b/c");
}

TEST(DeviceInfo, TurnsLeadingDoubledAndTrailingBackslashes) {
    CDeviceInfo record;
    record.setFilePath("\\\\a/b\\");
    EXPECT_EQ(record.getFilePath(), "http://downloads.example///a/b/");
}

TEST(DeviceInfo, KeepsTheTurnedPathInTheRecord) {
    CDeviceInfo turned;
    turned.setFilePath("a\\b");
    CDeviceInfo untouched = turned;
    CDeviceInfo slashes;
    slashes.setFilePath("a/b");
    EXPECT_FALSE(untouched == slashes);
    turned.getFilePath();
    EXPECT_TRUE(turned == slashes);
}

TEST(DeviceInfoEquality, ComparesAllSixTextsOfAPciIdentity) {
    const SPCIInfo identity = {"1", "2", "3", "4", "5", "6"};
    EXPECT_TRUE(identity == (SPCIInfo{"1", "2", "3", "4", "5", "6"}));
    EXPECT_FALSE(identity == (SPCIInfo{"x", "2", "3", "4", "5", "6"}));
    EXPECT_FALSE(identity == (SPCIInfo{"1", "x", "3", "4", "5", "6"}));
    EXPECT_FALSE(identity == (SPCIInfo{"1", "2", "x", "4", "5", "6"}));
    EXPECT_FALSE(identity == (SPCIInfo{"1", "2", "3", "x", "5", "6"}));
    EXPECT_FALSE(identity == (SPCIInfo{"1", "2", "3", "4", "x", "6"}));
    EXPECT_FALSE(identity == (SPCIInfo{"1", "2", "3", "4", "5", "x"}));
}

TEST(DeviceInfoEquality, HoldsForNewRecordsAndCopies) {
    CDeviceInfo record;
    EXPECT_TRUE(record == CDeviceInfo());
    record.setComponentID("1");
    EXPECT_TRUE(record == CDeviceInfo(record));
}

TEST(DeviceInfoEquality, IsCaseSensitive) {
    CDeviceInfo lower;
    lower.setVersion("a1");
    CDeviceInfo upper;
    upper.setVersion("A1");
    EXPECT_FALSE(lower == upper);
}

TEST(DeviceInfoEquality, ComparesBeyondANulByte) {
    CDeviceInfo one;
    one.setVersion(std::string("1\0a", 3));
    CDeviceInfo other;
    other.setVersion(std::string("1\0b", 3));
    EXPECT_FALSE(one == other);
}

/** A change of a record, and whether the record still equals the unchanged one. */
struct Change {
    const char* name;
    std::function<void(CDeviceInfo&)> change;
    bool equal;
};

void PrintTo(const Change& change, std::ostream* out) {
    *out << change.name;
}

SPCIInfo pciWith(std::string SPCIInfo::*field) {
    SPCIInfo info;
    info.*field = "x";
    return info;
}

const std::vector<Change> kChanges = {
    {"ComponentTypeCounts", [](CDeviceInfo& r) { r.setComponentType("x"); }, false},
    {"ComponentIDCounts", [](CDeviceInfo& r) { r.setComponentID("x"); }, false},
    {"DependencyTypeCounts", [](CDeviceInfo& r) { r.setDependencyType(CDeviceInfo::SOFT_DEPENDENCY); },
     false},
    {"VersionCounts", [](CDeviceInfo& r) { r.setVersion("x"); }, false},
    {"DisplayCounts", [](CDeviceInfo& r) { r.setDisplay("x"); }, false},
    {"DetailCounts", [](CDeviceInfo& r) { r.setDetail("x"); }, false},
    {"FilePathCounts", [](CDeviceInfo& r) { r.setFilePath("x"); }, false},
    {"PciComponentIDCounts", [](CDeviceInfo& r) { r.setPCIInfo(pciWith(&SPCIInfo::componentID)); }, false},
    {"PciDeviceIDCounts", [](CDeviceInfo& r) { r.setPCIInfo(pciWith(&SPCIInfo::deviceID)); }, false},
    {"PciSubDeviceIDCounts", [](CDeviceInfo& r) { r.setPCIInfo(pciWith(&SPCIInfo::subDeviceID)); }, false},
    {"PciVendorIDCounts", [](CDeviceInfo& r) { r.setPCIInfo(pciWith(&SPCIInfo::vendorID)); }, false},
    {"PciSubVendorIDCounts", [](CDeviceInfo& r) { r.setPCIInfo(pciWith(&SPCIInfo::subVendorID)); }, false},
    {"PciMarketingNameIsPassedOver", [](CDeviceInfo& r) { r.setPCIInfo(pciWith(&SPCIInfo::marketingName)); },
     true},
    {"ReleaseIDIsPassedOver", [](CDeviceInfo& r) { r.setReleaseID("x"); }, true},
    {"ParentComponentIDIsPassedOver", [](CDeviceInfo& r) { r.setParentComponentID("x"); }, true},
    {"DeviceNameIsPassedOver", [](CDeviceInfo& r) { r.setDeviceName("x"); }, true},
    {"DeviceTypeIsPassedOver", [](CDeviceInfo& r) { r.setDeviceType(CDeviceInfo::PCI_DEVICE); }, true},
    {"MessageIDIsPassedOver", [](CDeviceInfo& r) { r.setMessageID(1); }, true},
    {"StatusIsPassedOver", [](CDeviceInfo& r) { r.setStatus(0); }, true},
    {"ErrorMsgIsPassedOver", [](CDeviceInfo& r) { r.setErrorMsg("x"); }, true},
    {"UpdateStatusIsPassedOver", [](CDeviceInfo& r) { r.setUpdateStatus(1); }, true},
    {"CurrentVersionIsPassedOver", [](CDeviceInfo& r) { r.setCurrentVersion("x"); }, true},
    {"EnumIdIsPassedOver", [](CDeviceInfo& r) { r.setEnumId("x"); }, true},
    {"RebootRequiredIsPassedOver", [](CDeviceInfo& r) { r.setRebootRequired(true); }, true},
    {"BDFInfoIsPassedOver",
     [](CDeviceInfo& r) {
         r.setBDFInfo(_BDFInfo{1, 2, 3});
     },
     true},
};

class DeviceInfoEqualityField : public ::testing::TestWithParam<Change> {};

TEST_P(DeviceInfoEqualityField, ComparesTheFieldAsDocumented) {
    CDeviceInfo changed;
    GetParam().change(changed);
    const CDeviceInfo unchanged;
    EXPECT_EQ(changed == unchanged, GetParam().equal);
    EXPECT_EQ(unchanged == changed, GetParam().equal);
    EXPECT_EQ(unchanged.hash() == changed.hash(), GetParam().equal);
}

INSTANTIATE_TEST_SUITE_P(Every, DeviceInfoEqualityField, ::testing::ValuesIn(kChanges),
                         [](const auto& shown) { return shown.param.name; });

}  // namespace
}  // namespace test
