#include "Lab.h"
#include "payload/ArchiveReader.h"
#include "payload/ConfinedFolder.h"
#include "payload/Unpack.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/xattr.h>

#include <filesystem>
#include <string>

namespace {

using test::Entry;
using test::Format;
using test::Lab;
using test::UpdateOutcome;
using vtek::ErrorNumber;

const UpdateOutcome kDone{"done"};

/** Expects that an update with this archive is refused and changes nothing inside or outside the root. */
void expectRefused(const Lab& lab, const std::string& archive, ErrorNumber number,
                   const char* step = "unpack") {
    lab.sign(archive);
    const auto untouched = lab.snapshot();
    EXPECT_EQ(lab.update(), (UpdateOutcome{step, number}));
    EXPECT_EQ(lab.snapshot(), untouched);
    EXPECT_TRUE(std::filesystem::is_empty(lab.aside()));
}

class UnpackFormats : public testing::TestWithParam<Format> {};
INSTANTIATE_TEST_SUITE_P(All, UnpackFormats, testing::Values(Format::Tar, Format::TarGz, Format::Zip));

TEST_P(UnpackFormats, RefusesNamesThatLeadElsewhere) {
    const Lab lab;
    const std::string absolute = (lab.aside() / "x").string();
    for (const std::string& name :
         {std::string("../x"), std::string("a/../../x"), std::string("a/.."), absolute, std::string("//x"),
          std::string("a//b"), std::string("./x"), std::string("a/./b")}) {
        SCOPED_TRACE(name);
        expectRefused(lab, lab.archiveOf(GetParam(), {{name, "x"}}), ErrorNumber::EntryName);
    }
}

TEST_P(UnpackFormats, RefusesNamesWithControlCharacters) {
    const Lab lab;
    for (const std::string name : {"new\nline", "tab\tin it", "bell\a", "del\x7f"}) {
        SCOPED_TRACE(name);
        expectRefused(lab, lab.archiveOf(GetParam(), {{name, "x"}}), ErrorNumber::EntryName);
    }
}

TEST_P(UnpackFormats, RefusesLongNames) {
    const Lab lab;
    expectRefused(lab, lab.archiveOf(GetParam(), {{std::string(256, 'n'), "x"}}), ErrorNumber::EntryName);
    expectRefused(lab, lab.archiveOf(GetParam(), {{std::string(4096, 'n'), "x"}}), ErrorNumber::EntryName);
}

TEST_P(UnpackFormats, RefusesDuplicatesAndCaseTwins) {
    const Lab lab;
    const auto format = GetParam();
    expectRefused(lab, lab.archiveOf(format, {{"a", "1"}, {"a", "2"}}), ErrorNumber::EntryRepeated);
    expectRefused(lab, lab.archiveOf(format, {{"a", "1"}, {"A", "2"}}), ErrorNumber::EntryRepeated);
    expectRefused(lab, lab.archiveOf(format, {{"d/a", "1"}, {"D/b", "2"}}), ErrorNumber::EntryRepeated);
    expectRefused(lab, lab.archiveOf(format, {{"a", "1"}, {"a/b", "2"}}), ErrorNumber::EntryRepeated);
    expectRefused(lab, lab.archiveOf(format, {{"a/b", "1"}, {"a", "2"}}), ErrorNumber::EntryRepeated);
    expectRefused(lab, lab.archiveOf(format, {{"manifest.xml", "again"}}), ErrorNumber::EntryRepeated);
    expectRefused(lab, lab.archiveOf(format, {{"fw.fwp", "the payload's own name"}}),
                  ErrorNumber::EntryRepeated);
}

TEST_P(UnpackFormats, RefusesSymlinks) {
    const Lab lab;
    for (const std::string& target :
         {std::string("main.bin"), std::string("/etc/passwd"), lab.aside().string()}) {
        expectRefused(lab, lab.archiveOf(GetParam(), {{"link", "", 'l', target}, {"link/x", "x"}}),
                      ErrorNumber::EntryKind);
    }
}

TEST_P(UnpackFormats, IgnoresModes) {
    const Lab lab;
    lab.sign(lab.archiveOf(GetParam(), {{"suid", "x", 'f', "", 06777}, {"open", "", 'd', "", 01777}}));
    EXPECT_EQ(lab.update(), kDone);
    struct stat info {};
    ASSERT_EQ(stat((lab.rootPath() / "repository/1/Chassis/suid").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0644U);
    ASSERT_EQ(stat((lab.rootPath() / "repository/1/Chassis/open").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0755U);
}

TEST_P(UnpackFormats, RefusesDeepFolders) {
    const Lab lab;
    std::string deep;
    for (int i = 0; i < 33; ++i) {
        deep += "d/";
    }
    expectRefused(lab, lab.archiveOf(GetParam(), {{deep + "x", "x"}}), ErrorNumber::ArchiveTooLarge);
    lab.sign(lab.archiveOf(GetParam(), {{deep.substr(2) + "x", "x"}}));
    EXPECT_EQ(lab.update(), kDone);
}

TEST_P(UnpackFormats, RefusesTooManyEntries) {
    const Lab lab;
    lab.set("unpack-entries", "20");
    std::vector<Entry> entries;
    for (int i = 0; i < 20; ++i) {
        entries.push_back({"file" + std::to_string(i), "x"});
    }
    lab.sign(lab.archiveOf(GetParam(), entries));
    const auto untouched = lab.snapshot();
    EXPECT_EQ(lab.update().number, ErrorNumber::ArchiveTooLarge);
    EXPECT_EQ(lab.snapshot(), untouched);
    entries.pop_back();
    lab.sign(lab.archiveOf(GetParam(), entries));
    EXPECT_EQ(lab.update(), kDone);
}

TEST_P(UnpackFormats, RefusesTooManyBytes) {
    const Lab lab;
    lab.set("unpack-bytes", "200000");
    expectRefused(lab, lab.archiveOf(GetParam(), {{"big", std::string(300000, 'b')}}),
                  ErrorNumber::ArchiveTooLarge);
}

TEST(Unpack, AcceptsExactlyTheAllowedBytes) {
    const Lab lab;
    const std::size_t allowed = formatManifest(lab.manifest()).size() + 200000;
    lab.sign(lab.archiveOf(Format::Zip, {{"big", std::string(200000, 'b')}}));
    lab.set("unpack-bytes", std::to_string(allowed - 1));
    EXPECT_EQ(lab.update(), (UpdateOutcome{"unpack", ErrorNumber::ArchiveTooLarge}));
    lab.set("unpack-bytes", std::to_string(allowed));
    EXPECT_EQ(lab.update(), kDone);
}

TEST(Unpack, CountsHeaders) {
    const Lab lab;
    lab.set("unpack-bytes", "100000");
    std::vector<Entry> entries;
    for (int i = 0; i < 300; ++i) {
        entries.push_back({"empty" + std::to_string(i)});
    }
    entries.push_back({"last", "x"});
    expectRefused(lab, lab.archiveOf(Format::TarGz, entries), ErrorNumber::ArchiveTooLarge);
}

TEST(Unpack, RefusesDecompressionBomb) {
    const Lab lab;
    const std::string zeros(64 * 1024 * 1024, '\0');
    expectRefused(lab, lab.archiveOf(Format::TarGz, {{"zeros", zeros}}), ErrorNumber::ArchiveTooLarge);
    expectRefused(lab, lab.archiveOf(Format::Zip, {{"zeros", zeros}}), ErrorNumber::ArchiveTooLarge);
}

TEST(Unpack, AcceptsAnyRatioUpToOneMebibyte) {
    const Lab lab;
    lab.set("unpack-ratio", "1");
    lab.sign(lab.archiveOf(Format::Zip, {{"zeros", std::string(1'000'000, '\0')}}));
    EXPECT_EQ(lab.update(), kDone);
    expectRefused(lab, lab.archiveOf(Format::Zip, {{"zeros", std::string(1'100'000, '\0')}}),
                  ErrorNumber::ArchiveTooLarge);
}

TEST(Unpack, RefusesArchiveCompressedTwice) {
    const Lab lab;
    const std::string once = lab.archive(Format::TarGz);
    expectRefused(lab, test::gzipped(once), ErrorNumber::ArchiveInvalid, "check");
}

TEST(Unpack, RefusesZipBehindOtherBytes) {
    const Lab lab;
    expectRefused(lab, std::string(1000, 'x') + lab.archive(Format::Zip), ErrorNumber::ArchiveInvalid,
                  "check");
}

TEST(Unpack, RefusesManifestThatZipDirectoryDoesNotList) {
    const Lab lab;
    auto other = lab.manifest();
    other.version = "3.00";
    const std::string first = test::makeArchive(Format::ZipStored, {{"manifest.xml", formatManifest(other)}});
    expectRefused(lab, first.substr(0, first.find("PK\1\2")) + lab.archive(Format::ZipStored),
                  ErrorNumber::ManifestDiffers);
}

TEST(Unpack, CountsHolesOfSparseEntry) {
    const Lab lab;
    lab.set("unpack-bytes", "1000000000");
    expectRefused(lab,
                  lab.archiveOf(Format::TarPax, {{"sparse", "x", 'f', "", 0644, std::uint64_t{1} << 40}}),
                  ErrorNumber::ArchiveTooLarge);
}

TEST(Unpack, IgnoresExtendedAttributes) {
    const Lab lab;
    Entry entry{"marked", "x"};
    entry.attribute = {"user.mark", "planted"};
    lab.sign(lab.archiveOf(Format::TarPax, {entry}));
    EXPECT_EQ(lab.update(), kDone);
    const auto unpacked = lab.rootPath() / "repository/1/Chassis/marked";
    EXPECT_EQ(test::readFile(unpacked), "x");
    EXPECT_EQ(listxattr(unpacked.c_str(), nullptr, 0), 0);
}

TEST(Unpack, RefusesThousandNestedFolders) {
    const Lab lab;
    std::string deep;
    for (int i = 0; i < 1000; ++i) {
        deep += "d/";
    }
    expectRefused(lab, lab.archiveOf(Format::Tar, {{deep + "x", "x"}}), ErrorNumber::EntryName);
    expectRefused(lab, lab.archiveOf(Format::Tar, {{deep.substr(0, 1000) + "x", "x"}}),
                  ErrorNumber::ArchiveTooLarge);
}

TEST(Unpack, RefusesHardLinksDevicesFifosAndSockets) {
    const Lab lab;
    test::writeFile(lab.package() / "outside", "outside");
    const std::string outside = (lab.package() / "outside").string();
    for (const Entry& entry : {Entry{"hard", "", 'h', "manifest.xml"}, Entry{"hard", "", 'h', outside},
                               Entry{"fifo", "", 'p'}, Entry{"device", "", 'c'}}) {
        SCOPED_TRACE(entry.name);
        expectRefused(lab, lab.archiveOf(Format::Tar, {entry}), ErrorNumber::EntryKind);
    }
    // No archiver writes sockets: change the mode in the zip's directory.
    std::string socket = lab.archiveOf(Format::Zip, {{"socket", "x"}});
    socket[socket.rfind("\xA4\x81") + 1] = '\xC1';
    expectRefused(lab, socket, ErrorNumber::EntryKind);
    EXPECT_EQ(std::filesystem::hard_link_count(outside), 1U);
}

TEST(Unpack, EndsNameAtNul) {
    const Lab lab;
    lab.sign(test::patched(lab.archiveOf(Format::ZipStored, {{"nul-here", "x"}}), "nul-here",
                           std::string("nul\0here", 8)));
    EXPECT_EQ(lab.update(), kDone);
    EXPECT_EQ(test::readFile(lab.rootPath() / "repository/1/Chassis/nul"), "x");
}

TEST(Unpack, RefusesBackslashInTarAndReadsItAsSlashInZip) {
    const Lab lab;
    const std::vector<Entry> entries{{"back\\slash", "x"}};
    expectRefused(lab, lab.archiveOf(Format::Tar, entries), ErrorNumber::EntryName);
    lab.sign(lab.archiveOf(Format::Zip, entries));
    EXPECT_EQ(lab.update(), kDone);
    EXPECT_EQ(test::readFile(lab.rootPath() / "repository/1/Chassis/back/slash"), "x");
}

TEST(Unpack, RefusesEmptyName) {
    const Lab lab;
    // The name "/" is empty once its last slash is removed.
    expectRefused(lab, lab.archiveOf(Format::Tar, {{"/", "", 'd'}}), ErrorNumber::EntryName);
}

TEST(Unpack, RefusesNameThatIsNotAscii) {
    const Lab lab;
    const std::string archive = lab.archiveOf(Format::ZipStored, {{"gr--n", "x"}});
    expectRefused(lab, test::patched(archive, "gr--n", "gr\xC3\xBCn"), ErrorNumber::EntryName);
    expectRefused(lab, test::patched(archive, "gr--n", "gr\xFC-n"), ErrorNumber::EntryName);
}

TEST(Unpack, RefusesTruncatedArchive) {
    const Lab lab;
    for (const Format format : {Format::Tar, Format::TarGz, Format::Zip}) {
        const std::string whole = lab.archive(format);
        lab.sign(whole.substr(0, whole.size() * 2 / 3));
        const auto untouched = lab.snapshot();
        EXPECT_NE(lab.update(), kDone);
        EXPECT_EQ(lab.snapshot(), untouched);
    }
}

TEST(Unpack, RefusesEntryThatContradictsItsHeader) {
    const Lab lab;
    const std::string content = "twelve bytes";
    const std::string archive = lab.archiveOf(Format::ZipStored, {{"entry", content}});
    expectRefused(lab, test::patched(archive, content, "other bytes!"), ErrorNumber::ArchiveInvalid);
}

TEST(Unpack, RefusesEmptyArchiveAndJunk) {
    const Lab lab;
    expectRefused(lab, std::string(10240, '\0'), ErrorNumber::ManifestInvalid, "check");
    expectRefused(lab, "junk, junk, junk", ErrorNumber::ArchiveInvalid, "check");
}

TEST(Unpack, RefusesZipThatDeclaresTooManyEntries) {
    const Lab lab;
    std::string archive = lab.archive(Format::Zip);
    const auto end = archive.rfind("PK\5\6");
    archive[end + 10] = '\xFF';
    archive[end + 11] = '\xFF';
    expectRefused(lab, archive, ErrorNumber::ArchiveTooLarge);
}

TEST(Unpack, ReportsUnreadableFile) {
    EXPECT_EQ(vtek::ArchiveReader::open(-1, 100, 10).error().number, ErrorNumber::ArchiveInvalid);
}

class UnpackMethods : public testing::TestWithParam<vtek::ConfinedFolder::Method> {};
INSTANTIATE_TEST_SUITE_P(All, UnpackMethods,
                         testing::Values(vtek::ConfinedFolder::Method::Openat2,
                                         vtek::ConfinedFolder::Method::Steps));

TEST_P(UnpackMethods, WritesSameFiles) {
    const Lab lab;
    const test::TempDir target;
    const std::string archive = lab.archive();
    std::filesystem::create_directory(target / "Chassis");
    test::writeFile(lab.aside() / "archive", archive);
    const auto source = vtek::openAt(vtek::kWorkingFolder, (lab.aside() / "archive").string(), O_RDONLY);
    const auto folder = vtek::openAt(vtek::kWorkingFolder, target.path().string(), O_RDONLY);
    vtek::ConfinedFolder confined(folder.get(), GetParam());
    const vtek::UnpackLimits limits{100, 10, 1000000, 200};
    const auto content =
        unpackArchive(source.get(), archive.size(), confined, "Chassis/fw.fwp", limits, [](auto) {});
    ASSERT_TRUE(content) << content.error().message;
    EXPECT_EQ(confined.method(), GetParam());
    EXPECT_EQ(test::readFile(target / "Chassis/main.bin"), std::string(100000, 'm'));
    EXPECT_EQ(test::readFile(target / "Chassis/sub/readme.txt"), "hello");
}

}  // namespace
