#include "ChildProcess.h"
#include "LinuxImpl.h"
#include "LogCapture.h"
#include "WorkingDirectory.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <functional>
#include <optional>
#include <stdexcept>
#include <thread>

namespace {

bool readlinkFails = false;
bool readlinkFindsNothing = false;
std::optional<unsigned> slept;
/** Runs for every line that the log writes. */
std::function<void()> onLogLine;

}  // namespace

// These stand in front of the C library's own.
extern "C" {

ssize_t readlink(const char* path, char* buffer, size_t size) noexcept {
    if (readlinkFails) {
        errno = ENOENT;
        return -1;
    }
    return readlinkFindsNothing ? 0 : syscall(SYS_readlink, path, buffer, size);
}

/** The log asks for the time once for each line. */
time_t time(time_t* result) noexcept {
    if (onLogLine) {
        onLogLine();
    }
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (result != nullptr) {
        *result = now.tv_sec;
    }
    return now.tv_sec;
}

unsigned sleep(unsigned seconds) {
    slept = seconds;
    return 0;
}

}  // extern "C"

namespace test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::IsNull;
using ::testing::NotNull;
using ::testing::UnorderedElementsAre;

class LinuxImpl : public ::testing::Test {
protected:
    std::string exists(const std::string& path) const {
        return "CLinuxImpl::IsFileExistsAbs() File name " + path + " exist";
    }
    std::string doesNotExist(const std::string& path) const {
        return "CLinuxImpl::IsFileExistsAbs() File name " + path + " doesnt exist";
    }

    WorkingTempDir folder_;
    CLinuxImpl platform_;
    LogCapture log_;
};

TEST_F(LinuxImpl, ReturnsTheCurrentDirectoryWithASlash) {
    EXPECT_EQ(platform_.getCurrentDirectory(), folder_.text() + "/");
}

TEST_F(LinuxImpl, ReturnsTwoSlashesForTheRoot) {
    const WorkingDirectory root("/");
    EXPECT_EQ(platform_.getCurrentDirectory(), "//");
}

TEST_F(LinuxImpl, ReturnsASlashForACurrentDirectoryThatIsGone) {
    const Outcome outcome = runInChild([this] {
        const auto gone = folder_ / "gone";
        std::filesystem::create_directory(gone);
        std::filesystem::current_path(gone);
        std::filesystem::remove(gone);
        return platform_.getCurrentDirectory() == "/" ? 0 : 1;
    });
    EXPECT_EQ(outcome.exitStatus, 0);
}

TEST_F(LinuxImpl, ReturnsTheExecutablesFolderWithASlash) {
    const std::filesystem::path executable = std::filesystem::canonical("/proc/self/exe");
    EXPECT_EQ(platform_.getCurrentProcessDirectory(), executable.parent_path().string() + "/");
    EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(LinuxImpl, ReturnsTheWorkingDirectoryWithoutTheExecutablesLink) {
    readlinkFails = true;
    const std::string directory = platform_.getCurrentProcessDirectory();
    readlinkFails = false;
    EXPECT_EQ(directory, folder_.text());
    EXPECT_THAT(log_.messages(), ElementsAre("CLinuxImpl::getCurrentProcessDirectory() failed via readlink"));
    EXPECT_EQ(log_.lines().at(0).source, "LinuxImpl");
}

TEST_F(LinuxImpl, ReturnsTheWorkingDirectoryForAnEmptyLink) {
    readlinkFindsNothing = true;
    const std::string directory = platform_.getCurrentProcessDirectory();
    readlinkFindsNothing = false;
    EXPECT_EQ(directory, folder_.text());
    EXPECT_THAT(log_.messages(), ElementsAre("CLinuxImpl::getCurrentProcessDirectory() failed via readlink"));
}

TEST_F(LinuxImpl, ChangesTheCurrentDirectory) {
    const TempDir other;
    EXPECT_TRUE(platform_.setCurrentDirectory(other.path().string()));
    EXPECT_EQ(std::filesystem::current_path(), other.path());
}

TEST_F(LinuxImpl, ReturnsTrueForADirectoryItCannotEnter) {
    EXPECT_TRUE(platform_.setCurrentDirectory((folder_ / "missing").string()));
    EXPECT_TRUE(platform_.setCurrentDirectory(""));
    EXPECT_EQ(std::filesystem::current_path(), folder_.text());
    EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(LinuxImpl, FindsAFileBelowTheWorkingDirectory) {
    writeFile(folder_ / "x", "");
    EXPECT_TRUE(platform_.IsFileExits("x"));
    EXPECT_FALSE(platform_.IsFileExits("y"));
    EXPECT_THAT(log_.messages(),
                ElementsAre(exists(folder_.text() + "/x"), doesNotExist(folder_.text() + "/y")));
}

TEST_F(LinuxImpl, AppendsAnAbsoluteNameToTheWorkingDirectory) {
    const std::string absolute = (folder_ / "x").string();
    writeFile(absolute, "");
    EXPECT_FALSE(platform_.IsFileExits(absolute));
    EXPECT_THAT(log_.messages(), ElementsAre(doesNotExist(folder_.text() + "/" + absolute)));
}

TEST_F(LinuxImpl, FindsAFileAtThePathAsGiven) {
    writeFile(folder_ / "x", "");
    EXPECT_TRUE(platform_.IsFileExistsAbs((folder_ / "x").string()));
    EXPECT_TRUE(platform_.IsFileExistsAbs("x"));
    EXPECT_FALSE(platform_.IsFileExistsAbs((folder_ / "y").string()));
    EXPECT_THAT(log_.messages(), ElementsAre(exists(folder_.text() + "/x"),  //
                                             exists("x"),                    //
                                             doesNotExist(folder_.text() + "/y")));
}

bool isOpen(const std::filesystem::path& file) {
    const std::filesystem::directory_iterator descriptors("/proc/self/fd");
    return std::any_of(begin(descriptors), end(descriptors), [&file](const auto& descriptor) {
        std::error_code closedMeanwhile;
        return std::filesystem::read_symlink(descriptor.path(), closedMeanwhile) == file;
    });
}

TEST_F(LinuxImpl, ClosesAnExistingFileAfterTheLogLine) {
    const std::filesystem::path file = std::filesystem::canonical(folder_.text()) / "x";
    writeFile(file, "");
    std::vector<bool> wasOpen;
    onLogLine = [&] { wasOpen.push_back(isOpen(file)); };
    platform_.IsFileExits("x");
    platform_.IsFileExistsAbs(file.string());
    onLogLine = nullptr;
    EXPECT_THAT(wasOpen, ElementsAre(true, true));
    EXPECT_FALSE(isOpen(file));
}

TEST_F(LinuxImpl, TakesAFolderForAnExistingFile) {
    std::filesystem::create_directory(folder_ / "below");
    EXPECT_TRUE(platform_.IsFileExits("below"));
    EXPECT_TRUE(platform_.IsFileExistsAbs(folder_.text()));
    EXPECT_TRUE(platform_.IsFileExits(""));
}

TEST_F(LinuxImpl, RejectsADanglingLink) {
    std::filesystem::create_symlink("nowhere", folder_ / "link");
    EXPECT_FALSE(platform_.IsFileExits("link"));
}

TEST_F(LinuxImpl, TreatsAnUnreadableFileAsAbsent) {
    constexpr uid_t kNobody = 65534;
    writeFile(folder_ / "secret", "");
    chmod((folder_ / "secret").c_str(), 0000);
    chmod(folder_.text().c_str(), 0755);
    const Outcome outcome = runInChild([this] {
        if (geteuid() == 0 && setresuid(kNobody, kNobody, kNobody) != 0) {
            throw std::runtime_error("cannot become another user");
        }
        const bool relative = platform_.IsFileExits("secret");
        const bool absolute = platform_.IsFileExistsAbs((folder_ / "secret").string());
        return relative || absolute ? 1 : 0;
    });
    EXPECT_EQ(outcome.exitStatus, 0) << outcome.error;
    EXPECT_THAT(log_.messages(), ElementsAre(doesNotExist(folder_.text() + "/secret"),
                                             doesNotExist(folder_.text() + "/secret")));
}

TEST_F(LinuxImpl, FindsAFifoWithAWriter) {
    const std::string fifo = (folder_ / "fifo").string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int writer = open(fifo.c_str(), O_RDWR);
    EXPECT_TRUE(platform_.IsFileExits("fifo"));
    ASSERT_EQ(write(writer, "x", 1), 1);
    EXPECT_TRUE(platform_.IsFileExistsAbs(fifo));
    char left = 0;
    EXPECT_EQ(read(writer, &left, 1), 1) << "the check takes nothing from the FIFO";
    close(writer);
    EXPECT_FALSE(platform_.IsFileExistsAbs(fifo));
}

TEST_F(LinuxImpl, TakesAFifoWithoutAWriterForAMissingFile) {
    const std::string fifo = (folder_ / "fifo").string();
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    EXPECT_FALSE(platform_.IsFileExits("fifo"));
    EXPECT_FALSE(platform_.IsFileExistsAbs(fifo));
    EXPECT_THAT(log_.messages(),
                ElementsAre(doesNotExist(folder_.text() + "/fifo"), doesNotExist(folder_.text() + "/fifo")));
}

TEST_F(LinuxImpl, PassesABareNameStraightToTheLoader) {
    void* const handle = platform_.LoadLibrary("libm.so.6");
    EXPECT_THAT(handle, NotNull());
    EXPECT_THAT(log_.messages(), IsEmpty());
    platform_.FreeLibrary(handle);
}

TEST_F(LinuxImpl, LoadsNoBareNameFromTheWorkingDirectory) {
    writeFile(folder_ / "libnowhere-at-all.so", "");
    EXPECT_THAT(platform_.LoadLibrary("libnowhere-at-all.so"), IsNull());
    EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(LinuxImpl, LeavesALoaderErrorToTheCaller) {
    dlerror();
    EXPECT_THAT(platform_.LoadLibrary("libnowhere-at-all.so"), IsNull());
    EXPECT_THAT(dlerror(), NotNull());
    EXPECT_THAT(log_.messages(), IsEmpty());
}

TEST_F(LinuxImpl, KeepsAMissingPathFromTheLoader) {
    dlerror();
    EXPECT_THAT(platform_.LoadLibrary("/nowhere/libx.so"), IsNull());
    EXPECT_THAT(dlerror(), IsNull()) << "the loader was asked";
    EXPECT_THAT(log_.messages(), ElementsAre(doesNotExist("/nowhere/libx.so")));
}

TEST_F(LinuxImpl, TestsARelativePathAsGiven) {
    dlerror();
    EXPECT_THAT(platform_.LoadLibrary("./libx.so"), IsNull());
    EXPECT_THAT(dlerror(), IsNull()) << "the loader was asked";
    EXPECT_THAT(log_.messages(), ElementsAre(doesNotExist("./libx.so")));
}

TEST_F(LinuxImpl, ReturnsNullForAFileThatIsNotALibrary) {
    const std::string path = (folder_ / "libx.so").string();
    writeFile(path, "no library");
    EXPECT_THAT(platform_.LoadLibrary(path), IsNull());
    EXPECT_THAT(log_.messages(), ElementsAre(exists(path)));
}

TEST_F(LinuxImpl, LoadsALibraryByPath) {
    void* const handle = platform_.LoadLibrary(QRX_LOADABLE_LIBRARY);
    ASSERT_THAT(handle, NotNull());
    EXPECT_THAT(log_.messages(), ElementsAre(exists(QRX_LOADABLE_LIBRARY)));
    void* const answer = platform_.GetProcAddress(handle, "answer");
    ASSERT_THAT(answer, NotNull());
    EXPECT_EQ(reinterpret_cast<int (*)()>(answer)(), 42);
    platform_.FreeLibrary(handle);
}

TEST_F(LinuxImpl, RefusesALibraryWithAnUndefinedFunction) {
    EXPECT_THAT(platform_.LoadLibrary(QRX_UNRESOLVED_LIBRARY), IsNull());
}

TEST_F(LinuxImpl, UnloadsAFreedLibrary) {
    void* const handle = platform_.LoadLibrary(QRX_LOADABLE_LIBRARY);
    ASSERT_THAT(handle, NotNull());
    platform_.FreeLibrary(handle);
    EXPECT_THAT(dlopen(QRX_LOADABLE_LIBRARY, RTLD_NOW | RTLD_NOLOAD), IsNull());
}

TEST_F(LinuxImpl, AcceptsANullHandle) {
    platform_.FreeLibrary(nullptr);
    EXPECT_THAT(platform_.GetProcAddress(nullptr, "malloc"), IsNull());
}

TEST_F(LinuxImpl, ReturnsNullForAnUnknownSymbol) {
    void* const handle = platform_.LoadLibrary("libm.so.6");
    EXPECT_THAT(platform_.GetProcAddress(handle, "no_such_function"), IsNull());
    EXPECT_THAT(platform_.GetProcAddress(handle, "cos"), NotNull());
    platform_.FreeLibrary(handle);
}

TEST_F(LinuxImpl, ReturnsTheShellsRawStatus) {
    EXPECT_EQ(platform_.ExecuteCmd("exit 0", false, 0), 0);
    EXPECT_EQ(platform_.ExecuteCmd("exit 3", false, 0), 3 << 8);
    const int killed = platform_.ExecuteCmd("kill -9 $$", true, 99);
    EXPECT_TRUE(WIFSIGNALED(killed));
}

TEST_F(LinuxImpl, WaitsForACommand) {
    EXPECT_EQ(platform_.ExecuteCmd("echo one > out && echo two >> out", false, 0), 0);
    EXPECT_EQ(readFile(folder_ / "out"), "one\ntwo\n");
}

TEST_F(LinuxImpl, IgnoresTheFlagAndTimeoutOfACommand) {
    EXPECT_EQ(platform_.ExecuteCmd("echo x >> out", false, 0), 0);
    EXPECT_EQ(platform_.ExecuteCmd("echo x >> out", true, -1), 0);
    EXPECT_EQ(readFile(folder_ / "out"), "x\nx\n");
}

TEST_F(LinuxImpl, ReturnsBeforeABackgroundCommandEnds) {
    const std::string start = (folder_ / "start").string();
    const std::string done = (folder_ / "done").string();
    ASSERT_EQ(mkfifo(start.c_str(), 0600), 0);
    ASSERT_EQ(mkfifo(done.c_str(), 0600), 0);
    // The command waits for us, so a call that waited for the command would never return.
    EXPECT_EQ(platform_.ExecuteCmdNoWait("(read word < start; echo \"$word\" > done; exit 3)", false, 0), 0);
    writeFile(start, "go\n");
    EXPECT_EQ(readFile(done), "go\n");
}

TEST_F(LinuxImpl, SleepsWholeSeconds) {
    slept.reset();
    platform_.Sleep(7);
    EXPECT_EQ(slept, 7U);
}

TEST_F(LinuxImpl, ListsEveryEntryWithItsFolder) {
    writeFile(folder_ / "file", "");
    writeFile(folder_ / ".hidden", "");
    writeFile(folder_ / "..almost", "");
    std::filesystem::create_directories(folder_ / "below/deeper");
    std::filesystem::create_symlink("nowhere", folder_ / "link");
    std::string dir = folder_.text();
    EXPECT_THAT(platform_.GetFileList(dir),
                UnorderedElementsAre(dir + "/file", dir + "/.hidden", dir + "/..almost", dir + "/below",
                                     dir + "/link"));
    EXPECT_EQ(dir, folder_.text());
}

TEST_F(LinuxImpl, ListsTheWorkingDirectoryForAnEmptyName) {
    writeFile(folder_ / "x", "");
    writeFile(folder_ / "y", "");
    std::string dir;
    EXPECT_THAT(platform_.GetFileList(dir), UnorderedElementsAre("/x", "/y"));
    EXPECT_EQ(dir, "");
}

TEST_F(LinuxImpl, KeepsTheFolderAsWrittenInAList) {
    std::filesystem::create_directory(folder_ / "below");
    writeFile(folder_ / "below/x", "");
    std::string relative = "below";
    EXPECT_THAT(platform_.GetFileList(relative), ElementsAre("below/x"));
    std::string slashed = "below/";
    EXPECT_THAT(platform_.GetFileList(slashed), ElementsAre("below//x"));
}

TEST_F(LinuxImpl, ListsNeitherTheFolderNorItsParent) {
    std::string etc = "/etc";
    const std::vector<std::string> files = platform_.GetFileList(etc);
    EXPECT_THAT(files, ::testing::Contains("/etc/passwd"));
    EXPECT_THAT(files, ::testing::Not(::testing::Contains(::testing::AnyOf("/etc/.", "/etc/.."))));
}

TEST_F(LinuxImpl, ListsNothingForAMissingOrEmptyFolder) {
    std::string missing = (folder_ / "missing").string();
    EXPECT_THAT(platform_.GetFileList(missing), IsEmpty());
    std::string empty = folder_.text();
    EXPECT_THAT(platform_.GetFileList(empty), IsEmpty());
}

// The agent's library.

/** Loads libraries by the test's word and notes what is freed. */
class RecordingPlatform final : public CLinuxImpl {
public:
    explicit RecordingPlatform(std::string loadable) : loadable_(std::move(loadable)) {}

    void* LoadLibrary(const std::string& name) override { return name == loadable_ ? this : nullptr; }
    void FreeLibrary(void* handle) override { freed.push_back(handle); }

    std::vector<void*> freed;

private:
    std::string loadable_;
};

TEST_F(LinuxImpl, FreesOnlyAnAgentsLibraryThatLoaded) {
    RecordingPlatform none("");
    EXPECT_FALSE(none.isKOBATOLVInstalled());
    EXPECT_THAT(none.freed, IsEmpty());
    for (const std::string name : {"libqtrmod.so", "libqtrmod64.so"}) {
        RecordingPlatform platform(name);
        EXPECT_TRUE(platform.isKOBATOLVInstalled()) << name;
        EXPECT_THAT(platform.freed, ElementsAre(&platform)) << name;
    }
}

}  // namespace
}  // namespace test
