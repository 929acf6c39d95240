#include "TempDir.h"
#include "base/File.h"
#include "trust/Digest.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <string>

namespace {

TEST(Digest, ComputesSha256) {
    vtek::Digest empty;
    EXPECT_EQ(empty.hex(), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    vtek::Digest abc;
    abc.update("a", 1);
    abc.update("bc", 2);
    EXPECT_EQ(abc.hex(), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

TEST(Digest, CoversWholeFile) {
    const test::TempDir folder;
    for (const std::size_t size : {0U, 65535U, 65536U, 65537U, 200000U}) {
        const std::string content(size, 'x');
        test::writeFile(folder / "file", content);
        const auto file = vtek::openAt(vtek::kWorkingFolder, (folder / "file").string(), O_RDONLY);
        vtek::Digest expected;
        expected.update(content.data(), size);
        EXPECT_EQ(*digestOfFile(file.get(), vtek::ErrorNumber::PackageUnreadable), expected.hex()) << size;
    }
}

TEST(Digest, ReportsUnreadableFileWithGivenNumber) {
    const auto folder = vtek::openAt(vtek::kWorkingFolder, "/", O_RDONLY);
    const auto digest = digestOfFile(folder.get(), vtek::ErrorNumber::PackageUnreadable);
    ASSERT_FALSE(digest);
    EXPECT_EQ(digest.error().number, vtek::ErrorNumber::PackageUnreadable);
}

}  // namespace
