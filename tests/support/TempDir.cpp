#include "TempDir.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace test {

TempDir::TempDir() : maker_(getpid()) {
    std::string pattern = (std::filesystem::temp_directory_path() / "qrx-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), pattern);
    }
    path_ = std::filesystem::canonical(pattern);
}

TempDir::~TempDir() {
    if (getpid() != maker_) {
        return;
    }
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::string readFile(const std::filesystem::path& file) {
    std::ifstream in(file, std::ios::binary);
    if (!in) {
        throw std::runtime_error("cannot read " + file.string());
    }
    // In blocks: byte by byte takes most of the time of the tests that compare whole folders.
    std::ostringstream content;
    content << in.rdbuf();
    if (content.bad()) {
        throw std::runtime_error("cannot read " + file.string());
    }
    return std::move(content).str();
}

void writeFile(const std::filesystem::path& file, std::string_view content) {
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    out.write(content.data(), static_cast<std::streamsize>(content.size()));
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

}  // namespace test
