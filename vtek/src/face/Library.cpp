#include "face/Library.h"

#include <vtek/vtek.h>

#include <unistd.h>

#include <utility>

namespace vtek {

Library& Library::instance() {
    static Library library;
    return library;
}

Result<Store*> Library::store() {
    if (!root_) {
        return root_.error();
    }
    if (!store_) {
        VTEK_ASSIGN(Store opened, Store::open(*root_, Store::Mode::Read));
        store_.emplace(std::move(opened));
    }
    return &*store_;
}

// The root is checked for the effective user, since the kernel uses that one's rights.
Library::Library()
    : root_(Root::open(rootPathFromEnvironment(), geteuid())), log_(root_ ? &*root_ : nullptr) {
    if (!root_) {
        reportFailure("constructor", root_.error());
    }
}

}  // namespace vtek

void logWyndMsg(const char* sourceFile, unsigned int line, const std::string& message) {
    vtek::Library::instance().log().write(sourceFile == nullptr ? "" : sourceFile, line, message);
}
