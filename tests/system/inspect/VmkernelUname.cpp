// Preloaded: the kernel calls itself VMkernel.
#include <sys/utsname.h>

#include <cstring>

extern "C" __attribute__((visibility("default"))) int uname(utsname* system) noexcept {
    *system = {};
    std::strcpy(system->sysname, "VMkernel");
    return 0;
}
