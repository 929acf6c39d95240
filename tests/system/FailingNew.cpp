/**
 * Preloaded into a program, makes one of its non-throwing allocations fail: the one whose number, from 1, is
 * in FAILING_NEW.
 */

#include <cstdlib>
#include <new>

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    static int calls = 0;
    const char* failing = std::getenv("FAILING_NEW");
    if (failing != nullptr && ++calls == std::atoi(failing)) {
        return nullptr;
    }
    try {
        return ::operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
