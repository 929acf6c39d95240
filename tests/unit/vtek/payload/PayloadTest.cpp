#include "Lab.h"
#include "payload/Payload.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

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

}  // namespace
