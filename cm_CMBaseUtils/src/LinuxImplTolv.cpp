#include "LinuxImpl.h"
#include "LogSource.h"

#include <string>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/LinuxImpl");

constexpr const char* kLibraryDirectory = "/opt/qorn/zbx64/lib/";
constexpr const char* kEsxiLibraryDirectory = "/scratch/opt/qorn/zbx/lib/";
constexpr const char* kHelperLibrary = "libqtrmod.so";
constexpr const char* kHelperLibrary64 = "libqtrmod64.so";
constexpr const char* kAgentName = "KOBA";

std::string libraryDirectory(CLinuxImpl& platform) {
    return platform.isESXiSystem() ? kEsxiLibraryDirectory : kLibraryDirectory;
}

}  // namespace

int CLinuxImpl::nTOLVInstallRefCount = 0;
bool CLinuxImpl::bTOLVAlreadyInstalled = false;

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
    FreeLibrary(handle);
    return handle != nullptr;
}

bool CLinuxImpl::InstallTolv() {
    if (nTOLVInstallRefCount++ != 0) {
        return false;
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
