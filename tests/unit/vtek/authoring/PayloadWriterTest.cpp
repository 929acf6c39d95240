#include "Lab.h"
#include "authoring/PayloadWriter.h"
#include "payload/ConfinedFolder.h"
#include "payload/Payload.h"
#include "payload/Unpack.h"
#include "trust/TrustStore.h"

#include <fcntl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using test::readFile;
using test::writeFile;
using vtek::ArchiveFormat;
using vtek::ErrorNumber;

const vtek::Manifest kManifest{"25227", "2.00", {"LAB-CHASSIS", "OTHER"}, std::string(64, 'a')};
constexpr vtek::UnpackLimits kLimits{.entries = 100, .depth = 10, .totalBytes = 1 << 20, .ratio = 200};

class PayloadWriter : public testing::Test {
protected:
    PayloadWriter() {
        fs::create_directories(content() / "sub" / "empty");
        writeFile(content() / "main.bin", std::string(100000, 'm'));
        writeFile(content() / "sub" / "readme.txt", "hello");
    }

    fs::path content() const { return folder_ / "content"; }
    fs::path made() const { return folder_ / "made"; }

    vtek::Status write(ArchiveFormat format, const fs::path& from) const {
        const vtek::UniqueFd file =
            vtek::openAt(vtek::kWorkingFolder, made().string(), O_RDWR | O_CREAT | O_TRUNC, 0600);
        return vtek::writeArchive(file.get(), format, kManifest, from);
    }

    /** Unpacks the archive, and returns its manifest. */
    vtek::Manifest unpack() const {
        const fs::path target = folder_ / "target";
        fs::remove_all(target);
        fs::create_directory(target);
        const vtek::UniqueFd file = vtek::openAt(vtek::kWorkingFolder, made().string(), O_RDONLY);
        const vtek::UniqueFd folder =
            vtek::openAt(vtek::kWorkingFolder, target.string(), O_RDONLY | O_DIRECTORY);
        vtek::ConfinedFolder confined(folder.get());
        const auto unpacked = vtek::unpackArchive(file.get(), fs::file_size(made()), confined, "", kLimits,
                                                  [](std::uint64_t) {});
        EXPECT_TRUE(unpacked) << unpacked.error().message;
        return unpacked ? unpacked->manifest : vtek::Manifest{};
    }

    /** Everything below the target: files with their content, folders with a slash. */
    std::map<std::string, std::string> unpacked() const {
        std::map<std::string, std::string> found;
        for (const auto& item : fs::recursive_directory_iterator(folder_ / "target")) {
            const std::string name = item.path().lexically_relative(folder_ / "target").string();
            found[name] = item.is_directory() ? "/" : readFile(item.path());
        }
        return found;
    }

    const std::map<std::string, std::string> whole_{{"manifest.xml", vtek::formatManifest(kManifest)},
                                                    {"main.bin", std::string(100000, 'm')},
                                                    {"sub", "/"},
                                                    {"sub/empty", "/"},
                                                    {"sub/readme.txt", "hello"}};
    test::TempDir folder_;
};

TEST_F(PayloadWriter, WritesManifestAndContentInEveryFormat) {
    for (const ArchiveFormat format : {ArchiveFormat::Tar, ArchiveFormat::TarGz, ArchiveFormat::Zip}) {
        SCOPED_TRACE(static_cast<int>(format));
        ASSERT_TRUE(write(format, content()));
        EXPECT_EQ(unpack(), kManifest);
        EXPECT_EQ(unpacked(), whole_);
    }
}

TEST_F(PayloadWriter, SortsEntriesByName) {
    ASSERT_TRUE(write(ArchiveFormat::Tar, content()));
    const std::string archive = readFile(made());
    std::vector<std::size_t> places;
    for (const char* name : {"manifest.xml", "main.bin", "sub/", "sub/empty/", "sub/readme.txt"}) {
        places.push_back(archive.find(name + std::string(1, '\0')));
    }
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end()));
    EXPECT_LT(places.back(), archive.size());
}

TEST_F(PayloadWriter, WritesRequestedFormat) {
    ASSERT_TRUE(write(ArchiveFormat::Zip, content()));
    EXPECT_TRUE(readFile(made()).starts_with("PK\3\4"));
    ASSERT_TRUE(write(ArchiveFormat::TarGz, content()));
    EXPECT_TRUE(readFile(made()).starts_with("\x1F\x8B"));
    EXPECT_EQ(readFile(made()).substr(4, 4), std::string(4, '\0')) << "the time of writing";
    ASSERT_TRUE(write(ArchiveFormat::Tar, content()));
    EXPECT_TRUE(readFile(made()).starts_with("manifest.xml"));
}

TEST_F(PayloadWriter, WritesEqualBytesForEqualContent) {
    for (const ArchiveFormat format : {ArchiveFormat::Tar, ArchiveFormat::TarGz, ArchiveFormat::Zip}) {
        ASSERT_TRUE(write(format, content()));
        const std::string first = readFile(made());
        fs::last_write_time(content() / "main.bin",
                            fs::file_time_type::clock::now() - std::chrono::hours(48));
        ASSERT_TRUE(write(format, content()));
        EXPECT_EQ(readFile(made()), first);
    }
}

TEST_F(PayloadWriter, CopiesEntriesOfAnotherArchive) {
    writeFile(folder_ / "other.zip",
              test::makeArchive(test::Format::Zip, {{"main.bin", std::string(100000, 'm')},
                                                    {"sub", "", 'd'},
                                                    {"sub/empty", "", 'd'},
                                                    {"sub/readme.txt", "hello"}}));
    ASSERT_TRUE(write(ArchiveFormat::Tar, folder_ / "other.zip"));
    EXPECT_EQ(unpack(), kManifest);
    EXPECT_EQ(unpacked(), whole_);
}

TEST_F(PayloadWriter, RefusesContentThatCannotBeUnpacked) {
    fs::create_symlink("main.bin", content() / "link");
    EXPECT_EQ(write(ArchiveFormat::Tar, content()).error().number, ErrorNumber::InvalidArgument);
    writeFile(folder_ / "links.tar",
              test::makeArchive(test::Format::Tar, {{"a", "a"}, {"link", "", 'l', "a"}}));
    EXPECT_EQ(write(ArchiveFormat::Tar, folder_ / "links.tar").error().number, ErrorNumber::InvalidArgument);
    writeFile(folder_ / "twice.tar", test::makeArchive(test::Format::Tar, {{"manifest.xml", "another"}}));
    EXPECT_EQ(write(ArchiveFormat::Tar, folder_ / "twice.tar").error().number, ErrorNumber::InvalidArgument);
    writeFile(folder_ / "junk", "no archive");
    EXPECT_FALSE(write(ArchiveFormat::Tar, folder_ / "junk"));
    EXPECT_EQ(write(ArchiveFormat::Tar, folder_ / "missing").error().number, ErrorNumber::InvalidArgument);
}

TEST_F(PayloadWriter, RefusesFileThatIsNotRegularOrChanges) {
    const vtek::UniqueFd file = vtek::openAt(vtek::kWorkingFolder, made().string(), O_RDWR | O_CREAT, 0600);
    vtek::ArchiveWriter writer(file.get(), ArchiveFormat::Tar);
    EXPECT_TRUE(writer.addFile("main.bin", content() / "main.bin"));
    EXPECT_EQ(writer.addFile("sub", content() / "sub").error().message,
              (content() / "sub").string() + " is not a regular file");
    fs::create_symlink("main.bin", content() / "link");
    EXPECT_EQ(writer.addFile("link", content() / "link").error().number, ErrorNumber::InvalidArgument);
    // The kernel reports a size of 0.
    EXPECT_EQ(writer.addFile("status", "/proc/self/status").error().message,
              "/proc/self/status changed while it was read");
}

TEST_F(PayloadWriter, MakesSignatureThatVerifies) {
    test::Lab lab;
    ASSERT_TRUE(write(ArchiveFormat::Tar, content()));
    const auto signature = vtek::signFile(made(), lab.signer(), {});
    ASSERT_TRUE(signature);
    const vtek::UniqueFd file = vtek::openAt(vtek::kWorkingFolder, made().string(), O_WRONLY | O_APPEND);
    ASSERT_TRUE(vtek::appendSignature(file.get(), *signature));
    const auto payload = vtek::openPayload(vtek::kWorkingFolder, made().string());
    ASSERT_TRUE(payload);
    const vtek::Root root = lab.root();
    const auto trust = vtek::loadTrustStore(root);
    ASSERT_TRUE(trust);
    const auto verified = vtek::verifySignature(
        *payload, *trust, {test::kNow, vtek::Revocation::IfPresent, {}}, [](std::string_view) {});
    EXPECT_TRUE(verified) << verified.error().message;
}

TEST_F(PayloadWriter, RefusesArchiveCompressedTwice) {
    const test::Lab lab;
    writeFile(folder_ / "source", test::gzipped(lab.archiveOf(test::Format::TarGz, {})));
    EXPECT_EQ(write(ArchiveFormat::Tar, folder_ / "source").error().number, ErrorNumber::ArchiveInvalid);
}

TEST_F(PayloadWriter, RefusesLargePackageXml) {
    writeFile(folder_ / "package.xml", "");
    fs::resize_file(folder_ / "package.xml", std::uintmax_t{1} << 40);
    const auto digest = vtek::digestOfPackage(folder_ / "package.xml");
    ASSERT_FALSE(digest);
    EXPECT_EQ(digest.error().number, ErrorNumber::InvalidArgument);
}

TEST_F(PayloadWriter, RefusesMissingFile) {
    test::Lab lab;
    EXPECT_EQ(vtek::signFile(folder_ / "missing", lab.signer(), {}).error().number,
              ErrorNumber::InvalidArgument);
    EXPECT_EQ(vtek::digestOfPackage(folder_ / "missing").error().number, ErrorNumber::InvalidArgument);
    EXPECT_FALSE(vtek::appendSignature(-1, "signature"));
}

TEST_F(PayloadWriter, ComputesSha256) {
    writeFile(folder_ / "abc", "abc");
    const auto digest = vtek::digestOfPackage(folder_ / "abc");
    ASSERT_TRUE(digest);
    EXPECT_EQ(*digest, "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

}  // namespace
