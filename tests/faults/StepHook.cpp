// Preloaded, it stands between the program and the platform library: it records how the calls of an update
// ended, and interferes with one of them. By environment variable:
//
//   STEP_RECORD=FILE    gets a line "CALL NUMBER" for every call that fails
//   STEP_SKIP=CALL      succeeds without reaching the library
//   STEP_BEFORE=CALL    before it reaches the library, the following happen
//   STEP_RUN=COMMAND    a shell command
//   STEP_FAIL=fsync     files cannot be made durable from now on
//   STEP_FAIL=pwrite    the database cannot be written
//   STEP_FAIL=space     every file system is full
//   STEP_FAIL=size      files cannot grow beyond 64 KiB
//   STEP_FAIL=memory    the next allocation of an object fails

#include <vtek/vtek.h>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <new>
#include <string>
#include <string_view>
#include <utility>

namespace {

constexpr rlim_t kFileSize = 64 * 1024;

bool isArmed = false;

std::string_view setting(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

bool fails(std::string_view what) {
    return isArmed && setting("STEP_FAIL") == what;
}

void arm() {
    unsetenv("LD_PRELOAD");
    if (const char* command = std::getenv("STEP_RUN"); command != nullptr && std::system(command) != 0) {
        std::abort();
    }
    isArmed = true;
    if (fails("size")) {
        std::signal(SIGXFSZ, SIG_IGN);
        const rlimit bound{kFileSize, kFileSize};
        setrlimit(RLIMIT_FSIZE, &bound);
    }
}

/** The function that the one here hides. */
template <class Function>
Function* hidden(const char* symbol) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, symbol));
}

void record(const char* call, int number) {
    const int file = open(std::getenv("STEP_RECORD"), O_WRONLY | O_APPEND | O_CLOEXEC);
    dprintf(file, "%s %d\n", call, number);
    close(file);
}

void recordFailure(const char* call, secureWynd* wynd) {
    record(call, hidden<int(secureWynd*)>("_ZN10secureWynd12getVTEKErrorEv")(wynd));
}

template <class Work>
bool watched(const char* call, secureWynd* wynd, Work work) {
    if (setting("STEP_SKIP") == call) {
        return true;
    }
    if (setting("STEP_BEFORE") == call) {
        arm();
    }
    const bool succeeded = work();
    if (!succeeded) {
        recordFailure(call, wynd);
    }
    return succeeded;
}

bool watchedStep(const char* call, const char* symbol, secureWynd* wynd) {
    return watched(call, wynd, [&] { return hidden<bool(secureWynd*)>(symbol)(wynd); });
}

}  // namespace

void* operator new(std::size_t size) {
    static bool hasFailed = false;
    if (fails("memory") && !std::exchange(hasFailed, true)) {
        throw std::bad_alloc();
    }
    if (void* const memory = std::malloc(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

void operator delete(void* memory) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

extern "C" {

// The library's face, under the names that the program is linked against.

#define CONSTRUCTOR "_ZN10secureWyndC1Ev"
#define INIT "_ZN10secureWynd14secureWyndInitEv"
#define IS_SIGNED "_ZN10secureWynd15IsPayloadSignedERNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE"
#define START "_ZN10secureWynd13StartCopyFileEv"
#define ADD "_ZN10secureWynd7AddFileENSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES5_8exmlMode"
#define UNZIP "_ZN10secureWynd19CompleteSignedUnzipEv"
#define END "_ZN10secureWynd11EndCopyFileEv"
#define IPMI "_Z14OEMIPMIRequest19eOEMIPMIRequestTypehP19_EsmIPMICmdIoctlReqtt"

void construct(secureWynd* wynd) __asm__(CONSTRUCTOR);
void construct(secureWynd* wynd) {
    hidden<void(secureWynd*)>(CONSTRUCTOR)(wynd);
    if (!wynd->isSuccess) {
        recordFailure("constructor", wynd);
    }
}

void init(secureWynd* wynd) __asm__(INIT);
void init(secureWynd* wynd) {
    if (setting("STEP_BEFORE") == "secureWyndInit") {
        arm();
    }
    hidden<void(secureWynd*)>(INIT)(wynd);
    if (!wynd->isSuccess) {
        recordFailure("secureWyndInit", wynd);
    }
}

bool isPayloadSigned(secureWynd* wynd, std::string& path) __asm__(IS_SIGNED);
bool isPayloadSigned(secureWynd* wynd, std::string& path) {
    return watched("IsPayloadSigned", wynd,
                   [&] { return hidden<bool(secureWynd*, std::string&)>(IS_SIGNED)(wynd, path); });
}

bool startCopyFile(secureWynd* wynd) __asm__(START);
bool startCopyFile(secureWynd* wynd) {
    return watchedStep("StartCopyFile", START, wynd);
}

bool addFile(secureWynd* wynd, std::string source, std::string destination, exmlMode mode) __asm__(ADD);
bool addFile(secureWynd* wynd, std::string source, std::string destination, exmlMode mode) {
    return watched("AddFile", wynd, [&] {
        return hidden<bool(secureWynd*, std::string, std::string, exmlMode)>(ADD)(wynd, source, destination,
                                                                                  mode);
    });
}

bool completeSignedUnzip(secureWynd* wynd) __asm__(UNZIP);
bool completeSignedUnzip(secureWynd* wynd) {
    return watchedStep("CompleteSignedUnzip", UNZIP, wynd);
}

bool endCopyFile(secureWynd* wynd) __asm__(END);
bool endCopyFile(secureWynd* wynd) {
    return watchedStep("EndCopyFile", END, wynd);
}

unsigned char request(eOEMIPMIRequestType type, unsigned char value, _EsmIPMICmdIoctlReq* buffer,
                      unsigned short requestLength, unsigned short responseLength) __asm__(IPMI);
unsigned char request(eOEMIPMIRequestType type, unsigned char value, _EsmIPMICmdIoctlReq* buffer,
                      unsigned short requestLength, unsigned short responseLength) {
    const auto completion =
        hidden<decltype(OEMIPMIRequest)>(IPMI)(type, value, buffer, requestLength, responseLength);
    if (completion != 0) {
        record("OEMIPMIRequest", completion);
    }
    return completion;
}

// What the library and its database need of the system.

int fsync(int fd) {
    if (fails("fsync")) {
        errno = EIO;
        return -1;
    }
    return hidden<int(int)>("fsync")(fd);
}

ssize_t pwrite64(int fd, const void* data, size_t size, off64_t offset) {
    if (fails("pwrite")) {
        errno = EIO;
        return -1;
    }
    return hidden<decltype(pwrite64)>("pwrite64")(fd, data, size, offset);
}

int fstatvfs(int fd, struct statvfs* info) noexcept {
    const int outcome = hidden<int(int, struct statvfs*)>("fstatvfs")(fd, info);
    if (fails("space")) {
        info->f_bavail = 0;
    }
    return outcome;
}

}  // extern "C"
