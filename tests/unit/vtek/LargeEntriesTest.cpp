// Large entries of a zip, which two threads unpack.
#include "Beneath.h"
#include "Lab.h"
#include "Unpack.h"
#include "UnpackAssistant.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
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

/** Letters at random, other ones for each seed. */
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
        vtek::Beneath beneath(folder.get());
        return unpackTo(beneath, limits);
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

/** Flips one byte of a stored content. */
std::string damaged(std::string archive, const std::string& content) {
    archive[archive.find(content) + content.size() / 2] ^= 1;
    return archive;
}

class LargeEntriesOf : public testing::TestWithParam<Format> {};
INSTANTIATE_TEST_SUITE_P(Format, LargeEntriesOf,
                         testing::Values(Format::Zip, Format::ZipStored, Format::Tar, Format::TarGz));

TEST_P(LargeEntriesOf, AreUnpackedWholeAmongSmallOnes) {
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

TEST(LargeEntries, TogetherMayBeAsLongAsTheLimitAndNoLonger) {
    const std::vector<Entry> entries{{"one", letters(1)}, {"two", letters(2)}, {"three", letters(3)}};
    vtek::UnpackLimits limits = kLimits;
    limits.totalBytes = formatManifest(Lab().manifest()).size() + 3 * kLarge;
    EXPECT_TRUE(Archive(Format::Zip, entries).unpack(limits));
    --limits.totalBytes;
    const auto refused = Archive(Format::Zip, entries).unpack(limits);
    ASSERT_FALSE(refused);
    EXPECT_EQ(refused.error().number, ErrorNumber::ArchiveTooLarge);
}

TEST(LargeEntries, TogetherMayBeAsCompressibleAsTheLimitAndNoMore) {
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

/** Gives out, for the file "slow", a pipe that nobody reads before the file "last" is made. */
class SlowTarget : public vtek::UnpackTarget {
public:
    SlowTarget() {
        std::array<int, 2> ends{};
        if (pipe2(ends.data(), O_CLOEXEC) != 0) {
            throw std::runtime_error("no pipe");
        }
        readEnd_ = vtek::UniqueFd(ends[0]);
        writeEnd_ = vtek::UniqueFd(ends[1]);
        reader_ = std::async(std::launch::async, [this] { return readOnceTheLastIsMade(); });
    }

    bool makeFolders(const std::string&) override { return true; }

    vtek::UniqueFd createFile(const std::string& path) override {
        if (path == "slow") {
            return std::move(writeEnd_);
        }
        if (path == "last") {
            lastIsMade_.set_value();
        }
        return vtek::openAt(vtek::kWorkingFolder, "/dev/null", O_WRONLY);
    }

    /** What "slow" was written, once it is closed; nothing if "last" was not made meanwhile. */
    std::string slowContent() { return reader_.get(); }

private:
    std::string readOnceTheLastIsMade() {
        const bool inTime =
            lastIsMade_.get_future().wait_for(std::chrono::seconds(20)) == std::future_status::ready;
        std::string content;
        std::array<char, 65536> block{};
        for (ssize_t n = 0; (n = read(readEnd_.get(), block.data(), block.size())) > 0;) {
            content.append(block.data(), static_cast<std::size_t>(n));
        }
        return inTime ? content : "";
    }

    vtek::UniqueFd readEnd_;
    vtek::UniqueFd writeEnd_;
    std::promise<void> lastIsMade_;
    std::future<std::string> reader_;
};

TEST(LargeEntries, OfAZipAreWrittenWhileOthersAre) {
    Archive archive(Format::Zip,
                    {{"slow", letters(1)}, {"other", letters(2)}, {"small", "x"}, {"last", letters(3)}});
    SlowTarget target;
    const auto unpacked = archive.unpackTo(target);
    EXPECT_TRUE(unpacked) << unpacked.error().message;
    EXPECT_TRUE(target.slowContent() == letters(1));
}

TEST(LargeEntries, ThatArePassedOverAreNotWhatTheArchiveHasMade) {
    Archive archive(Format::ZipStored, {{"slow", letters(1, 3'000'000)}, {"last", "x"}});
    SlowTarget target;
    vtek::UnpackLimits limits = kLimits;
    limits.ratio = 1;
    const auto unpacked = archive.unpackTo(target, limits);
    EXPECT_TRUE(unpacked) << unpacked.error().message;
    EXPECT_TRUE(target.slowContent() == letters(1, 3'000'000));
}

TEST(LargeEntries, ThatAreDamagedAreRefused) {
    const std::string stored =
        Lab().archiveOf(Format::ZipStored, {{"one", letters(1)}, {"two", letters(2)}, {"three", letters(3)}});
    for (const unsigned int which : {1U, 2U, 3U}) {
        const auto refused = Archive(damaged(stored, letters(which))).unpack();
        ASSERT_FALSE(refused);
        EXPECT_EQ(refused.error().number, ErrorNumber::ArchiveInvalid);
    }
}

TEST(LargeEntries, ThatFailCountBeforeWhatFollowsThem) {
    const std::string stored = Lab().archiveOf(Format::ZipStored, {{"one", letters(1)}, {"../two", "x"}});
    EXPECT_EQ(Archive(stored).unpack().error().number, ErrorNumber::EntryName);
    EXPECT_EQ(Archive(damaged(stored, letters(1))).unpack().error().number, ErrorNumber::ArchiveInvalid);
}

/** An assistant, and what it needs. */
class Assistant : public testing::Test {
protected:
    vtek::UnpackAssistant over(vtek::UnpackAssistant::OpenArchive open) {
        return vtek::UnpackAssistant(std::move(open), budget_);
    }

    vtek::UniqueFd file() const {
        return vtek::openAt(vtek::kWorkingFolder, (folder_ / "file").string(), O_WRONLY | O_CREAT | O_TRUNC);
    }

    std::string written() const { return test::readFile(folder_ / "file"); }

    const vtek::ArchiveEntry entry_{"entry", vtek::ArchiveEntry::Kind::File, std::nullopt};

private:
    test::TempDir folder_;
    vtek::ByteCounter counter_ = [](std::uint64_t) {};
    vtek::UnpackBudget budget_{kLimits, counter_};
};

TEST_F(Assistant, WritesTheEntryWithTheNumber) {
    const Archive archive(Format::Zip, {{"two", "second"}, {"three", "third"}, {"four", "fourth"}});
    int opened = 0;
    auto assistant = over([&] {
        ++opened;
        return archive.open();
    });
    for (const auto& [number, content] : {std::pair(2U, "second"), std::pair(4U, "fourth")}) {
        vtek::UniqueFd given = file();
        ASSERT_TRUE(assistant.begin(number, entry_, given));
        EXPECT_FALSE(given);
        EXPECT_TRUE(assistant.finish());
        EXPECT_EQ(written(), content);
    }
    EXPECT_EQ(opened, 1);
}

TEST_F(Assistant, BeginsNothingMoreAfterAFailure) {
    const Archive archive(Format::Zip, {{"two", "second"}});
    auto assistant = over([&] { return archive.open(); });
    vtek::UniqueFd given = file();
    ASSERT_TRUE(assistant.begin(9, entry_, given));
    const vtek::Status outcome = assistant.finish();
    ASSERT_FALSE(outcome);
    EXPECT_EQ(outcome.error().number, ErrorNumber::ArchiveInvalid);
    given = file();
    EXPECT_FALSE(assistant.begin(10, entry_, given));
    EXPECT_TRUE(given);
    EXPECT_EQ(assistant.finish().error().number, ErrorNumber::ArchiveInvalid);
}

TEST_F(Assistant, FailsAsTheArchiveDoesThatItOpens) {
    auto assistant = over([] { return vtek::Error{ErrorNumber::ArchiveTooLarge, "beyond"}; });
    vtek::UniqueFd given = file();
    ASSERT_TRUE(assistant.begin(2, entry_, given));
    EXPECT_EQ(assistant.finish().error().number, ErrorNumber::ArchiveTooLarge);
}

}  // namespace
