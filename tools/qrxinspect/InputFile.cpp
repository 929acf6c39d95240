#include "InputFile.h"

#include "UniqueFd.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

namespace tools {
namespace {

constexpr std::size_t kChunk = 65'536;

Problem systemProblem() {
    return {std::generic_category().message(errno)};
}

Problem tooLarge() {
    return {"is larger than 16 MiB"};
}

}  // namespace

Result<std::string> readInput(const std::string& path) {
    // Without O_NONBLOCK the open of a FIFO waits for a writer.
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat status {};
    if (file.get() < 0 || fstat(file.get(), &status) != 0) {
        return systemProblem();
    }
    if (!S_ISREG(status.st_mode)) {
        return Problem{"is not a regular file"};
    }
    if (status.st_size > static_cast<off_t>(kInputLimit)) {
        return tooLarge();
    }
    std::string content;
    std::array<char, kChunk> buffer{};
    while (const ssize_t count = read(file.get(), buffer.data(), buffer.size())) {
        if (count < 0) {
            return systemProblem();
        }
        content.append(buffer.data(), static_cast<std::size_t>(count));
        // The size is checked again: a file may grow, and files of the kernel tell none.
        if (content.size() > kInputLimit) {
            return tooLarge();
        }
    }
    return content;
}

}  // namespace tools
