#include "Lab.h"
#include "payload/Payload.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <filesystem>
#include <string>
#include <utility>

namespace {

using test::Lab;
using test::UpdateOutcome;
using vtek::ErrorNumber;

std::string trailerOf(std::uint64_t length) {
    return vtek::payloadTrailer(length);
}

TEST(Payload, WritesTrailerAsEightBytesBigEndian) {
    EXPECT_EQ(trailerOf(0x0102030405060708), "\x01\x02\x03\x04\x05\x06\x07\x08");
    EXPECT_EQ(trailerOf(300), std::string("\0\0\0\0\0\0\1\x2C", 8));
}

TEST(Payload, FindsPartsByTrailer) {
    const test::TempDir folder;
    test::writeFile(folder / "fw.fwp", "archive" + std::string("cms") + trailerOf(3));
    const auto opened = vtek::openPayload(vtek::kWorkingFolder, (folder / "fw.fwp").string());
    ASSERT_TRUE(opened);
    EXPECT_EQ(opened->signedLength, 7U);
    EXPECT_EQ(std::string(opened->signature.begin(), opened->signature.end()), "cms");
    EXPECT_EQ(opened->size, 18U);
}

TEST(Payload, RefusesImpossibleLengths) {
    const Lab lab;
    const std::string body(100000, 'b');
    for (const std::uint64_t length :
         {std::uint64_t{0}, std::uint64_t{65537}, std::uint64_t{100000}, std::uint64_t{100001},
          std::uint64_t{1} << 31, std::uint64_t{1} << 63, ~std::uint64_t{0}}) {
        lab.write(body + trailerOf(length));
        EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::PayloadFormat})) << length;
    }
}

TEST(Payload, RefusesSignatureWithoutArchive) {
    const Lab lab;
    lab.write("cms" + trailerOf(3));
    EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::PayloadFormat}));
}

TEST(Payload, RefusesFilesTooShortForTrailer) {
    const Lab lab;
    for (const std::string content : {"", "x", "1234567", "12345678"}) {
        lab.write(content);
        EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::PayloadFormat})) << content.size();
    }
}

TEST(Payload, IgnoresFilesWithOtherSuffix) {
    const Lab lab;
    test::writeFile(lab.package() / "old.fwp.bak", "no payload");
    EXPECT_EQ(lab.update(), UpdateOutcome{"done"});
}

TEST(Payload, RefusesBytesBehindTrailer) {
    const Lab lab;
    lab.write(test::readFile(lab.payload()) + "x");
    EXPECT_EQ(lab.update().step, "check");
}

TEST(Payload, ReadsLengthsBeyond32Bits) {
    const test::TempDir folder;
    for (const std::uint64_t length :
         {(std::uint64_t{1} << 31) - 1, std::uint64_t{1} << 31, (std::uint64_t{1} << 32) + 1}) {
        const auto path = folder / "fw.fwp";
        const std::string tail = "cms" + trailerOf(3);
        const vtek::UniqueFd file =
            vtek::openAt(vtek::kWorkingFolder, path.string(), O_RDWR | O_CREAT | O_TRUNC, 0600);
        ASSERT_EQ(ftruncate(file.get(), static_cast<off_t>(length)), 0);
        ASSERT_EQ(pwrite(file.get(), tail.data(), tail.size(), static_cast<off_t>(length)),
                  static_cast<ssize_t>(tail.size()));
        const auto opened = vtek::openPayload(vtek::kWorkingFolder, path.string());
        ASSERT_TRUE(opened);
        EXPECT_EQ(opened->signedLength, length);
    }
}

/** A file of this size that ends with these bytes; the rest is a hole. */
void writeSparse(const std::filesystem::path& file, std::uint64_t size, const std::string& end) {
    const auto opened = vtek::openAt(vtek::kWorkingFolder, file.string(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    ASSERT_EQ(ftruncate(opened.get(), static_cast<off_t>(size)), 0);
    ASSERT_EQ(pwrite(opened.get(), end.data(), end.size(), static_cast<off_t>(size - end.size())),
              static_cast<ssize_t>(end.size()));
}

constexpr std::uint64_t kMiB = 1024 * 1024;

TEST(Payload, RefusesMoreBytesThanLimitsAllow) {
    const test::TempDir folder;
    const vtek::UnpackLimits limits{.entries = 10, .depth = 1, .totalBytes = 8 * kMiB, .ratio = 200};
    const auto check = [&](std::uint64_t size) {
        auto payload = vtek::openPayload(vtek::kWorkingFolder, (folder / "fw.fwp").string());
        payload->size = size;
        return checkPayloadSize(*payload, limits);
    };
    test::writeFile(folder / "fw.fwp", std::string(8 * kMiB, 'x') + "cms" + trailerOf(3));
    EXPECT_TRUE(check(8 * kMiB)) << "a tar is as large as its content";
    const std::uint64_t most = 8 * kMiB + 10 * 4096 + 65536 + 8;
    EXPECT_TRUE(check(most));
    EXPECT_EQ(check(most + 1).error().number, ErrorNumber::ArchiveTooLarge);
    EXPECT_EQ(check(UINT64_MAX).error().number, ErrorNumber::ArchiveTooLarge);
}

TEST(Payload, CountsHolesAsCompressed) {
    const test::TempDir folder;
    const std::string path = (folder / "fw.fwp").string();
    const std::string end = std::string(kMiB, 'x') + "cms" + trailerOf(3);
    const vtek::UnpackLimits limits{.entries = 10, .depth = 1, .totalBytes = 1 << 30, .ratio = 10};
    for (const auto& [size, accepted] :
         {std::pair(2 * kMiB, true), std::pair(10 * kMiB, true), std::pair(14 * kMiB, false)}) {
        writeSparse(path, size, end);
        struct stat info {};
        ASSERT_EQ(stat(path.c_str(), &info), 0);
        if (static_cast<std::uint64_t>(info.st_blocks) * 512 >= size) {
            GTEST_SKIP() << "skipped: this file system makes no holes";
        }
        const auto payload = vtek::openPayload(vtek::kWorkingFolder, path);
        ASSERT_TRUE(payload);
        EXPECT_EQ(static_cast<bool>(checkPayloadSize(*payload, limits)), accepted) << size;
    }
    writeSparse(path, kMiB, "cms" + trailerOf(3));
    EXPECT_TRUE(checkPayloadSize(*vtek::openPayload(vtek::kWorkingFolder, path), limits)) << "small";
}

TEST(Payload, RefusesTerabyteOfHolesAtOnce) {
    const Lab lab;
    const std::string end = test::readFile(lab.payload());
    for (const std::uint64_t size : {1024 * 1024 * kMiB, 8 * 1024 * kMiB}) {
        writeSparse(lab.payload(), size, end);
        EXPECT_EQ(lab.update(), (UpdateOutcome{"check", ErrorNumber::ArchiveTooLarge})) << size;
    }
}

}  // namespace
