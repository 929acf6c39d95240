#include "common/InputFile.h"

#include "base/File.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace tools {
namespace {

std::string about(const std::string& shown, const std::string& text) {
    return shown.empty() ? text : shown + " " + text;
}

vtek::Error tooLarge(const std::string& shown) {
    return inputError(about(shown, "is larger than 16 MiB"));
}

}  // namespace

vtek::Error inputError(std::string message, std::string remedy) {
    return {vtek::ErrorNumber::InvalidArgument, std::move(message), std::move(remedy)};
}

vtek::Result<std::string> readInput(const std::string& path, const std::string& shown) {
    VTEK_ASSIGN(const vtek::RegularFile file,
                vtek::openRegularFile(vtek::kWorkingFolder, path, vtek::Links::Followed, shown,
                                      vtek::ErrorNumber::InvalidArgument));
    if (file.size() > kInputLimit) {
        return tooLarge(shown);
    }
    // The bound holds while reading, too: a file may grow, and the kernel's own files report a size of 0.
    std::string content;
    if (vtek::readWhole(file.fd.get(), kInputLimit, content)) {
        return content;
    }
    if (errno == EFBIG) {
        return tooLarge(shown);
    }
    const std::string reason = std::generic_category().message(errno);
    return inputError(shown.empty() ? reason : "read " + shown + ": " + reason);
}

}  // namespace tools
