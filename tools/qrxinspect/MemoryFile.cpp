#include "MemoryFile.h"

#include <sys/mman.h>
#include <unistd.h>

namespace qrxinspect {

MemoryFile::MemoryFile(std::string_view content)
    : file_(memfd_create("qrxinspect", MFD_CLOEXEC)), complete_(vtek::writeFully(file_.get(), content)) {}

bool MemoryFile::isUsable() const {
    return file_ && complete_ && access(path().c_str(), R_OK) == 0;
}

std::string MemoryFile::path() const {
    return "/proc/self/fd/" + std::to_string(file_.get());
}

}  // namespace qrxinspect
