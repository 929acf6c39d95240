#include "LinuxImpl.h"

#include "LogSource.h"
#include "ReadableFile.h"

#include <dirent.h>
#include <dlfcn.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/LinuxImpl");

// The hardware library ("TOLV"): where a package installs it, on ESXi and elsewhere, and its two file names.
constexpr const char* kLibraryDirectory = "/opt/qorn/zbx64/lib/";
constexpr const char* kEsxiLibraryDirectory = "/scratch/opt/qorn/zbx/lib/";
constexpr const char* kHelperLibrary = "libqtrmod.so";
constexpr const char* kHelperLibrary64 = "libqtrmod64.so";
constexpr const char* kAgentName = "KOBA";

std::string libraryDirectory(CLinuxImpl& platform) {
    return platform.isESXiSystem() ? kEsxiLibraryDirectory : kLibraryDirectory;
}

/** The longest path that is read, in bytes; readlink cuts a longer one. */
constexpr std::size_t kPathBufferSize = 2048;

// One byte more than the calls are told about: readlink does not terminate its result.
using PathBuffer = std::array<char, kPathBufferSize + 1>;

struct DirCloser {
    void operator()(DIR* dir) const { closedir(dir); }
};
using DirPtr = std::unique_ptr<DIR, DirCloser>;

/** The working directory; empty if it is unknown. */
std::string workingDirectory() {
    PathBuffer buffer{};
    return getcwd(buffer.data(), kPathBufferSize) != nullptr ? buffer.data() : "";
}

bool opensForReading(const std::string& path) {
    const CReadableFile file(path.c_str());  // stays open until the outcome is logged
    const bool opened = file.isOpen() && !file.lacksWriter();
    debugLog({"CLinuxImpl::IsFileExistsAbs() File name ", path, opened ? " exist" : " doesnt exist"});
    return opened;
}

bool isSelfOrParent(const char* name) {
    return std::strcmp(name, ".") == 0 || std::strcmp(name, "..") == 0;
}

}  // namespace

int CLinuxImpl::nTOLVInstallRefCount = 0;
bool CLinuxImpl::bTOLVAlreadyInstalled = false;

CLinuxImpl::CLinuxImpl() {
    if (CLinuxImpl::IsFileExits("enabledebug.txt")) {
        CLogger::GetInstance()->InitializeFromMarker("baseutils_DBG.log");
    }
}

void* CLinuxImpl::LoadLibrary(const std::string& path) {
    const bool isPath = path.find('/') != std::string::npos;
    if (isPath && !IsFileExistsAbs(path)) {
        return nullptr;
    }
    return dlopen(path.c_str(), RTLD_NOW);  // refuses a library with undefined functions at once
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
    // The interface promises success, even if chdir fails.
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
    // Qualified, because the constructor calls this function before any derived class exists.
    return opensForReading(CLinuxImpl::getCurrentDirectory() + name);
}

bool CLinuxImpl::IsFileExistsAbs(const std::string& path) {
    return opensForReading(path);
}

bool CLinuxImpl::isTOLVInstalled() {
    const std::string directory = libraryDirectory(*this);
    void* handle = LoadLibrary(directory + kHelperLibrary);
    debugLog({"Load library using ", directory, kHelperLibrary});
    if (handle == nullptr) {
        handle = LoadLibrary(directory + kHelperLibrary64);
    }
    if (handle == nullptr) {
        return false;
    }
    debugLog("TOLV is installed in the system");
    FreeLibrary(handle);
    return true;
}

bool CLinuxImpl::isKOBATOLVInstalled() {
    void* handle = LoadLibrary(kHelperLibrary);
    if (handle == nullptr) {
        handle = LoadLibrary(kHelperLibrary64);
    }
    if (handle == nullptr) {
        return false;
    }
    FreeLibrary(handle);
    return true;
}

bool CLinuxImpl::InstallTolv() {
    if (nTOLVInstallRefCount++ != 0) {
        return false;  // another user has installed it
    }
    bTOLVAlreadyInstalled = isTOLVInstalled();
    if (bTOLVAlreadyInstalled) {
        return false;
    }
    debugLog("InstallTolv: Custom Tolv Not Already Present");
    const std::string command = getCurrentProcessDirectory() + "/zbxtovalyinstall.sh install";
    debugLog({"Executimg command: ", command});
    if (ExecuteCmd(command, false, 0) == 0) {
        debugLog("InstallTolv: Custome Tolv Installed Successfully");
        return false;
    }
    debugLog("InstallTolv: Tolv Installation Failed");
    if (isKOBATOLVInstalled()) {
        debugLog("InstallTolv: Found KOBA Tolv");
        return false;
    }
    debugLog("InstallTolv: KOBA Tolv Not Present");
    return true;
}

bool CLinuxImpl::UninstallTolv() {
    bool failed = false;
    if (--nTOLVInstallRefCount == 0 && !bTOLVAlreadyInstalled) {
        failed = ExecuteCmd(getCurrentProcessDirectory() + "/zbxtovalyinstall.sh uninstall", false, 0) != 0;
    }
    debugLog("UninstallTolv: Tolv Uninstalled Successfully");
    return failed;
}

void* CLinuxImpl::LoadTolvLibrary(const std::string& name) {
    if (void* handle = LoadLibrary(libraryDirectory(*this) + name)) {
        return handle;
    }
    debugLog({"LoadTolvLibrary: Unable to Load ", name, " from ", kLibraryDirectory});
    if (void* handle = LoadLibrary(name)) {
        return handle;
    }
    debugLog({"LoadTolvLibrary: Unable to Load ", name, " from ", kAgentName});
    return nullptr;
}
