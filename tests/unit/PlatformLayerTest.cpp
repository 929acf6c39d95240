// The facade over a platform of the test's own: the CLinuxImpl that this program is built with is the one
// below.
#include "LinuxImpl.h"
#include "PlatformLayer.h"

#include <gmock/gmock.h>

#include <cstring>
#include <stdexcept>
#include <type_traits>

namespace {

std::vector<std::string> calls;
int constructions = 0;

// Addresses to hand around.
int library = 0;
int function = 0;

std::string handleName(const void* handle) {
    return handle == &library ? "library" : handle == nullptr ? "null" : "another";
}

}  // namespace

CLinuxImpl::CLinuxImpl() {
    if (++constructions == 1) {
        throw std::runtime_error("no platform");
    }
}

bool CLinuxImpl::isTOLVInstalled() {
    calls.emplace_back("isTOLVInstalled()");
    return true;
}

bool CLinuxImpl::InstallTolv() {
    calls.emplace_back("InstallTolv()");
    return true;
}

bool CLinuxImpl::UninstallTolv() {
    calls.emplace_back("UninstallTolv()");
    return true;
}

void* CLinuxImpl::LoadLibrary(const std::string& path) {
    calls.push_back("LoadLibrary(" + path + ")");
    return &library;
}

void CLinuxImpl::FreeLibrary(void* handle) {
    calls.push_back("FreeLibrary(" + handleName(handle) + ")");
}

void* CLinuxImpl::GetProcAddress(void* handle, const std::string& symbol) {
    calls.push_back("GetProcAddress(" + handleName(handle) + ", " + symbol + ")");
    return &function;
}

int CLinuxImpl::ExecuteCmd(const std::string& command, bool flag, const long& timeout) {
    calls.push_back("ExecuteCmd(" + command + ", " + std::to_string(flag) + ", " + std::to_string(timeout) +
                    ")");
    return 11;
}

int CLinuxImpl::ExecuteCmdNoWait(const std::string& command, bool flag, const long& timeout) {
    calls.push_back("ExecuteCmdNoWait(" + command + ", " + std::to_string(flag) + ", " +
                    std::to_string(timeout) + ")");
    return 12;
}

void CLinuxImpl::Sleep(int seconds) {
    calls.push_back("Sleep(" + std::to_string(seconds) + ")");
}

std::string CLinuxImpl::getCurrentDirectory() {
    calls.emplace_back("getCurrentDirectory()");
    return "current";
}

std::string CLinuxImpl::getCurrentProcessDirectory() {
    calls.emplace_back("getCurrentProcessDirectory()");
    return "process";
}

bool CLinuxImpl::setCurrentDirectory(const std::string& dir) {
    calls.push_back("setCurrentDirectory(" + dir + ")");
    return true;
}

std::vector<std::string> CLinuxImpl::GetFileList(std::string& dir) {
    calls.push_back("GetFileList(" + dir + ")");
    dir += "!";
    return {"a", "b"};
}

bool CLinuxImpl::IsFileExits(const std::string& name) {
    calls.push_back("IsFileExits(" + name + ")");
    return true;
}

bool CLinuxImpl::IsFileExistsAbs(const std::string& path) {
    calls.push_back("IsFileExistsAbs(" + path + ")");
    return true;
}

void* CLinuxImpl::LoadTolvLibrary(const std::string& name) {
    calls.push_back("LoadTolvLibrary(" + name + ")");
    return &library;
}

bool CLinuxImpl::isUSBblacklisted() {
    calls.emplace_back("isUSBblacklisted()");
    return true;
}

namespace test {
namespace {

using ::testing::ElementsAre;

static_assert(std::is_abstract_v<IPlatformImpl>);
static_assert(!std::has_virtual_destructor_v<IPlatformImpl>);
static_assert(!std::has_virtual_destructor_v<CLinuxImpl>);
static_assert(std::is_empty_v<CPlatformLayer>);

class PlatformLayer : public ::testing::Test {
protected:
    PlatformLayer() { calls.clear(); }
};

TEST_F(PlatformLayer, PassesOnTheTolvOperations) {
    EXPECT_TRUE(CPlatformLayer::isTOLVInstalled());
    EXPECT_TRUE(CPlatformLayer::InstallTolv());
    EXPECT_TRUE(CPlatformLayer::UninstallTolv());
    EXPECT_EQ(CPlatformLayer::LoadTolvLibrary("name"), &library);
    EXPECT_THAT(
        calls, ElementsAre("isTOLVInstalled()", "InstallTolv()", "UninstallTolv()", "LoadTolvLibrary(name)"));
}

TEST_F(PlatformLayer, PassesOnTheLibraryOperations) {
    EXPECT_EQ(CPlatformLayer::Load_Library("path"), &library);
    EXPECT_EQ(CPlatformLayer::GetProcAddress(&library, "symbol"), &function);
    CPlatformLayer::FreeLibrary(&library);
    CPlatformLayer::FreeLibrary(nullptr);
    EXPECT_THAT(calls, ElementsAre("LoadLibrary(path)", "GetProcAddress(library, symbol)",
                                   "FreeLibrary(library)", "FreeLibrary(null)"));
}

TEST_F(PlatformLayer, PassesOnTheCommands) {
    EXPECT_EQ(CPlatformLayer::ExecuteCmd("one", true, 5), 11);
    EXPECT_EQ(CPlatformLayer::ExecuteCmd("two", false, -6), 11);
    EXPECT_EQ(CPlatformLayer::ExecuteCmdNoWait("three", true, 7), 12);
    EXPECT_EQ(CPlatformLayer::ExecuteCmdNoWait("four", false, 8), 12);
    CPlatformLayer::Sleep(9);
    EXPECT_THAT(
        calls, ElementsAre("ExecuteCmd(one, 1, 5)", "ExecuteCmd(two, 0, -6)", "ExecuteCmdNoWait(three, 1, 7)",
                           "ExecuteCmdNoWait(four, 0, 8)", "Sleep(9)"));
}

TEST_F(PlatformLayer, PassesOnTheDirectoryOperations) {
    std::string dir = "list";
    EXPECT_EQ(CPlatformLayer::getCurrentDirectory(), "current");
    EXPECT_EQ(CPlatformLayer::getCurrentProcessDirectory(), "process");
    EXPECT_TRUE(CPlatformLayer::setCurrentDirectory("set"));
    EXPECT_THAT(CPlatformLayer::GetFileList(dir), ElementsAre("a", "b"));
    EXPECT_EQ(dir, "list!") << "the caller's own text goes through";
    EXPECT_THAT(calls, ElementsAre("getCurrentDirectory()", "getCurrentProcessDirectory()",
                                   "setCurrentDirectory(set)", "GetFileList(list)"));
}

TEST_F(PlatformLayer, PassesOnTheFileTests) {
    EXPECT_TRUE(CPlatformLayer::IsFileExits("name"));
    EXPECT_TRUE(CPlatformLayer::IsFileExistsAbs("path"));
    EXPECT_TRUE(CPlatformLayer::isUSBblacklisted());
    EXPECT_THAT(calls, ElementsAre("IsFileExits(name)", "IsFileExistsAbs(path)", "isUSBblacklisted()"));
}

/** The first use of the facade in this process, before any test, meets a platform that cannot be made. */
const bool firstUseFailed = [] {
    try {
        CPlatformLayer::GetPlatform();
        return false;
    } catch (const std::runtime_error&) {
        return true;
    }
}();

TEST_F(PlatformLayer, WorksAfterAFirstUseThatFailed) {
    EXPECT_TRUE(firstUseFailed);
    EXPECT_NE(CPlatformLayer::GetPlatform(), nullptr);
}

TEST_F(PlatformLayer, CreatesOnePlatformForTheProcess) {
    IPlatformImpl* const platform = CPlatformLayer::GetPlatform();
    CPlatformLayer::getCurrentDirectory();
    EXPECT_EQ(CPlatformLayer::GetPlatform(), platform);
    EXPECT_EQ(constructions, 2) << "the one that failed and the one that serves";
}

/** A virtual operation's place in the table of its class, from 1. */
template <typename Operation>
std::size_t slotOf(Operation operation) {
    std::size_t offset = 0;
    std::memcpy(&offset, &operation, sizeof offset);
    return (offset - 1) / sizeof(void*) + 1;
}

TEST(PlatformLayerInterface, KeepsTheOrderOfItsOperations) {
    EXPECT_EQ(slotOf(&IPlatformImpl::isTOLVInstalled), 1U);
    EXPECT_EQ(slotOf(&IPlatformImpl::InstallTolv), 2U);
    EXPECT_EQ(slotOf(&IPlatformImpl::UninstallTolv), 3U);
    EXPECT_EQ(slotOf(&IPlatformImpl::LoadLibrary), 4U);
    EXPECT_EQ(slotOf(&IPlatformImpl::FreeLibrary), 5U);
    EXPECT_EQ(slotOf(&IPlatformImpl::GetProcAddress), 6U);
    EXPECT_EQ(slotOf(&IPlatformImpl::ExecuteCmd), 7U);
    EXPECT_EQ(slotOf(&IPlatformImpl::ExecuteCmdNoWait), 8U);
    EXPECT_EQ(slotOf(&IPlatformImpl::Sleep), 9U);
    EXPECT_EQ(slotOf(&IPlatformImpl::getCurrentDirectory), 10U);
    EXPECT_EQ(slotOf(&IPlatformImpl::getCurrentProcessDirectory), 11U);
    EXPECT_EQ(slotOf(&IPlatformImpl::setCurrentDirectory), 12U);
    EXPECT_EQ(slotOf(&IPlatformImpl::GetFileList), 13U);
    EXPECT_EQ(slotOf(&IPlatformImpl::IsFileExits), 14U);
    EXPECT_EQ(slotOf(&IPlatformImpl::IsFileExistsAbs), 15U);
    EXPECT_EQ(slotOf(&IPlatformImpl::LoadTolvLibrary), 16U);
    EXPECT_EQ(slotOf(&IPlatformImpl::isUSBblacklisted), 17U);
}

}  // namespace
}  // namespace test
