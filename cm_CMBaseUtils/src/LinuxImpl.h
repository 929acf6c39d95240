#pragma once

#include "IPlatformImpl.h"

#include <string>
#include <vector>

/** The platform on Linux, and on the service console of ESX and on ESXi. */
class CLinuxImpl : public IPlatformImpl {
public:
    /** Switches the debug log on ("baseutils_DBG.log") if the marker file "enabledebug.txt" is in the working
     *  directory. */
    CLinuxImpl();
    ~CLinuxImpl() = default;
    CLinuxImpl(const CLinuxImpl&) = delete;
    CLinuxImpl& operator=(const CLinuxImpl&) = delete;

    bool isTOLVInstalled() override;
    bool InstallTolv() override;
    bool UninstallTolv() override;
    void* LoadLibrary(const std::string& path) override;
    void FreeLibrary(void* handle) override;
    void* GetProcAddress(void* handle, const std::string& symbol) override;
    int ExecuteCmd(const std::string& command, bool flag, const long& timeout) override;
    int ExecuteCmdNoWait(const std::string& command, bool flag, const long& timeout) override;
    void Sleep(int seconds) override;
    std::string getCurrentDirectory() override;
    std::string getCurrentProcessDirectory() override;
    bool setCurrentDirectory(const std::string& dir) override;
    std::vector<std::string> GetFileList(std::string& dir) override;
    bool IsFileExits(const std::string& name) override;
    bool IsFileExistsAbs(const std::string& path) override;
    void* LoadTolvLibrary(const std::string& name) override;
    bool isUSBblacklisted() override;

    /** Whether an installed agent's hardware library loads through the loader's search path. */
    bool isKOBATOLVInstalled();
    /** Whether this is a service console of ESX 3 or ESX 4. */
    bool isESXSystem();
    /** Whether this is an ESXi (VMkernel) host. */
    bool isESXiSystem();
    /** Whether the modprobe blacklist file has an active line for usb_storage. */
    bool isUSBblacklistedusingConfFile();

private:
    /** InstallTolv calls not yet matched by UninstallTolv; has no lower bound. */
    static int nTOLVInstallRefCount;
    /** Whether the library was usable before the first InstallTolv of the cycle. */
    static bool bTOLVAlreadyInstalled;
};
