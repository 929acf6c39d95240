/**
 * Preloaded into a program, notes what it sets of its heap: each call of mallopt is a line "PARAMETER VALUE"
 * of the file HEAP_SETTINGS.
 */

#include <dlfcn.h>
#include <malloc.h>

#include <cstdlib>
#include <fstream>

int mallopt(int parameter, int value) noexcept {
    if (const char* const file = std::getenv("HEAP_SETTINGS")) {
        std::ofstream(file, std::ios::app) << parameter << ' ' << value << '\n';
    }
    return reinterpret_cast<decltype(mallopt)*>(dlsym(RTLD_NEXT, "mallopt"))(parameter, value);
}
