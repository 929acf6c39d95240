// The functions of the C library that look at files and change them: those of the code under test, and those
// of its database. And the one that starts threads.
#include "FailingCalls.h"

#include <dirent.h>
#include <fcntl.h>
#include <pthread.h>
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
using test::passed;

extern "C" {

int openat(int folder, const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser does not see what va_start does
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return passed<decltype(openat)>(__builtin_return_address(0), Calls::Files, "openat", -1, folder, path,
                                    flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list rest;
    va_start(rest, flags);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the analyser does not see what va_start does
    const mode_t mode = (flags & O_CREAT) != 0 ? va_arg(rest, mode_t) : 0;
    va_end(rest);
    return passed<decltype(open64)>(__builtin_return_address(0), Calls::Files, "open64", -1, path, flags,
                                    mode);
}

int fstat(int file, struct stat* info) noexcept {
    return passed<decltype(fstat)>(__builtin_return_address(0), Calls::Files, "fstat", -1, file, info);
}

int fstatat(int folder, const char* path, struct stat* info, int flags) noexcept {
    return passed<decltype(fstatat)>(__builtin_return_address(0), Calls::Files, "fstatat", -1, folder, path,
                                     info, flags);
}

int fstatvfs(int file, struct statvfs* info) noexcept {
    return passed<decltype(fstatvfs)>(__builtin_return_address(0), Calls::Files, "fstatvfs", -1, file, info);
}

DIR* fdopendir(int folder) {
    return passed<decltype(fdopendir)>(__builtin_return_address(0), Calls::Files, "fdopendir", nullptr,
                                       folder);
}

dirent* readdir(DIR* folder) {
    return passed<decltype(readdir)>(__builtin_return_address(0), Calls::Files, "readdir", nullptr, folder);
}

ssize_t read(int file, void* buffer, size_t size) {
    return passed<decltype(read)>(__builtin_return_address(0), Calls::Files, "read", -1, file, buffer, size);
}

ssize_t pread(int file, void* buffer, size_t size, off_t offset) {
    return passed<decltype(pread)>(__builtin_return_address(0), Calls::Files, "pread", -1, file, buffer, size,
                                   offset);
}

ssize_t pread64(int file, void* buffer, size_t size, off64_t offset) {
    return passed<decltype(pread64)>(__builtin_return_address(0), Calls::Files, "pread64", -1, file, buffer,
                                     size, offset);
}

ssize_t write(int file, const void* data, size_t size) {
    return passed<decltype(write)>(__builtin_return_address(0), Calls::Files, "write", -1, file, data, size);
}

ssize_t pwrite(int file, const void* data, size_t size, off_t offset) {
    return passed<decltype(pwrite)>(__builtin_return_address(0), Calls::Files, "pwrite", -1, file, data, size,
                                    offset);
}

ssize_t pwrite64(int file, const void* data, size_t size, off64_t offset) {
    return passed<decltype(pwrite64)>(__builtin_return_address(0), Calls::Files, "pwrite64", -1, file, data,
                                      size, offset);
}

int ftruncate(int file, off_t size) noexcept {
    return passed<decltype(ftruncate)>(__builtin_return_address(0), Calls::Files, "ftruncate", -1, file,
                                       size);
}

int mkdir(const char* path, mode_t mode) noexcept {
    return passed<decltype(mkdir)>(__builtin_return_address(0), Calls::Files, "mkdir", -1, path, mode);
}

int mkdirat(int folder, const char* path, mode_t mode) noexcept {
    return passed<decltype(mkdirat)>(__builtin_return_address(0), Calls::Files, "mkdirat", -1, folder, path,
                                     mode);
}

char* mkdtemp(char* path) noexcept {
    return passed<decltype(mkdtemp)>(__builtin_return_address(0), Calls::Files, "mkdtemp", nullptr, path);
}

int fchmodat(int folder, const char* path, mode_t mode, int flags) noexcept {
    return passed<decltype(fchmodat)>(__builtin_return_address(0), Calls::Files, "fchmodat", -1, folder, path,
                                      mode, flags);
}

int renameat(int from, const char* name, int to, const char* newName) noexcept {
    return passed<decltype(renameat)>(__builtin_return_address(0), Calls::Files, "renameat", -1, from, name,
                                      to, newName);
}

int renameat2(int from, const char* name, int to, const char* newName, unsigned int flags) noexcept {
    return passed<decltype(renameat2)>(__builtin_return_address(0), Calls::Files, "renameat2", -1, from, name,
                                       to, newName, flags);
}

int unlink(const char* path) noexcept {
    return passed<decltype(unlink)>(__builtin_return_address(0), Calls::Files, "unlink", -1, path);
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    return passed<decltype(unlinkat)>(__builtin_return_address(0), Calls::Files, "unlinkat", -1, folder, path,
                                      flags);
}

int flock(int file, int operation) noexcept {
    return passed<decltype(flock)>(__builtin_return_address(0), Calls::Files, "flock", -1, file, operation);
}

int getpwuid_r(uid_t user, passwd* record, char* buffer, size_t size, passwd** found) {
    *found = nullptr;
    return passed<decltype(getpwuid_r)>(__builtin_return_address(0), Calls::Files, "getpwuid_r", EIO, user,
                                        record, buffer, size, found);
}

int pthread_create(pthread_t* thread, const pthread_attr_t* attributes, void* (*start)(void*),
                   void* argument) noexcept {
    return passed<decltype(pthread_create)>(__builtin_return_address(0), Calls::Threads, "pthread_create",
                                            EAGAIN, thread, attributes, start, argument);
}

// What is made durable is lost with the test all the same, and disks are slow.

int fsync(int) {
    return FailingCalls::isNow(__builtin_return_address(0), Calls::Files, "fsync") ? -1 : 0;
}

int syncfs(int) noexcept {
    return FailingCalls::isNow(__builtin_return_address(0), Calls::Files, "syncfs") ? -1 : 0;
}

int fdatasync(int) {
    return FailingCalls::isNow(__builtin_return_address(0), Calls::Files, "fdatasync") ? -1 : 0;
}

}  // extern "C"
