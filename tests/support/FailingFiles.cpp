// The functions of the C library that read and change files: those that the code under test calls, and those
// that SQLite calls.
#include "FailingCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <cstdarg>
#include <cstdio>

using test::Calls;
using test::FailingCalls;

extern "C" {

int openat(int folder, const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser does not see what va_start does
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    FAIL_OR_CALL(openat, Files, -1, folder, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser does not see what va_start does
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    FAIL_OR_CALL(open64, Files, -1, path, flags, mode);
}

int fstat(int file, struct stat* info) noexcept {
    FAIL_OR_CALL(fstat, Files, -1, file, info);
}

int fstatat(int folder, const char* path, struct stat* info, int flags) noexcept {
    FAIL_OR_CALL(fstatat, Files, -1, folder, path, info, flags);
}

int fstatvfs(int file, struct statvfs* info) noexcept {
    FAIL_OR_CALL(fstatvfs, Files, -1, file, info);
}

DIR* fdopendir(int folder) {
    FAIL_OR_CALL(fdopendir, Files, nullptr, folder);
}

dirent* readdir(DIR* folder) {
    FAIL_OR_CALL(readdir, Files, nullptr, folder);
}

ssize_t read(int file, void* buffer, size_t size) {
    FAIL_OR_CALL(read, Files, -1, file, buffer, size);
}

ssize_t pread(int file, void* buffer, size_t size, off_t offset) {
    FAIL_OR_CALL(pread, Files, -1, file, buffer, size, offset);
}

ssize_t pread64(int file, void* buffer, size_t size, off64_t offset) {
    FAIL_OR_CALL(pread64, Files, -1, file, buffer, size, offset);
}

ssize_t write(int file, const void* data, size_t size) {
    FAIL_OR_CALL(write, Files, -1, file, data, size);
}

ssize_t pwrite(int file, const void* data, size_t size, off_t offset) {
    FAIL_OR_CALL(pwrite, Files, -1, file, data, size, offset);
}

ssize_t pwrite64(int file, const void* data, size_t size, off64_t offset) {
    FAIL_OR_CALL(pwrite64, Files, -1, file, data, size, offset);
}

int ftruncate(int file, off_t size) noexcept {
    FAIL_OR_CALL(ftruncate, Files, -1, file, size);
}

int mkdir(const char* path, mode_t mode) noexcept {
    FAIL_OR_CALL(mkdir, Files, -1, path, mode);
}

int mkdirat(int folder, const char* path, mode_t mode) noexcept {
    FAIL_OR_CALL(mkdirat, Files, -1, folder, path, mode);
}

char* mkdtemp(char* path) noexcept {
    FAIL_OR_CALL(mkdtemp, Files, nullptr, path);
}

int fchmodat(int folder, const char* path, mode_t mode, int flags) noexcept {
    FAIL_OR_CALL(fchmodat, Files, -1, folder, path, mode, flags);
}

int renameat(int from, const char* name, int to, const char* newName) noexcept {
    FAIL_OR_CALL(renameat, Files, -1, from, name, to, newName);
}

int renameat2(int from, const char* name, int to, const char* newName, unsigned int flags) noexcept {
    FAIL_OR_CALL(renameat2, Files, -1, from, name, to, newName, flags);
}

int linkat(int from, const char* name, int to, const char* newName, int flags) noexcept {
    FAIL_OR_CALL(linkat, Files, -1, from, name, to, newName, flags);
}

int unlink(const char* path) noexcept {
    FAIL_OR_CALL(unlink, Files, -1, path);
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    FAIL_OR_CALL(unlinkat, Files, -1, folder, path, flags);
}

int flock(int file, int operation) noexcept {
    FAIL_OR_CALL(flock, Files, -1, file, operation);
}

int getpwuid_r(uid_t user, passwd* record, char* buffer, size_t size, passwd** found) {
    *found = nullptr;
    FAIL_OR_CALL(getpwuid_r, Files, EIO, user, record, buffer, size, found);
}

// Nothing is made durable: the test removes it at its end anyway, and disks are slow.

int fsync(int) {
    return FailingCalls::isNow(__builtin_return_address(0), Calls::Files, "fsync") ? -1 : 0;
}

int fdatasync(int) {
    return FailingCalls::isNow(__builtin_return_address(0), Calls::Files, "fdatasync") ? -1 : 0;
}

}  // extern "C"
