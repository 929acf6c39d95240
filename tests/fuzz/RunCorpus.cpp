// Runs a harness over stored inputs, twice in one process; then, with SECONDS, over random changes of them
// for so long: RunCorpus FOLDER [SECONDS]

#include "RandomChanges.h"
#include "TempDir.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <random>
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

void examine(const std::string& input) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
}

/** The input that is looked at, and the file that keeps it when the process breaks on it. */
std::string current;
std::string findingFile;

extern "C" void keepCurrent(int signal) {
    const int file = open(findingFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    [[maybe_unused]] const ssize_t written = write(file, current.data(), current.size());
    std::signal(signal, SIG_DFL);
    std::raise(signal);
}

void examineChanges(std::vector<std::string> inputs, std::chrono::seconds duration) {
    const unsigned int seed = std::random_device()();
    std::cerr << "random changes with the seed " << seed << "; a finding is kept in " << findingFile
              << std::endl;
    for (const int signal : {SIGABRT, SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
        std::signal(signal, keepCurrent);
    }
    test::RandomChanges changes(std::move(inputs), seed);
    const auto end = std::chrono::steady_clock::now() + duration;
    std::size_t count = 0;
    for (; std::chrono::steady_clock::now() < end; ++count) {
        current = changes.next();
        examine(current);
    }
    std::cout << count << " random changes" << std::endl;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 2 && argc != 3) {
        std::cerr << "usage: " << argv[0] << " FOLDER [SECONDS]" << std::endl;
        return 2;
    }
    const std::vector<std::filesystem::path> files = filesIn(argv[1]);
    findingFile = std::filesystem::absolute("finding-" + std::filesystem::path(argv[1]).filename().string());
    std::vector<std::string> inputs;
    for (int round = 0; round < 2; ++round) {
        for (const std::filesystem::path& file : files) {
            inputs.push_back(test::readFile(file));
            std::cerr << file.filename().string() << std::endl;  // the last one named is the one that failed
            examine(inputs.back());
        }
    }
    std::cout << files.size() << " inputs, twice" << std::endl;
    if (files.empty()) {
        return 1;
    }
    if (argc == 3) {
        examineChanges(std::move(inputs), std::chrono::seconds(std::stoi(argv[2])));
    }
    return 0;
}
