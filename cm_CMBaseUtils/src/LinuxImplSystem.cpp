#include "LinuxImpl.h"
#include "LogSource.h"
#include <vtek/vtek.h>

#include <strings.h>
#include <sys/stat.h>
#include <sys/utsname.h>

#include <fstream>
#include <string>

namespace {

constexpr CLogSource debugLog("../cm_CMBaseUtils/src/LinuxImpl");

constexpr const char* kVmwareReleaseFile = "/etc/vmware-release";
constexpr const char* kModprobeBlacklistFile = "/etc/modprobe.d/blacklist.conf";
/** Room for the release file's first line and its terminator, in bytes. */
constexpr std::streamsize kReleaseLineSize = 1024;

/** The file's first line, cut to the room above; empty if the file is not open. */
std::string firstLineOf(std::istream& file) {
    char line[kReleaseLineSize] = "";
    file.getline(line, kReleaseLineSize);
    return line;
}

bool contains(const std::string& text, const char* part) {
    return text.find(part) != std::string::npos;
}

/** Whether a line blacklists usb_storage and is not commented out; stops at the first one. */
bool hasActiveUsbStorageLine(std::istream& conf) {
    std::string line;
    while (std::getline(conf, line)) {
        const std::string lowered = CStringUtils::toLowerCase(line);
        if (!contains(lowered, "blacklist usb_storage")) {
            continue;
        }
        if (!CStringUtils::trim_string(lowered).starts_with('#')) {
            return true;
        }
        debugLog(" CLinuxImpl::isUSBblacklistedusingConfFile blacklist usb_storage is commented");
    }
    return false;
}

}  // namespace

bool CLinuxImpl::isESXiSystem() {
    utsname system{};
    return uname(&system) == 0 && strcasecmp(system.sysname, "VMkernel") == 0;
}

bool CLinuxImpl::isESXSystem() {
    struct stat status {};
    if (stat(kVmwareReleaseFile, &status) != 0) {
        return false;
    }
    std::ifstream release(kVmwareReleaseFile);  // stays open until the outcome is logged
    const std::string line = firstLineOf(release);
    if (contains(line, "VMware ESX Server 3")) {
        debugLog("getLinuxOSVer: ESX 3 Found");
        return true;
    }
    if (contains(line, "VMware ESX 4.1")) {
        debugLog("getLinuxOSVer: ESX 4 Found");
        return true;
    }
    if (contains(line, "VMware ESX 4")) {
        debugLog("getLinuxOSVer: ESX 4 Found");
        return true;
    }
    debugLog("getLinuxOSVer: Unrecognized VMWare Found");
    return false;
}

bool CLinuxImpl::isUSBblacklisted() {
    return false;
}

bool CLinuxImpl::isUSBblacklistedusingConfFile() {
    debugLog(" CLinuxImpl::isUSBblacklistedusingConfFile Start ");
    bool blacklisted = false;
    try {
        std::ifstream conf(kModprobeBlacklistFile);
        debugLog(
            " CLinuxImpl::isUSBblacklistedusingConfFile opening conf file /etc/modprobe.d/blacklist.conf \n");
        if (!conf.is_open()) {
            debugLog(" CLinuxImpl::isUSBblacklistedusingConfFile FILE DOES NOT EXIST \n");
        } else {
            debugLog(" CLinuxImpl::isUSBblacklistedusingConfFile blacklist FILE EXIST \n");
            blacklisted = hasActiveUsbStorageLine(conf);
        }
    } catch (...) {
        debugLog(" CLinuxImpl::isUSBblacklistedusingConfFile exception occured");
    }
    debugLog(" CLinuxImpl::isUSBblacklistedusingConfFile End");
    return blacklisted;
}
