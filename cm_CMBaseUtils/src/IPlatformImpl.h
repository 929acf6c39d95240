#pragma once

#include <string>
#include <vector>

/**
 * The operating system as the base utilities see it. The order of the operations is part of the interface.
 *
 * The result shows a failure: a null handle, false, an empty or shortened string. Nothing is thrown. An
 * implementation lives until the process exits and is never deleted through this interface.
 */
class IPlatformImpl {
public:
    /** Whether the hardware library loads from the package's library folder. */
    virtual bool isTOLVInstalled() = 0;
    /** Installs the hardware library for the first of nested users. True only if that FAILED and no agent's
     *  copy is present. */
    virtual bool InstallTolv() = 0;
    /** Removes one user; the last one uninstalls what was installed. True if that FAILED. */
    virtual bool UninstallTolv() = 0;
    /** Loads a shared library: a bare name through the loader's search, a path only if the file exists. The
     *  caller releases the handle with FreeLibrary. Null on failure. */
    virtual void* LoadLibrary(const std::string& path) = 0;
    /** Releases a handle; null is allowed. */
    virtual void FreeLibrary(void* handle) = 0;
    /** The address of a symbol, or null. */
    virtual void* GetProcAddress(void* handle, const std::string& symbol) = 0;
    /** Runs a shell command and waits for it. The last two arguments are not used. Returns the shell's raw
     *  wait status, 0 for success. */
    virtual int ExecuteCmd(const std::string& command, bool, const long&) = 0;
    /** Starts a shell command in the background and returns at once. */
    virtual int ExecuteCmdNoWait(const std::string& command, bool, const long&) = 0;
    /** Sleeps for whole seconds. */
    virtual void Sleep(int seconds) = 0;
    /** The working directory, followed by "/". */
    virtual std::string getCurrentDirectory() = 0;
    /** The folder of the running executable, ending in "/"; if it is unknown, the working directory without
     *  a final "/". */
    virtual std::string getCurrentProcessDirectory() = 0;
    /** Changes the working directory. Always true. */
    virtual bool setCurrentDirectory(const std::string& dir) = 0;
    /** The entries of a folder, unsorted, each as dir + "/" + name; an empty dir lists the working directory.
     */
    virtual std::vector<std::string> GetFileList(std::string& dir) = 0;
    /** Whether a file below the working directory can be opened for reading; a FIFO only if it has a writer,
     *  because opening it would wait for one. */
    virtual bool IsFileExits(const std::string& name) = 0;
    /** Whether the file at this path can be opened for reading; a FIFO only if it has a writer. */
    virtual bool IsFileExistsAbs(const std::string& path) = 0;
    /** Loads a library by name from the package's library folder, else through the loader's search. The
     * caller releases the handle. Null on failure. */
    virtual void* LoadTolvLibrary(const std::string& name) = 0;
    /** Whether the platform refuses USB mass storage; false on Linux. */
    virtual bool isUSBblacklisted() = 0;

protected:
    ~IPlatformImpl() = default;
};
