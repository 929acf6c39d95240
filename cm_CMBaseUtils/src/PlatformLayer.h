#pragma once

#include "IPlatformImpl.h"

#include <string>
#include <vector>

/**
 * Access to the operating system: static functions over the process's single IPlatformImpl, which is created
 * on first use and lives until the process exits. Each function passes its arguments to the operation of the
 * same name in IPlatformImpl, which documents it. The first call must come before any second thread starts.
 */
class CPlatformLayer {
public:
    /** The platform implementation. Never delete it. */
    static IPlatformImpl* GetPlatform();

    static bool isTOLVInstalled();
    static bool InstallTolv();
    static bool UninstallTolv();
    /** IPlatformImpl::LoadLibrary. */
    static void* Load_Library(const std::string& path);
    static void FreeLibrary(void* handle);
    static void* GetProcAddress(void* handle, const std::string& symbol);
    static int ExecuteCmd(const std::string& command, bool flag, const long& timeout);
    static int ExecuteCmdNoWait(const std::string& command, bool flag, const long& timeout);
    static void Sleep(int seconds);
    static std::string getCurrentDirectory();
    static std::string getCurrentProcessDirectory();
    static bool setCurrentDirectory(const std::string& dir);
    static std::vector<std::string> GetFileList(std::string& dir);
    static bool IsFileExits(const std::string& name);
    static bool IsFileExistsAbs(const std::string& path);
    static void* LoadTolvLibrary(const std::string& name);
    static bool isUSBblacklisted();

private:
    static IPlatformImpl* m_pPlatformImpl;
};
