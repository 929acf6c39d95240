#include "OwnFolder.h"

namespace tools {

vtek::Result<std::filesystem::path> ownFolder(const char* installed, const char* built, const char* file) {
    const auto here = std::filesystem::read_symlink("/proc/self/exe").parent_path();
    for (const char* folder : {installed, built}) {
        const auto candidate = (here / folder).lexically_normal();
        if (std::filesystem::exists(candidate / file)) {
            return candidate;
        }
    }
    return vtek::Error{vtek::ErrorNumber::InvalidArgument,
                       std::string("no ") + file + " in " + (here / installed).lexically_normal().string()};
}

}  // namespace tools
