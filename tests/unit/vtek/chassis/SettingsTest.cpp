#include "Lab.h"
#include "chassis/Settings.h"
#include "chassis/Store.h"

#include <gmock/gmock.h>

#include <string>

namespace {

using test::Lab;
using testing::ElementsAre;
using vtek::ErrorNumber;
using vtek::Store;

TEST(Settings, AcceptTheirDefaults) {
    for (const auto& info : vtek::settingTable()) {
        EXPECT_TRUE(info.accepts(info.initial)) << info.name;
    }
}

TEST(Settings, AcceptOnlyDocumentedValues) {
    const std::string longest(64, 'v');
    const std::string tooLong(65, 'v');
    const std::pair<const char*, const char*> bad[] = {
        {"repository-kind", "4"},
        {"repository-kind", "-1"},
        {"repository-kind", ""},
        {"repository-kind", "1 "},
        {"chassis-type", ""},
        {"chassis-type", "two words"},
        {"ipmi-transport", "/dev/x"},
        {"ipmi-transport", ""},
        {"ipmi-transport", "/dev/ipmi"},
        {"ipmi-transport", "/dev/ipmi0/../sda"},
        {"ipmi-completion", "256"},
        {"ipmi-mode", "0x2"},
        {"revocation", "never"},
        {"chassis-type", tooLong.c_str()},
        {"minimum-version", "1 2"},
        {"lock-wait", "3601"},
        {"unpack-entries", "0"},
        {"unpack-bytes", "99999999999999999999"},
    };
    for (const auto& [name, value] : bad) {
        EXPECT_FALSE(vtek::findSetting(name)->accepts(value)) << name << ' ' << value;
    }
    const std::pair<const char*, const char*> good[] = {
        {"repository-kind", "0"},
        {"ipmi-transport", "/dev/ipmi0"},
        {"ipmi-transport", "simulated"},
        {"revocation", "required"},
        {"minimum-version", ""},
        {"signer-names", "A B;C"},
        {"lock-wait", "0"},
        {"lock-wait", "3600"},
        {"chassis-type", longest.c_str()},
    };
    for (const auto& [name, value] : good) {
        EXPECT_TRUE(vtek::findSetting(name)->accepts(value)) << name << ' ' << value;
    }
}

TEST(Settings, ReturnNullForUnknownName) {
    EXPECT_EQ(vtek::findSetting("minimum"), nullptr);
}

TEST(Settings, RefuseUnknownNamesAndInvalidValues) {
    const Lab lab;
    const vtek::Root root = lab.root();
    auto store = Store::open(root, Store::Mode::Write);
    EXPECT_TRUE(changeSetting(*store, "lock-wait", "7"));
    EXPECT_EQ(changeSetting(*store, "lock-wait", "long").error().number, ErrorNumber::InvalidArgument);
    EXPECT_EQ(changeSetting(*store, "lock", "7").error().number, ErrorNumber::InvalidArgument);
    EXPECT_EQ(loadSettings(*store)->lockWaitSeconds, 7);
}

TEST(Settings, ReportInvalidStoredValueAsCorrupt) {
    const Lab lab;
    const vtek::Root root = lab.root();
    auto store = Store::open(root, Store::Mode::Write);
    ASSERT_TRUE(store->setSetting("lock-wait", "long"));
    EXPECT_EQ(loadSettings(*store).error().number, ErrorNumber::StateCorrupt);
}

TEST(Settings, SplitSignerNames) {
    const Lab lab;
    lab.set("signer-names", "A B;;C;");
    const vtek::Root root = lab.root();
    auto store = Store::open(root, Store::Mode::Read);
    EXPECT_THAT(loadSettings(*store)->signerNames, ElementsAre("A B", "C"));
}

}  // namespace
