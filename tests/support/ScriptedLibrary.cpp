/**
 * The platform library for whole programs under test: a libvtek.so.0 made of VtekDouble.
 *
 * VTEK_DOUBLE_SCRIPT names the file with the answers, VTEK_DOUBLE_CALLS the file to which every call and
 * every line of the library's log is appended as it happens. Neither file stays open between calls, so that
 * the program's own descriptors are what they would be with any other library.
 */

#include "VtekDouble.h"
#include "VtekScriptFile.h"

#include <unistd.h>

#include <cstdlib>
#include <exception>
#include <fstream>
#include <iostream>
#include <string>

namespace {

constexpr int kExitBadScript = 120;

void appendTo(const char* file, const std::string& event) {
    std::ofstream(file, std::ios::app) << event << '\n';
}

/** The double, ready from the moment that the library is loaded. */
class Library {
public:
    Library() {
        if (const char* script = std::getenv("VTEK_DOUBLE_SCRIPT")) {
            read(script);
        }
        if (const char* calls = std::getenv("VTEK_DOUBLE_CALLS")) {
            double_.observer = [calls](const std::string& event) { appendTo(calls, event); };
        }
    }

private:
    void read(const char* script) {
        try {
            double_.script = test::readVtekScript(script);
        } catch (const std::exception& failure) {
            std::cerr << failure.what() << std::endl;
            _exit(kExitBadScript);
        }
    }

    test::VtekDouble double_;
};

const Library library;

}  // namespace
