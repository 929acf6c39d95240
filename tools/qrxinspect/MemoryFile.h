#pragma once

#include "base/File.h"

#include <string>
#include <string_view>

namespace qrxinspect {

/** A file that exists in memory only, for readers that want a path. */
class MemoryFile {
public:
    explicit MemoryFile(std::string_view content);

    /** Whether the file holds the whole content and can be opened by its path. */
    bool isUsable() const;

    /** Valid in this process, while the object lives. */
    std::string path() const;

private:
    vtek::UniqueFd file_;
    bool complete_;
};

}  // namespace qrxinspect
