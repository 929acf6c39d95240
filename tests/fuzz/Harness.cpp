#include "Harness.h"

#include "TempDir.h"

#include <dirent.h>
#include <libxml/xmlerror.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>

namespace test {
namespace {

std::size_t openDescriptors() {
    std::size_t count = 0;
    DIR* const folder = opendir("/proc/self/fd");
    require(folder != nullptr, "/proc/self/fd cannot be read");
    while (readdir(folder) != nullptr) {
        ++count;
    }
    closedir(folder);
    return count;
}

void dropMessage(void* /*context*/, const char* /*format*/, ...) {}

}  // namespace

void require(bool condition, std::string_view what) {
    if (!condition) {
        std::cerr << "does not hold: " << what << std::endl;
        std::abort();
    }
}

std::vector<std::string> split(std::string_view input, char separator) {
    std::vector<std::string> pieces;
    while (!input.empty()) {
        const bool endsInSeparator = input.find(separator) == input.size() - 1;
        pieces.push_back(takeUntil(input, separator));
        if (endsInSeparator) {
            pieces.emplace_back();
        }
    }
    return pieces;
}

std::string takeUntil(std::string_view& input, char separator) {
    const std::string_view piece = input.substr(0, input.find(separator));
    input.remove_prefix(piece.size() == input.size() ? piece.size() : piece.size() + 1);
    return std::string(piece);
}

const std::filesystem::path& workingFolder() {
    // In memory: harnesses write small files thousands of times a second.
    [[maybe_unused]] static const bool inMemory =
        access("/dev/shm", W_OK) == 0 && setenv("TMPDIR", "/dev/shm", 0) == 0;
    static const TempDir folder;
    [[maybe_unused]] static const bool entered = [] {
        std::filesystem::current_path(folder.path());
        return true;
    }();
    return folder.path();
}

}  // namespace test

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    // Silences libxml2's messages about broken documents.
    xmlSetGenericErrorFunc(nullptr, test::dropMessage);
    const std::size_t before = test::openDescriptors();
    test::examine({reinterpret_cast<const char*>(data), size});
    test::require(test::openDescriptors() == before, "as many open descriptors as before");
    return 0;
}
