// Runs a harness over the stored inputs of a folder, twice in one process: RunCorpus FOLDER

#include "TempDir.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

std::vector<std::filesystem::path> filesIn(const std::filesystem::path& folder) {
    std::vector<std::filesystem::path> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        files.push_back(std::filesystem::canonical(entry.path()));
    }
    std::sort(files.begin(), files.end());
    return files;
}

void examine(const std::filesystem::path& file) {
    const std::string input = test::readFile(file);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: " << argv[0] << " FOLDER" << std::endl;
        return 2;
    }
    const std::vector<std::filesystem::path> files = filesIn(argv[1]);
    // Twice: state that any input leaves behind then affects every other one.
    for (int round = 0; round < 2; ++round) {
        for (const std::filesystem::path& file : files) {
            // A finding aborts the process, so the last name printed is the input that caused it.
            std::cerr << file.filename().string() << std::endl;
            examine(file);
        }
    }
    std::cout << files.size() << " inputs, twice" << std::endl;
    return files.empty() ? 1 : 0;
}
