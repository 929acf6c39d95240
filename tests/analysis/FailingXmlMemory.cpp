/**
 * Preloaded into a program, makes one of libxml2's allocations fail: the one whose number, from 1, is in
 * FAILING_XML_ALLOCATION. At exit, writes the number of allocations to the file named by XML_ALLOCATIONS. A
 * crash ends the program with status 97 inside libxml2, and with 98 elsewhere.
 */

#include <dlfcn.h>
#include <execinfo.h>
#include <libxml/xmlmemory.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string_view>

namespace {

long allocations = 0;
long failing = 0;

bool fails() {
    return ++allocations == failing;
}

void* allocate(std::size_t size) {
    return fails() ? nullptr : std::malloc(size);
}

void* reallocate(void* memory, std::size_t size) {
    return fails() ? nullptr : std::realloc(memory, size);
}

char* duplicate(const char* text) {
    return fails() ? nullptr : strdup(text);
}

/** Ends the program with a status that tells in whose code it crashed: the C library's and this handler's own
 * frames on top of the stack do not count. */
void endByCulprit(int /*signal*/) {
    constexpr int kLibxml2 = 97;
    constexpr int kOther = 98;
    std::array<void*, 64> frames{};
    const int depth = backtrace(frames.data(), static_cast<int>(frames.size()));
    for (int i = 0; i < depth; ++i) {
        Dl_info place{};
        const std::string_view file =
            dladdr(frames[static_cast<std::size_t>(i)], &place) != 0 ? place.dli_fname : "";
        if (file.find("libfailing_xml_memory") == file.npos && file.find("libc.so") == file.npos) {
            _exit(file.find("libxml2") != file.npos ? kLibxml2 : kOther);
        }
    }
    _exit(kOther);
}

/** In the place of libxml2's allocator from before main to the end. */
class Allocator {
public:
    Allocator() {
        if (const char* number = std::getenv("FAILING_XML_ALLOCATION")) {
            failing = std::atol(number);
        }
        std::signal(SIGSEGV, endByCulprit);
        std::signal(SIGABRT, endByCulprit);
        xmlMemSetup(std::free, allocate, reallocate, duplicate);
    }
    ~Allocator() {
        if (const char* file = std::getenv("XML_ALLOCATIONS")) {
            std::ofstream(file) << allocations;
        }
    }
};

const Allocator allocator;

}  // namespace
