#include "face/Library.h"

#include <vtek/vtek.h>

#include <unistd.h>

namespace vtek {

Library& Library::instance() {
    static Library library;
    return library;
}

Library::Library()
    : root_(Root::open(rootPathFromEnvironment(), geteuid())), log_(root_ ? &*root_ : nullptr) {
    if (!root_) {
        tellFailure("constructor", root_.error());
    }
}

}  // namespace vtek

void logWyndMsg(const char* sourceFile, unsigned int line, const std::string& message) {
    vtek::Library::instance().log().write(sourceFile == nullptr ? "" : sourceFile, line, message);
}
