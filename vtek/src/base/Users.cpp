#include "base/Users.h"

#include "base/File.h"
#include "base/Text.h"

#include <fcntl.h>
#include <pwd.h>
#include <unistd.h>

#include <array>
#include <cstdint>
#include <limits>

namespace vtek {

namespace {

std::string describeUser(uid_t user) {
    std::array<char, 4096> buffer{};  // for the strings of one entry, which are far shorter
    passwd record{};
    passwd* found = nullptr;
    const std::string number = std::to_string(user);
    if (getpwuid_r(user, &record, buffer.data(), buffer.size(), &found) != 0 || found == nullptr) {
        return number;
    }
    return std::string(record.pw_name) + " (" + number + ")";
}

}  // namespace

std::string realUser() {
    return describeUser(getuid());
}

std::string loginUser() {
    // The kernel's value for a process that no login has started, such as a service.
    constexpr std::uint64_t kNobody = std::numeric_limits<uid_t>::max();
    const UniqueFd file = openAt(kWorkingFolder, "/proc/self/loginuid", O_RDONLY);
    std::string text;
    std::uint64_t user = 0;
    if (!file || !readWhole(file.get(), 64, text) || !parseNumber(text, 0, kNobody - 1, user)) {
        return "unknown";
    }
    return describeUser(static_cast<uid_t>(user));
}

}  // namespace vtek
