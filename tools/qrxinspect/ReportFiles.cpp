#include "ReportFiles.h"

#include "base/File.h"
#include "common/InputFile.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <system_error>

namespace qrxinspect {
namespace {

namespace fs = std::filesystem;

vtek::Result<std::string> readStream(int fd) {
    std::string content;
    if (vtek::readWhole(fd, tools::kInputLimit, content)) {
        return content;
    }
    return tools::inputError(errno == EFBIG ? "is larger than 16 MiB"
                                            : std::generic_category().message(errno));
}

/** Opened without waiting, a FIFO that nobody writes to ends at once; one that is still empty has no data
 * yet. */
vtek::Result<std::string> readPipe(const std::string& path) {
    const vtek::UniqueFd pipe = vtek::openAt(vtek::kWorkingFolder, path, O_RDONLY | O_NONBLOCK);
    char first = 0;
    const ssize_t count = pipe ? read(pipe.get(), &first, 1) : 0;
    if (count == 0) {
        return tools::inputError(pipe ? "is a pipe that nobody writes to"
                                      : std::generic_category().message(errno));
    }
    fcntl(pipe.get(), F_SETFL, O_RDONLY);
    VTEK_ASSIGN(const std::string rest, readStream(pipe.get()));
    return count > 0 ? first + rest : rest;
}

}  // namespace

std::vector<std::string> reportFilesOf(const std::string& operand) {
    std::vector<std::string> files;
    std::error_code error;
    for (fs::recursive_directory_iterator at(operand, error), end; !error && at != end; at.increment(error)) {
        std::error_code unknown;
        if (at->path().extension() == ".xml" && at->is_regular_file(unknown)) {
            files.push_back(at->path().string());
        }
    }
    std::sort(files.begin(), files.end());
    return files.empty() || error ? std::vector{operand} : files;
}

vtek::Result<std::string> readReportFile(const std::string& path) {
    if (path == "-") {
        return readStream(STDIN_FILENO);
    }
    std::error_code error;
    return fs::is_fifo(path, error) ? readPipe(path) : tools::readInput(path, "");
}

}  // namespace qrxinspect
