#include "MemoryFile.h"

#include <sys/mman.h>

namespace tools {
namespace {

bool writeAll(int fd, std::string_view content) {
    while (!content.empty()) {
        const ssize_t count = write(fd, content.data(), content.size());
        if (count <= 0) {
            return false;
        }
        content.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

}  // namespace

MemoryFile::MemoryFile(std::string_view content)
    : file_(memfd_create("qrxinspect", MFD_CLOEXEC)), complete_(writeAll(file_.get(), content)) {}

bool MemoryFile::isUsable() const {
    return complete_ && access(path().c_str(), R_OK) == 0;
}

std::string MemoryFile::path() const {
    return "/proc/self/fd/" + std::to_string(file_.get());
}

}  // namespace tools
