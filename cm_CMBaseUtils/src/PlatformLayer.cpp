#include "PlatformLayer.h"

#include "LinuxImpl.h"

IPlatformImpl* CPlatformLayer::m_pPlatformImpl = nullptr;

IPlatformImpl* CPlatformLayer::GetPlatform() {
    if (m_pPlatformImpl == nullptr) {
        m_pPlatformImpl = new CLinuxImpl;
    }
    return m_pPlatformImpl;
}

bool CPlatformLayer::isTOLVInstalled() {
    return GetPlatform()->isTOLVInstalled();
}

bool CPlatformLayer::InstallTolv() {
    return GetPlatform()->InstallTolv();
}

bool CPlatformLayer::UninstallTolv() {
    return GetPlatform()->UninstallTolv();
}

void* CPlatformLayer::Load_Library(const std::string& path) {
    return GetPlatform()->LoadLibrary(path);
}

void CPlatformLayer::FreeLibrary(void* handle) {
    GetPlatform()->FreeLibrary(handle);
}

void* CPlatformLayer::GetProcAddress(void* handle, const std::string& symbol) {
    return GetPlatform()->GetProcAddress(handle, symbol);
}

int CPlatformLayer::ExecuteCmd(const std::string& command, bool flag, const long& timeout) {
    return GetPlatform()->ExecuteCmd(command, flag, timeout);
}

int CPlatformLayer::ExecuteCmdNoWait(const std::string& command, bool flag, const long& timeout) {
    return GetPlatform()->ExecuteCmdNoWait(command, flag, timeout);
}

void CPlatformLayer::Sleep(int seconds) {
    GetPlatform()->Sleep(seconds);
}

std::string CPlatformLayer::getCurrentDirectory() {
    return GetPlatform()->getCurrentDirectory();
}

std::string CPlatformLayer::getCurrentProcessDirectory() {
    return GetPlatform()->getCurrentProcessDirectory();
}

bool CPlatformLayer::setCurrentDirectory(const std::string& dir) {
    return GetPlatform()->setCurrentDirectory(dir);
}

std::vector<std::string> CPlatformLayer::GetFileList(std::string& dir) {
    return GetPlatform()->GetFileList(dir);
}

bool CPlatformLayer::IsFileExits(const std::string& name) {
    return GetPlatform()->IsFileExits(name);
}

bool CPlatformLayer::IsFileExistsAbs(const std::string& path) {
    return GetPlatform()->IsFileExistsAbs(path);
}

void* CPlatformLayer::LoadTolvLibrary(const std::string& name) {
    return GetPlatform()->LoadTolvLibrary(name);
}

bool CPlatformLayer::isUSBblacklisted() {
    return GetPlatform()->isUSBblacklisted();
}
