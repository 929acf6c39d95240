#include "LinuxImpl.h"

#include "LogSource.h"

#include <dirent.h>
#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <memory>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/LinuxImpl");

constexpr std::size_t kPathBufferSize = 2048;

// One byte more than any call is told of, so that the text always ends.
using PathBuffer = std::array<char, kPathBufferSize + 1>;

struct DirCloser {
    void operator()(DIR* dir) const { closedir(dir); }
};
using DirPtr = std::unique_ptr<DIR, DirCloser>;

/** The working directory, empty where it cannot be told. */
std::string workingDirectory() {
    PathBuffer buffer{};
    return getcwd(buffer.data(), kPathBufferSize) != nullptr ? buffer.data() : "";
}

bool opensForReading(const std::string& path) {
    const bool opened = std::ifstream(path).is_open();
    debugLog({"CLinuxImpl::IsFileExistsAbs() File name ", path, opened ? " exist" : " doesnt exist"});
    return opened;
}

bool isSelfOrParent(const char* name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

}  // namespace

CLinuxImpl::CLinuxImpl() {
    if (CLinuxImpl::IsFileExits("enabledebug.txt")) {
        CLogger::GetInstance()->Initialize("baseutils_DBG.log");
    }
}

void* CLinuxImpl::LoadLibrary(const std::string& path) {
    const bool isPath = path.find('/') != std::string::npos;
    if (isPath && !IsFileExistsAbs(path)) {
        return nullptr;
    }
    return dlopen(path.c_str(), RTLD_NOW);
}

void CLinuxImpl::FreeLibrary(void* handle) {
    if (handle != nullptr) {
        dlclose(handle);
    }
}

void* CLinuxImpl::GetProcAddress(void* handle, const std::string& symbol) {
    return handle == nullptr ? nullptr : dlsym(handle, symbol.c_str());
}

int CLinuxImpl::ExecuteCmd(const std::string& command, bool /*flag*/, const long& /*timeout*/) {
    return std::system(command.c_str());
}

int CLinuxImpl::ExecuteCmdNoWait(const std::string& command, bool /*flag*/, const long& /*timeout*/) {
    return std::system((command + " &").c_str());
}

void CLinuxImpl::Sleep(int seconds) {
    sleep(static_cast<unsigned int>(seconds));
}

std::string CLinuxImpl::getCurrentDirectory() {
    return workingDirectory() + "/";
}

std::string CLinuxImpl::getCurrentProcessDirectory() {
    PathBuffer buffer{};
    if (readlink("/proc/self/exe", buffer.data(), kPathBufferSize) < 1) {
        debugLog("CLinuxImpl::getCurrentProcessDirectory() failed via readlink");
        return workingDirectory();
    }
    const std::string executable = buffer.data();
    return executable.substr(0, executable.rfind('/')) + "/";
}

bool CLinuxImpl::setCurrentDirectory(const std::string& dir) {
    // Callers are told of success whatever chdir says.
    [[maybe_unused]] const int ignored = chdir(dir.c_str());
    return true;
}

std::vector<std::string> CLinuxImpl::GetFileList(std::string& dir) {
    std::vector<std::string> files;
    const DirPtr stream(opendir(dir.empty() ? "." : dir.c_str()));
    if (!stream) {
        return files;
    }
    while (const dirent* entry = readdir(stream.get())) {
        if (!isSelfOrParent(entry->d_name)) {
            files.push_back(dir + "/" + entry->d_name);
        }
    }
    return files;
}

bool CLinuxImpl::IsFileExits(const std::string& name) {
    // By its full name: the constructor asks, too, when no virtual call reaches further than this class.
    return opensForReading(CLinuxImpl::getCurrentDirectory() + name);
}

bool CLinuxImpl::IsFileExistsAbs(const std::string& path) {
    return opensForReading(path);
}
