#include "payload/EntryNames.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using vtek::ArchiveEntry;
using vtek::isPlainPath;

ArchiveEntry file(const std::string& name) {
    return {name, ArchiveEntry::Kind::File, {}};
}

ArchiveEntry folder(const std::string& name) {
    return {name, ArchiveEntry::Kind::Folder, {}};
}

TEST(EntryNames, AcceptsPlainPaths) {
    for (const std::string path :
         {"a", "a/b", "Chassis/fw.fwp", "with blank", "..a", "a..", "...", "-", "~"}) {
        EXPECT_TRUE(isPlainPath(path)) << path;
    }
}

TEST(EntryNames, RefusesOtherPaths) {
    for (const std::string path :
         {"", "/", "/a", "a/", "a//b", ".", "..", "a/..", "../a", "a\\b", "a\x80", "a\n"}) {
        EXPECT_FALSE(isPlainPath(path)) << path;
    }
}

TEST(EntryNames, RefusesLongNamesAndPaths) {
    const std::string longest(255, 'a');
    EXPECT_TRUE(isPlainPath(longest));
    EXPECT_FALSE(isPlainPath(longest + "a"));
    const std::string path = longest + "/" + longest + "/" + longest + "/" + longest;  // 1023 bytes
    EXPECT_TRUE(isPlainPath(path));
    EXPECT_TRUE(isPlainPath("b" + path.substr(1, 253) + "/a" + path.substr(255)));  // 1024 bytes
    EXPECT_FALSE(isPlainPath("b" + path.substr(1, 253) + "/ab" + path.substr(255)));
}

TEST(EntryNames, ReturnsParent) {
    EXPECT_EQ(vtek::parentOf("a/b/c"), "a/b");
    EXPECT_EQ(vtek::parentOf("a"), "");
}

TEST(EntryNames, RefusesNameThatIsTaken) {
    vtek::EntryNames names;
    EXPECT_TRUE(names.claim(file("a")));
    EXPECT_FALSE(names.claim(file("a")));
    EXPECT_FALSE(names.claim(file("A")));
    EXPECT_TRUE(names.claim(file("d/a")));
    EXPECT_FALSE(names.claim(file("d"))) << "it is a folder";
    EXPECT_FALSE(names.claim(file("D/b")));
}

TEST(EntryNames, RefusesEntryBelowFile) {
    vtek::EntryNames names;
    EXPECT_TRUE(names.claim(file("a")));
    EXPECT_FALSE(names.claim(file("a/b")));
    EXPECT_FALSE(names.claim(folder("a/b/c")));
    EXPECT_FALSE(names.claim(folder("a")));
    EXPECT_TRUE(names.claim(file("d/f")));
    EXPECT_FALSE(names.claim(file("d/f/g/h")));
}

TEST(EntryNames, RefusesNameOfOtherFile) {
    vtek::EntryNames names;
    EXPECT_TRUE(names.claimFile("fw.fwp"));
    EXPECT_FALSE(names.claim(file("fw.fwp")));
    EXPECT_FALSE(names.claim(file("FW.fwp")));
    EXPECT_FALSE(names.claim(folder("fw.fwp")));
    EXPECT_FALSE(names.claim(file("fw.fwp/below")));
    EXPECT_TRUE(names.claim(file("sub/fw.fwp")));
}

TEST(EntryNames, AcceptsFolderAgain) {
    vtek::EntryNames names;
    EXPECT_TRUE(names.claim(file("d/a")));
    EXPECT_TRUE(names.claim(folder("d")));
    EXPECT_TRUE(names.claim(folder("d")));
    EXPECT_TRUE(names.claim(file("d/b")));
    EXPECT_FALSE(names.claim(folder("D")));
}

}  // namespace
