// Unpacks an archive next to files and folders that must not change.

#include "Harness.h"
#include "TempDir.h"
#include "base/File.h"
#include "payload/ConfinedFolder.h"
#include "payload/Manifest.h"
#include "payload/Unpack.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <map>
#include <optional>

namespace test {
namespace {

namespace fs = std::filesystem;
using vtek::ConfinedFolder;

constexpr vtek::UnpackLimits kLimits{.entries = 16, .depth = 3, .totalBytes = 2 * 1024 * 1024, .ratio = 50};
constexpr const char* kPrefix = "content";
constexpr unsigned int kPermissions = 07777;

/** The content of a folder, by relative path. */
using Tree = std::map<std::string, std::string>;

std::string described(const fs::path& path) {
    struct stat info {};
    require(lstat(path.c_str(), &info) == 0, "what is listed is there");
    std::string text = std::to_string(info.st_mode) + ' ' + std::to_string(info.st_nlink) + ' ';
    if (S_ISLNK(info.st_mode)) {
        return text + fs::read_symlink(path).string();
    }
    return S_ISREG(info.st_mode) ? text + readFile(path) : text;
}

Tree treeBelow(const fs::path& folder) {
    Tree tree;
    for (auto item = fs::recursive_directory_iterator(folder); item != fs::recursive_directory_iterator();
         ++item) {
        const std::string name = item->path().lexically_relative(folder).string();
        tree[name] = described(item->path());
    }
    return tree;
}

/** A target folder with neighbours: a file and a folder outside it, and inside, next to the content, a file,
 * a folder and a link to the outside. */
class Surroundings {
public:
    Surroundings() {
        fs::create_directories(place_ / "outside");
        fs::create_directories(target() / "beside");
        writeFile(place_ / "sentinel", "outside");
        writeFile(target() / "beside" / "sentinel", "beside");
        fs::create_directory_symlink("../outside", target() / "link");
        untouched_ = treeBelow(place_);
    }

    fs::path target() const { return place_ / "target"; }
    fs::path content() const { return target() / kPrefix; }

    void makeContent() const {
        fs::create_directory(content());
        fs::create_directory_symlink("../../outside", content() / "l");
    }

    /** Removes the content and returns it. */
    Tree takeContent() const {
        Tree tree = treeBelow(content());
        require(tree.erase("l") == 1, "the link in the content is still there");
        fs::remove_all(content());
        return tree;
    }

    void requireUntouched() const {
        require(treeBelow(place_) == untouched_, "nothing changed outside the content");
    }

private:
    fs::path place_ = workingFolder() / "unpacking";
    Tree untouched_;
};

std::string lowered(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return text;
}

/** Requires what must hold after any unpacking, successful or not; returns the number and size of the files.
 */
vtek::UnpackedContent requireHarmless(const fs::path& content) {
    vtek::UnpackedContent found;
    Tree lowerCase;
    for (const auto& item : fs::recursive_directory_iterator(content)) {
        const std::string name = item.path().lexically_relative(content).string();
        struct stat info {};
        require(lstat(item.path().c_str(), &info) == 0, "what is listed is there");
        if (name == "l") {
            continue;
        }
        require(S_ISREG(info.st_mode) || S_ISDIR(info.st_mode), "only regular files and folders");
        require((info.st_mode & kPermissions & ~(S_ISREG(info.st_mode) ? 0644U : 0755U)) == 0, "plain modes");
        require(S_ISDIR(info.st_mode) || info.st_nlink == 1, "no second name for a file");
        require(name.find_first_of("\\\n\t") == std::string::npos, "plain names");
        require(std::count(name.begin(), name.end(), '/') <= static_cast<long>(kLimits.depth),
                "not too deep");
        require(lowerCase.emplace(lowered(name), name).second, "no names that differ only in case");
        if (S_ISREG(info.st_mode)) {
            ++found.files;
            found.bytes += static_cast<std::uint64_t>(info.st_size);
        }
    }
    require(found.files <= kLimits.entries, "not too many files");
    require(found.bytes <= kLimits.totalBytes, "not too many bytes");
    return found;
}

/** The result of unpacking an archive. */
struct Outcome {
    vtek::ErrorNumber number;
    std::optional<vtek::Manifest> manifest;
    Tree tree;

    bool operator==(const Outcome&) const = default;
};

Outcome unpack(int archive, std::uint64_t length, const Surroundings& surroundings,
               ConfinedFolder::Method method) {
    surroundings.makeContent();
    const vtek::UniqueFd folder =
        vtek::openAt(vtek::kWorkingFolder, surroundings.target().string(), O_RDONLY | O_DIRECTORY);
    ConfinedFolder target(folder.get(), method);
    std::uint64_t counted = 0;
    const auto unpacked = vtek::unpackArchive(archive, length, target, std::string(kPrefix) + "/payload",
                                              kLimits, [&counted](std::uint64_t bytes) { counted += bytes; });
    const vtek::UnpackedContent found = requireHarmless(surroundings.content());
    Outcome outcome{vtek::ErrorNumber::None, std::nullopt, surroundings.takeContent()};
    surroundings.requireUntouched();
    if (!unpacked) {
        require(!unpacked.error().message.empty(), "a reason for a refusal");
        outcome.number = unpacked.error().number;
        return outcome;
    }
    require(unpacked->files == found.files && unpacked->bytes == found.bytes,
            "the reported numbers are right");
    outcome.manifest = unpacked->manifest;
    return outcome;
}

}  // namespace

void examine(std::string_view input) {
    static const Surroundings surroundings;
    const fs::path file = workingFolder() / "archive";
    writeFile(file, input);
    const vtek::UniqueFd archive = vtek::openAt(vtek::kWorkingFolder, file.string(), O_RDONLY);
    const Outcome withOpenat2 =
        unpack(archive.get(), input.size(), surroundings, ConfinedFolder::Method::Openat2);
    const Outcome bySteps = unpack(archive.get(), input.size(), surroundings, ConfinedFolder::Method::Steps);
    require(withOpenat2 == bySteps, "the same outcome with openat2 and without");
    if (withOpenat2.manifest) {
        // A zip's entries may differ from its directory; an update compares the manifests of both.
        const auto manifest = vtek::readManifest(input);
        require(input.starts_with("PK\3\4") || (manifest && *manifest == *withOpenat2.manifest),
                "the manifest that was checked before");
    }
}

}  // namespace test
