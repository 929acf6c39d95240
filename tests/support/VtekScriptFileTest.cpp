#include "TempDir.h"
#include "VtekScriptFile.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

class VtekScriptFile : public testing::Test {
protected:
    test::VtekScript read(const std::string& text) {
        test::writeFile(folder_ / "library", text);
        return test::readVtekScript(folder_ / "library");
    }

    test::TempDir folder_;
};

TEST_F(VtekScriptFile, ReadsEveryMember) {
    test::writeFile(folder_ / "list.xml", "<SVMInventory/>\n");
    const test::VtekScript script = read(
        "# an unwilling chassis\n"
        "\n"
        "constructorThrows true\n"
        "successAfterConstruction false\n"
        "successAfterInit false\n"
        "kind -1\n"
        "queryResult false\n"
        "inventory list.xml\n"
        "payloadSigned false\n"
        "payloadPath /a folder/b.fwp\n"
        "startCopyFile false\n"
        "addFile false\n"
        "completeSignedUnzip false\n"
        "endCopyFile false\n"
        "error 17\n"
        "ipmiCompletion 0xC1\n"
        "ipmiAnswer 00 01 02 03 04 05 06 07 08 09 0a ff\n");
    EXPECT_TRUE(script.constructorThrows);
    EXPECT_FALSE(script.successAfterConstruction);
    EXPECT_FALSE(script.successAfterInit);
    EXPECT_EQ(script.kind, -1);
    EXPECT_FALSE(script.queryResult);
    EXPECT_EQ(script.inventory, "<SVMInventory/>\n");
    EXPECT_FALSE(script.payloadSigned);
    EXPECT_EQ(script.payloadPath, "/a folder/b.fwp");
    EXPECT_FALSE(script.startCopyFile);
    EXPECT_FALSE(script.addFile);
    EXPECT_FALSE(script.completeSignedUnzip);
    EXPECT_FALSE(script.endCopyFile);
    EXPECT_EQ(script.error, 17);
    EXPECT_EQ(script.ipmiCompletion, 0xC1);
    EXPECT_EQ(script.ipmiAnswer, (std::array<unsigned char, 12>{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 255}));
}

TEST_F(VtekScriptFile, ReadsAnAnswerThatIsNone) {
    EXPECT_FALSE(read("ipmiAnswer none\n").ipmiAnswer.has_value());
}

TEST_F(VtekScriptFile, RefusesWhatItDoesNotUnderstand) {
    for (const char* text :
         {"Kind 1\n", "kind\n", "kind one\n", "kind 1x\n", "kind 1\nkind 2\n", "addFile yes\n",
          "ipmiCompletion 256\n", "ipmiCompletion -1\n", "ipmiAnswer 00\n",
          "ipmiAnswer 0 0 0 0 0 0 0 0 0 0 0 0 0\n", "inventory missing.xml\n"}) {
        EXPECT_ANY_THROW(read(text)) << text;
    }
    EXPECT_ANY_THROW(test::readVtekScript(folder_ / "missing"));
}

}  // namespace
