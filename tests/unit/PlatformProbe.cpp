/**
 * Asks the Linux platform in a process of its own:
 *
 *   platform_probe LOG OPERATION...
 *
 * Prints one line per operation, in order: true or false, or what the loaded library says of itself. LOG
 * receives the debug log. FAILING_STRING_CALL in the environment names the call of the platform library's
 * string helpers that throws, from 1.
 */

#include "LinuxImpl.h"
#include "Logger.h"
#include "TempDir.h"
#include "VtekDouble.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <iostream>
#include <map>
#include <string>

namespace {

bool wasReleaseFileOpen = false;  // when the log wrote its last line

bool isOpen(const std::filesystem::path& file) {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::any_of(begin(descriptors), end(descriptors), [&file](const auto& descriptor) {
        std::error_code closedMeanwhile;
        return std::filesystem::read_symlink(descriptor.path(), closedMeanwhile) == file;
    });
}

}  // namespace

/** Stands in front of the C library's own. The log asks for the time once for each line. */
extern "C" time_t time(time_t* result) noexcept {
    wasReleaseFileOpen = isOpen("/etc/vmware-release");
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr) {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}

namespace {

using Probe = std::function<bool(CLinuxImpl&)>;

bool isHelperLibraryMapped(CLinuxImpl&) {
    return test::readFile("/proc/self/maps").find("libqtrmod") != std::string::npos;
}

const std::map<std::string, Probe> kProbes = {
    {"isESXSystem", &CLinuxImpl::isESXSystem},
    {"isESXiSystem", &CLinuxImpl::isESXiSystem},
    {"isUSBblacklisted", &CLinuxImpl::isUSBblacklisted},
    {"isUSBblacklistedusingConfFile", &CLinuxImpl::isUSBblacklistedusingConfFile},
    {"isTOLVInstalled", &CLinuxImpl::isTOLVInstalled},
    {"isKOBATOLVInstalled", &CLinuxImpl::isKOBATOLVInstalled},
    {"InstallTolv", &CLinuxImpl::InstallTolv},
    {"UninstallTolv", &CLinuxImpl::UninstallTolv},
    {"isHelperLibraryMapped", isHelperLibraryMapped},
    {"wasReleaseFileOpen", [](CLinuxImpl&) { return wasReleaseFileOpen; }},
    {"isReleaseFileOpen", [](CLinuxImpl&) { return isOpen("/etc/vmware-release"); }},
};

/** Loads the library and asks it where it comes from. */
std::string originOf(CLinuxImpl& platform, const std::string& library) {
    void* const handle = platform.LoadTolvLibrary(library);
    if (handle == nullptr) {
        return "none";
    }
    const auto origin = reinterpret_cast<const char* (*)()>(platform.GetProcAddress(handle, "origin"));
    const std::string text = origin();
    platform.FreeLibrary(handle);
    return text;
}

std::string answer(CLinuxImpl& platform, const std::string& operation) {
    const std::string loading = "LoadTolvLibrary=";
    if (operation.starts_with(loading)) {
        return originOf(platform, operation.substr(loading.size()));
    }
    return kProbes.at(operation)(platform) ? "true" : "false";
}

}  // namespace

int main(int argc, char** argv) {
    test::VtekDouble library;
    if (const char* call = std::getenv("FAILING_STRING_CALL")) {
        library.script.failingStringCall = static_cast<unsigned>(std::atoi(call));
    }
    CLinuxImpl platform;  // before the log is open, so that the log starts with the first operation
    CLogger::GetInstance()->Initialize(argv[1]);
    for (int i = 2; i < argc; ++i) {
        std::cout << answer(platform, argv[i]) << std::endl;
    }
}
