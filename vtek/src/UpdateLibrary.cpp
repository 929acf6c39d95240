#include "UpdateLibrary.h"

#include <dlfcn.h>

#include <filesystem>

namespace vtek {

namespace {

constexpr const char* kFile = "libvtek-update.so";

/** Nowhere but beside the library that this code is in: no path of the loader may bring another one. */
Result<std::string> pathOfLibrary() {
    Dl_info own{};
    if (dladdr(reinterpret_cast<const void*>(&beginUpdate), &own) == 0) {
        return Error{ErrorNumber::UpdateUnavailable, "this library does not know where it is"};
    }
    return std::filesystem::absolute(own.dli_fname).replace_filename(kFile).string();
}

Error unavailable() {
    const char* reason = dlerror();
    return {ErrorNumber::UpdateUnavailable, reason != nullptr ? reason : kFile};
}

}  // namespace

Result<std::unique_ptr<UpdateSteps>> beginUpdate(const Root& root, int folder, std::time_t now) {
    VTEK_ASSIGN(const std::string path, pathOfLibrary());
    void* library = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        return unavailable();
    }
    auto* begin = reinterpret_cast<BeginUpdate*>(dlsym(library, kBeginUpdate));
    if (begin == nullptr) {
        return unavailable();
    }
    return std::unique_ptr<UpdateSteps>(begin(root, folder, now));
}

}  // namespace vtek
