// Preloaded into a program, answers uname: the system's name is what FAKE_SYSTEM says, and "fail" is a
// failure of a call that has already filled in the name of an ESXi host.
#include <sys/utsname.h>

#include <cstdlib>
#include <cstring>

extern "C" int uname(utsname* system) noexcept {
    const char* name = std::getenv("FAKE_SYSTEM");
    const bool fails = name == nullptr || std::strcmp(name, "fail") == 0;
    std::memset(system, 0, sizeof *system);
    std::strncpy(system->sysname, fails ? "VMkernel" : name, sizeof system->sysname - 1);
    return fails ? -1 : 0;
}
