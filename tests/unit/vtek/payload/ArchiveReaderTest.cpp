// The formats of archives. UnpackTest.cpp is about the names in them.
#include "ChildProcess.h"
#include "Lab.h"
#include "payload/ArchiveReader.h"
#include "payload/ConfinedFolder.h"
#include "payload/Unpack.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <random>
#include <string>

namespace {

using test::Format;
using test::Lab;
using test::UpdateOutcome;
using vtek::ErrorNumber;

const UpdateOutcome kDone{"done"};

/** How an update with this archive ends. */
UpdateOutcome updateWith(const Lab& lab, const std::string& archive) {
    lab.sign(archive);
    return lab.update();
}

/** Bytes that do not compress. */
std::string noise(std::size_t size) {
    std::mt19937 random;
    std::string bytes(size, '\0');
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<char>(random()); });
    return bytes;
}

TEST(ArchiveReader, ReadsNothingBehindTheArchive) {
    const Lab lab;
    for (const Format format : {Format::Tar, Format::TarGz, Format::Zip}) {
        const std::string archive = lab.archiveOf(format, {{"noise", noise(300000)}});
        test::writeFile(lab.aside() / "archive", archive + noise(500000));
        const auto source = vtek::openAt(vtek::kWorkingFolder, (lab.aside() / "archive").string(), O_RDONLY);
        const test::TempDir target;
        const auto folder = vtek::openAt(vtek::kWorkingFolder, target.path().string(), O_RDONLY);
        vtek::ConfinedFolder confined(folder.get());
        std::uint64_t taken = 0;
        const vtek::UnpackLimits limits{100, 10, 1000000, 200};
        ASSERT_TRUE(unpackArchive(source.get(), archive.size(), confined, "", limits,
                                  [&](std::uint64_t bytes) { taken += bytes; }));
        EXPECT_GE(taken, 300000U);
        const std::size_t directory = format == Format::Zip ? 128 * 1024 : 0;  // read first
        EXPECT_LE(taken, archive.size() + directory);
    }
}

/** Turns an entry of a tar into a hard link to the manifest that keeps its content, as no archiver writes
 * one. A header has 512 bytes: the sum of its bytes at 148, counted as blanks; the type at 156, then the
 * target. */
std::string asHardLink(std::string tar, const std::string& name) {
    constexpr std::size_t kTypeAt = 156;
    constexpr std::size_t kSumAt = 148;
    const std::size_t header = tar.find(name + std::string(1, '\0'));
    tar[header + kTypeAt] = '1';
    const std::string target = vtek::kManifestName;
    tar.replace(header + kTypeAt + 1, target.size(), target);
    tar.replace(header + kSumAt, 8, 8, ' ');
    unsigned int sum = 0;
    for (const char byte : tar.substr(header, 512)) {
        sum += static_cast<unsigned char>(byte);
    }
    std::array<char, 8> digits{};
    std::snprintf(digits.data(), digits.size(), "%06o", sum);
    tar.replace(header + kSumAt, 7, digits.data(), 7);
    return tar;
}

TEST(ArchiveReader, RefusesHardLinkWithContent) {
    const Lab lab;
    const std::string archive = asHardLink(lab.archiveOf(Format::Tar, {{"hard", "body"}}), "hard");
    EXPECT_EQ(updateWith(lab, archive), (UpdateOutcome{"unpack", ErrorNumber::EntryKind}));
}

TEST(ArchiveReader, RefusesEveryDepthOfNestedCompression) {
    const Lab lab;
    std::string archive = lab.archive(Format::TarGz);
    // libarchive's own bound is 25 filters: both sides of it.
    for (int depth = 2; depth <= 30; ++depth) {
        archive = test::gzipped(archive);
        EXPECT_EQ(updateWith(lab, archive), (UpdateOutcome{"check", ErrorNumber::ArchiveInvalid})) << depth;
    }
    EXPECT_EQ(updateWith(lab, test::gzipped(lab.archive(Format::Zip))),
              (UpdateOutcome{"check", ErrorNumber::ArchiveInvalid}));
}

/** A gzip in a gzip. To see where the name in the inner one ends takes as much memory as the name. */
std::string nestedBomb(std::size_t nameLength) {
    return test::gzipped("\x1F\x8B\x08\x08" + std::string(6, '\0') + std::string(nameLength, 'n'));
}

/** The most memory that this process has used so far, in KiB. */
long peakMemory() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

TEST(ArchiveReader, DecompressesNothingTwice) {
    const test::TempDir folder;
    constexpr long kBomb = 32 * 1024;   // KiB
    constexpr long kEnough = 4 * 1024;  // KiB; libarchive's buffers take some hundred
    const std::string bomb = nestedBomb(kBomb * 1024);
    for (const std::string& archive : {bomb, test::gzipped(bomb)}) {
        test::writeFile(folder / "archive", archive);
        const test::Outcome outcome = test::runInChild([&] {
            const long before = peakMemory();
            const auto file = vtek::openAt(vtek::kWorkingFolder, (folder / "archive").string(), O_RDONLY);
            const auto reader = vtek::ArchiveReader::open(file.get(), archive.size(), 10);
            const bool refused = !reader && reader.error().number == ErrorNumber::ArchiveInvalid;
            return refused && peakMemory() - before < kEnough ? 0 : 1;
        });
        EXPECT_EQ(outcome.exitStatus, 0);
    }
}

TEST(ArchiveReader, AcceptsGzipOfSeveralMembers) {
    const Lab lab;
    const std::string tar = lab.archive(Format::Tar);
    EXPECT_EQ(updateWith(lab, test::gzipped(tar.substr(0, 5000)) + test::gzipped(tar.substr(5000))), kDone);
}

/** Sets a byte in both headers of a zip's entry. The local header has 30 bytes before the name; the one in
 * the directory has 46, and two more before the same field. */
std::string withHeaderByte(std::string zip, const std::string& name, std::size_t at, char byte) {
    constexpr std::size_t kLocalName = 30;
    constexpr std::size_t kCentralName = 46;
    zip[zip.find(name) - kLocalName + at] = byte;
    zip[zip.rfind(name) - kCentralName + at + 2] = byte;
    return zip;
}

TEST(ArchiveReader, RefusesEncryptedZipEntry) {
    const Lab lab;
    const std::string archive = lab.archiveOf(Format::ZipStored, {{"secret/", "", 'd'}});
    ASSERT_EQ(updateWith(lab, archive), kDone);
    constexpr std::size_t kFlagsAt = 6;  // bit 0: encrypted
    EXPECT_EQ(updateWith(lab, withHeaderByte(archive, "secret/", kFlagsAt, '\1')),
              (UpdateOutcome{"unpack", ErrorNumber::ArchiveInvalid}));
}

TEST(ArchiveReader, RefusesZipWithHugeDirectory) {
    const Lab lab;
    std::string archive = lab.archive(Format::Zip);
    constexpr std::size_t kDirectorySizeAt = 12;
    archive.replace(archive.rfind("PK\5\6") + kDirectorySizeAt, 4, 4, '\xF0');
    EXPECT_EQ(updateWith(lab, archive), (UpdateOutcome{"unpack", ErrorNumber::ArchiveTooLarge}));
}

TEST(ArchiveReader, UsesLastEndRecordOfZip) {
    const Lab lab;
    const std::string record = "PK\5\6" + std::string(18, '\xFF');
    EXPECT_EQ(updateWith(lab, lab.archiveOf(Format::ZipStored, {{"file", record}})), kDone);
}

TEST(ArchiveReader, RefusesZipWithTruncatedEndRecord) {
    const Lab lab;
    const std::string archive = lab.archive(Format::Zip);
    EXPECT_EQ(updateWith(lab, archive.substr(0, archive.rfind("PK\5\6") + 6)),
              (UpdateOutcome{"unpack", ErrorNumber::ArchiveInvalid}));
}

}  // namespace
