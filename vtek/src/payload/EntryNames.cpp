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
    // "d/a" and "D/b" share a folder on a file system that ignores case, and have two on others.
    for (std::string_view above = parentOf(entry.name); !above.empty(); above = parentOf(above)) {
        if (spellings_.try_emplace(lowered(above), above).first->second != above) {
            return false;
        }
    }
    const auto [spelling, isNew] = spellings_.try_emplace(lowered(entry.name), entry.name);
    // Archives may list a folder after its files, or twice.
    const bool isSameFolder = entry.kind == ArchiveEntry::Kind::Folder && spelling->second == entry.name;
    return isNew || isSameFolder;
}

}  // namespace vtek
