#include "Lab.h"
#include "chassis/Inventory.h"
#include "chassis/Store.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <string>

namespace {

using test::Lab;
using vtek::ErrorNumber;
using vtek::Inventory;
using vtek::Store;

class InventoryTest : public testing::Test {
protected:
    InventoryTest()
        : root_(lab_.root()),
          store_(Store::open(root_, Store::Mode::Write)),
          inventory_(store_->database()) {}

    std::string written() {
        std::string document;
        EXPECT_TRUE(inventory_.write([&](std::string_view piece) { document += piece; }));
        return document;
    }

    vtek::Result<int> import(const std::string& document) {
        test::writeFile(lab_.aside() / "in.xml", document);
        const auto file = vtek::openAt(vtek::kWorkingFolder, (lab_.aside() / "in.xml").string(), O_RDONLY);
        return inventory_.import(file.get());
    }

    Lab lab_;
    vtek::Root root_;
    vtek::Result<Store> store_;
    Inventory inventory_;
};

TEST_F(InventoryTest, WritesDocument) {
    EXPECT_EQ(written(),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<SVMInventory>\n"
              "  <Device componentID=\"25227\" display=\"QRX\">\n"
              "    <Application componentType=\"FRMW\" version=\"1.00\" display=\"QRX firmware\"/>\n"
              "  </Device>\n"
              "</SVMInventory>\n");
}

TEST_F(InventoryTest, EscapesAttributeValues) {
    ASSERT_TRUE(inventory_.clear());
    ASSERT_TRUE(
        inventory_.add({"<&>\"'", "tab\tline\nreturn\r", {{std::nullopt, "\xC3\xBC", std::nullopt}}}));
    EXPECT_EQ(written(),
              "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
              "<SVMInventory>\n"
              "  <Device componentID=\"&lt;&amp;&gt;&quot;'\" display=\"tab&#9;line&#10;return&#13;\">\n"
              "    <Application version=\"\xC3\xBC\"/>\n"
              "  </Device>\n"
              "</SVMInventory>\n");
}

TEST_F(InventoryTest, ImportsWhatItWrote) {
    ASSERT_TRUE(
        inventory_.add({"<&>\"'", "tab\tline\nreturn\r", {{"A", "1", "\xC3\xBC"}, {"B", "", std::nullopt}}}));
    ASSERT_TRUE(inventory_.add({"", std::nullopt, {}}));
    const std::string document = written();
    EXPECT_EQ(*import(document), 3);
    EXPECT_EQ(written(), document);
}

TEST_F(InventoryTest, RefusesTextThatXmlCannotHold) {
    for (const std::string& text : {std::string("bell\a"), std::string("\xFF"), std::string("nul\0", 4),
                                    std::string("\x1F"), std::string("\xED\xA0\x80"), std::string("\xC3"),
                                    std::string("\xEF\xBF\xBE"), std::string("\xEF\xBF\xBF")}) {
        EXPECT_EQ(inventory_.add({text, "", {}}).error().number, ErrorNumber::InvalidArgument);
        EXPECT_EQ(inventory_.add({"x", text, {}}).error().number, ErrorNumber::InvalidArgument);
        EXPECT_EQ(inventory_.add({"x", "", {{text, "", ""}}}).error().number, ErrorNumber::InvalidArgument);
        EXPECT_EQ(inventory_.add({"x", "", {{"", "", text}}}).error().number, ErrorNumber::InvalidArgument);
        EXPECT_EQ(inventory_.add({"x", "", {{"", text, ""}}}).error().number, ErrorNumber::InvalidArgument);
    }
}

TEST_F(InventoryTest, AcceptsEveryXmlCharacter) {
    for (const std::string& text :
         {std::string("\xED\x9F\xBF"), std::string("\xEE\x80\x80"), std::string("\xEF\xBF\xBD"),
          std::string("\xF0\x90\x80\x80"), std::string("\xF4\x8F\xBF\xBF")}) {
        EXPECT_TRUE(inventory_.add({text, "", {}}));
    }
    for (const std::string& text : {std::string("\xEF\xBF\xBE"), std::string("\xF4\x90\x80\x80")}) {
        EXPECT_FALSE(inventory_.add({text, "", {}}));
    }
}

TEST_F(InventoryTest, ReplacesEverythingOnImport) {
    EXPECT_EQ(*import("<SVMInventory><Device componentID='1'/><Device componentID='2'/></SVMInventory>"), 2);
    EXPECT_FALSE(inventory_.version("25227")->has_value());
}

TEST_F(InventoryTest, IgnoresUnknownContentOnImport) {
    EXPECT_EQ(*import("<SVMInventory lang='en'><!-- c --><Other><Device componentID='0'/></Other>"
                      "<Device componentID='1' more='x'><Deep><Application version='no'/></Deep>"
                      "<Application version='3' x='y'>text</Application></Device></SVMInventory>"),
              1);
    EXPECT_EQ(**inventory_.version("1"), "3");
}

TEST_F(InventoryTest, RefusesBadDocumentAndKeepsOldInventory) {
    const std::string before = written();
    for (const std::string document :
         {"", "junk", "<SVMInventory>", "<Other/>", "<SVMInventory><Device componentID='1'></SVMInventory>",
          "<!DOCTYPE SVMInventory [<!ENTITY e 'x'>]><SVMInventory><Device componentID='&e;'/></SVMInventory>",
          "<!DOCTYPE x SYSTEM 'http://localhost/x.dtd'><SVMInventory/>"}) {
        EXPECT_EQ(import(document).error().number, ErrorNumber::InvalidArgument) << document;
        EXPECT_EQ(written(), before);
    }
}

TEST_F(InventoryTest, RefusesFolderAsDocument) {
    const auto folder = vtek::openAt(vtek::kWorkingFolder, "/", O_RDONLY);
    EXPECT_FALSE(inventory_.import(folder.get()));
}

TEST_F(InventoryTest, UsesFirstDeviceAndFirstApplication) {
    ASSERT_EQ(
        *import("<SVMInventory><Device componentID='1'><Application version='a'/><Application version='b'/>"
                "</Device><Device componentID='1'><Application version='c'/></Device></SVMInventory>"),
        2);
    EXPECT_EQ(**inventory_.version("1"), "a");
    EXPECT_TRUE(inventory_.setVersion("1", "z"));
    EXPECT_EQ(**inventory_.version("1"), "z");
    const std::string document = written();
    EXPECT_NE(document.find("version=\"b\""), std::string::npos);
    EXPECT_NE(document.find("version=\"c\""), std::string::npos);
}

TEST_F(InventoryTest, ReturnsNoVersionWithoutApplication) {
    ASSERT_TRUE(inventory_.add({"1", "", {}}));
    EXPECT_FALSE(inventory_.version("1")->has_value());
    EXPECT_EQ(inventory_.setVersion("1", "2").error().number, ErrorNumber::ComponentUnknown);
}

TEST_F(InventoryTest, ReturnsNumberOfRemovedDevices) {
    ASSERT_TRUE(inventory_.add({"25227", "", {{"", "2", ""}}}));
    EXPECT_EQ(*inventory_.remove("25227"), 2);
    EXPECT_EQ(*inventory_.remove("25227"), 0);
}

TEST_F(InventoryTest, WritesHundredThousandDevicesInPieces) {
    constexpr int kMany = 100000;
    {
        auto transaction = vtek::Transaction::begin(store_->database());
        ASSERT_TRUE(inventory_.clear());
        for (int i = 0; i < kMany; ++i) {
            ASSERT_TRUE(inventory_.add({std::to_string(i), "device", {{"FRMW", "1", "x"}}}));
        }
        ASSERT_TRUE(transaction->commit());
    }
    std::size_t largest = 0;
    std::size_t total = 0;
    ASSERT_TRUE(inventory_.write([&](std::string_view piece) {
        largest = std::max(largest, piece.size());
        total += piece.size();
    }));
    EXPECT_GT(total, std::size_t{kMany} * 100);
    EXPECT_LT(largest, std::size_t{80} * 1024);
}

}  // namespace
