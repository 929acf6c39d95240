// Large entries of a zip, which two threads extract.
#include "Lab.h"
#include "payload/ConfinedFolder.h"
#include "payload/LargeEntries.h"
#include "payload/Unpack.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <future>
#include <random>
#include <string>
#include <vector>

namespace {

using test::Entry;
using test::Format;
using test::Lab;
using vtek::ErrorNumber;

constexpr vtek::UnpackLimits kLimits{100, 10, 100'000'000, 200};
constexpr std::size_t kLarge = 1'500'000;

/** Random letters, different ones for each seed. */
std::string letters(unsigned int seed, std::size_t size = kLarge) {
    std::mt19937 random(seed);
    std::string text(size, '\0');
    std::generate(text.begin(), text.end(), [&] { return static_cast<char>('a' + random() % 26); });
    return text;
}

/** An archive in a file, and a folder to unpack it to. */
class Archive {
public:
    Archive(Format format, const std::vector<Entry>& entries) : Archive(Lab().archiveOf(format, entries)) {}

    explicit Archive(const std::string& bytes) : size_(bytes.size()) {
        test::writeFile(folder_ / "archive", bytes);
        std::filesystem::create_directory(folder_ / "content");
        file_ = vtek::openAt(vtek::kWorkingFolder, (folder_ / "archive").string(), O_RDONLY);
    }

    vtek::Result<vtek::ArchiveReader> open() const {
        return vtek::ArchiveReader::open(file_.get(), size_, kLimits.entries);
    }

    vtek::Result<vtek::UnpackedContent> unpackTo(vtek::UnpackTarget& target,
                                                 const vtek::UnpackLimits& limits = kLimits) {
        return unpackArchive(file_.get(), size_, target, "", limits,
                             [this](std::uint64_t bytes) { taken_ += bytes; });
    }

    vtek::Result<vtek::UnpackedContent> unpack(const vtek::UnpackLimits& limits = kLimits) {
        const auto folder = vtek::openAt(vtek::kWorkingFolder, (folder_ / "content").string(), O_RDONLY);
        vtek::ConfinedFolder confined(folder.get());
        return unpackTo(confined, limits);
    }

    std::string content(const std::string& name) const { return test::readFile(folder_ / "content" / name); }
    std::size_t size() const { return size_; }
    std::uint64_t taken() const { return taken_; }

private:
    test::TempDir folder_;
    std::size_t size_;
    vtek::UniqueFd file_;
    std::uint64_t taken_ = 0;
};

/** Flips one bit of a stored content. */
std::string damaged(std::string archive, const std::string& content) {
    archive[archive.find(content) + content.size() / 2] ^= 1;
    return archive;
}

class LargeEntriesFormats : public testing::TestWithParam<Format> {};
INSTANTIATE_TEST_SUITE_P(All, LargeEntriesFormats,
                         testing::Values(Format::Zip, Format::ZipStored, Format::Tar, Format::TarGz));

TEST_P(LargeEntriesFormats, UnpacksLargeAndSmallEntries) {
    std::vector<Entry> entries;
    std::size_t bytes = formatManifest(Lab().manifest()).size();
    for (unsigned int i = 0; i < 5; ++i) {
        entries.push_back({"folder/large" + std::to_string(i), letters(i)});
        entries.push_back({"small" + std::to_string(i), letters(i, 100)});
        bytes += kLarge + 100;
    }
    Archive archive(GetParam(), entries);
    const auto unpacked = archive.unpack();
    ASSERT_TRUE(unpacked) << unpacked.error().message;
    EXPECT_EQ(unpacked->files, 11U);
    EXPECT_EQ(unpacked->bytes, bytes);
    EXPECT_EQ(unpacked->manifest, Lab().manifest());
    EXPECT_GE(archive.taken(), archive.size() * 9 / 10);
    for (const Entry& entry : entries) {
        EXPECT_TRUE(archive.content(entry.name) == entry.content) << entry.name;
    }
}

TEST(LargeEntries, EnforcesByteLimitAcrossEntries) {
    const std::vector<Entry> entries{{"one", letters(1)}, {"two", letters(2)}, {"three", letters(3)}};
    vtek::UnpackLimits limits = kLimits;
    limits.totalBytes = formatManifest(Lab().manifest()).size() + 3 * kLarge;
    EXPECT_TRUE(Archive(Format::Zip, entries).unpack(limits));
    --limits.totalBytes;
    const auto refused = Archive(Format::Zip, entries).unpack(limits);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().number, ErrorNumber::ArchiveTooLarge);
}

TEST(LargeEntries, EnforcesRatioAcrossEntries) {
    const std::string zeros(16 * kLarge, '\0');
    Archive archive(Format::Zip, {{"one", zeros}, {"two", zeros}});
    const auto refused = archive.unpack();
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().number, ErrorNumber::ArchiveTooLarge);

    Archive again(Format::Zip, {{"one", zeros}, {"two", zeros}});
    vtek::UnpackLimits limits = kLimits;
    limits.ratio = 2000;
    EXPECT_TRUE(again.unpack(limits));
}

/** Gives pipes for the files "one" and "two". Nobody reads from them until both are being written to. */
class Pipes : public vtek::UnpackTarget {
public:
    Pipes() : reader_(std::async(std::launch::async, [this] { return readOnceBothAreWritten(); })) {}

    /** Ends the reader's wait even when the archive was refused before its files were created. */
    ~Pipes() override { closeWriteEnds(); }

    bool makeFolders(const std::string&) override { return true; }

    vtek::UniqueFd createFile(const std::string& path) override {
        return path == "one"   ? std::move(one_.writeEnd)
               : path == "two" ? std::move(two_.writeEnd)
                               : vtek::openAt(vtek::kWorkingFolder, "/dev/null", O_WRONLY);
    }

    /** Whether both were being written at the same time. */
    bool wereWrittenAtOnce() {
        closeWriteEnds();
        return reader_.get();
    }

private:
    struct Pipe {
        Pipe() {
            std::array<int, 2> ends{};
            if (pipe2(ends.data(), O_CLOEXEC) != 0) {
                throw std::runtime_error("no pipe");
            }
            readEnd = vtek::UniqueFd(ends[0]);
            writeEnd = vtek::UniqueFd(ends[1]);
        }
        vtek::UniqueFd readEnd;
        vtek::UniqueFd writeEnd;
    };

    void closeWriteEnds() {
        one_.writeEnd.reset();
        two_.writeEnd.reset();
    }

    static bool hasBytes(const Pipe& pipe) {
        pollfd waiting{pipe.readEnd.get(), POLLIN, 0};
        return poll(&waiting, 1, 20'000) == 1 && (waiting.revents & POLLIN) != 0;
    }

    static void readToTheEnd(const Pipe& pipe) {
        std::array<char, 65536> block{};
        while (read(pipe.readEnd.get(), block.data(), block.size()) > 0) {
        }
    }

    bool readOnceBothAreWritten() const {
        const bool both = hasBytes(one_) && hasBytes(two_);
        const auto other = std::async(std::launch::async, [this] { readToTheEnd(two_); });
        readToTheEnd(one_);
        return both;
    }

    Pipe one_;
    Pipe two_;
    std::future<bool> reader_;
};

TEST(LargeEntries, WritesTwoAtATime) {
    Archive archive(Format::Zip, {{"one", letters(1)}, {"two", letters(2)}, {"three", letters(3)}});
    Pipes target;
    const auto unpacked = archive.unpackTo(target);
    EXPECT_TRUE(unpacked) << unpacked.error().message;
    EXPECT_TRUE(target.wereWrittenAtOnce());
}

TEST(LargeEntries, DoesNotCountSkippedContent) {
    vtek::UnpackLimits limits = kLimits;
    limits.ratio = 1;
    const auto unpacked =
        Archive(Format::ZipStored, {{"large", letters(1, 3'000'000)}, {"last", "x"}}).unpack(limits);
    EXPECT_TRUE(unpacked) << unpacked.error().message;
}

TEST(LargeEntries, AcceptsMoreThanItHoldsOpen) {
    std::vector<Entry> entries;
    for (unsigned int i = 0; i < 70; ++i) {
        entries.push_back(
            {"large" + std::to_string(i), std::string(1'048'576, static_cast<char>('a' + i % 26))});
    }
    vtek::UnpackLimits limits = kLimits;
    limits.ratio = 10'000;
    Archive archive(Format::Zip, entries);
    const auto unpacked = archive.unpack(limits);
    ASSERT_TRUE(unpacked) << unpacked.error().message;
    for (const Entry& entry : entries) {
        EXPECT_TRUE(archive.content(entry.name) == entry.content) << entry.name;
    }
}

TEST(LargeEntries, RefusesDamagedEntries) {
    const std::string stored =
        Lab().archiveOf(Format::ZipStored, {{"one", letters(1)}, {"two", letters(2)}, {"three", letters(3)}});
    for (const unsigned int which : {1U, 2U, 3U}) {
        const auto refused = Archive(damaged(stored, letters(which))).unpack();
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error().number, ErrorNumber::ArchiveInvalid);
    }
}

/** LargeEntries without the rest of an unpacking. */
class LargeEntriesAlone : public testing::Test {
protected:
    vtek::LargeEntries of(vtek::LargeEntries::OpenArchive open) {
        return vtek::LargeEntries(
            [this, open = std::move(open)] {
                ++opened_;
                return open();
            },
            budget_);
    }

    vtek::LargeEntries of(const Archive& archive) {
        return of([&] { return archive.open(); });
    }

    vtek::Status add(vtek::LargeEntries& entries, std::uint64_t number) const {
        const auto name = (folder_ / std::to_string(number)).string();
        return entries.add(number, {name, vtek::ArchiveEntry::Kind::File, std::nullopt},
                           vtek::openAt(vtek::kWorkingFolder, name, O_WRONLY | O_CREAT | O_TRUNC, 0600));
    }

    std::string written(std::uint64_t number) const {
        return test::readFile(folder_ / std::to_string(number));
    }

    std::atomic<int> opened_ = 0;

private:
    test::TempDir folder_;
    vtek::ByteCounter counter_ = [](std::uint64_t) {};
    vtek::UnpackBudget budget_{kLimits, kLarge, counter_};
};

TEST_F(LargeEntriesAlone, ExtractsEntriesByNumber) {
    const Archive archive(Format::Zip, {{"two", "second"}, {"three", "third"}, {"four", "fourth"}});
    auto entries = of(archive);
    ASSERT_TRUE(add(entries, 2));
    ASSERT_TRUE(entries.extract());
    ASSERT_TRUE(add(entries, 4));
    EXPECT_EQ(written(4), "");
    ASSERT_TRUE(entries.extract());
    EXPECT_EQ(written(2), "second");
    EXPECT_EQ(written(4), "fourth");
    EXPECT_EQ(opened_, 1);
}

TEST_F(LargeEntriesAlone, ReportsMissingEntry) {
    const Archive archive(Format::Zip, {{"two", "second"}});
    auto entries = of(archive);
    ASSERT_TRUE(add(entries, 9));
    const vtek::Status outcome = entries.extract();
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().number, ErrorNumber::ArchiveInvalid);
}

TEST_F(LargeEntriesAlone, StartsNoEntryAfterFailure) {
    auto entries = of([] { return vtek::Error{ErrorNumber::ArchiveTooLarge, "beyond"}; });
    for (const std::uint64_t number : {2, 3, 4, 5}) {
        ASSERT_TRUE(add(entries, number));
    }
    EXPECT_EQ(entries.extract().error().number, ErrorNumber::ArchiveTooLarge);
    EXPECT_LE(opened_, 2);
}

}  // namespace
