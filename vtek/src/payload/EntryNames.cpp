#include "payload/EntryNames.h"

#include <algorithm>

namespace vtek {

namespace {

constexpr std::size_t kMaxName = 255;   // bytes: NAME_MAX of Linux file systems
constexpr std::size_t kMaxPath = 1024;  // bytes: well below PATH_MAX, which counts the folder above, too

bool isPlainName(std::string_view name) {
    return !name.empty() && name.size() <= kMaxName && name != "." && name != ".." &&
           std::all_of(name.begin(), name.end(), [](char c) { return c >= ' ' && c <= '~' && c != '\\'; });
}

/** Independent of the locale: plain names are ASCII. */
std::string lowered(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower;
}

}  // namespace

bool isPlainPath(std::string_view path) {
    if (path.size() > kMaxPath) {
        return false;
    }
    for (;;) {
        const auto slash = path.find('/');
        if (!isPlainName(path.substr(0, slash))) {
            return false;
        }
        if (slash == std::string_view::npos) {
            return true;
        }
        path.remove_prefix(slash + 1);
    }
}

std::string_view parentOf(std::string_view path) {
    const auto slash = path.rfind('/');
    return slash == std::string_view::npos ? std::string_view() : path.substr(0, slash);
}

bool EntryNames::claim(const ArchiveEntry& entry) {
    return claimAs(entry.name, entry.kind);
}

bool EntryNames::claimAs(std::string_view name, ArchiveEntry::Kind kind) {
    for (std::string_view above = parentOf(name); !above.empty(); above = parentOf(above)) {
        if (!claimFolder(above)) {
            return false;
        }
    }
    return kind == ArchiveEntry::Kind::Folder
               ? claimFolder(name)
               : claims_.try_emplace(lowered(name), Claim{std::string(name), kind}).second;
}

/** Archives may list a folder after its files, or twice. "d/a" and "D/b" share a folder on a file system that
 * ignores case, and have two on others: the spelling must be the same. */
bool EntryNames::claimFolder(std::string_view name) {
    const Claim wanted{std::string(name), ArchiveEntry::Kind::Folder};
    return claims_.try_emplace(lowered(name), wanted).first->second == wanted;
}

}  // namespace vtek
