#include "FailingAllocation.h"

#include "AllocationWatch.h"

#include <cstdlib>
#include <new>
#include <stdexcept>

namespace {

std::size_t failingSize = 0;
int callsLeft = 0;
bool armed = false;

bool failsNow(std::size_t size) {
    return armed && size == failingSize && callsLeft > 0 && --callsLeft == 0;
}

void* allocate(std::size_t size) {
    test::noteAllocation();
    return failsNow(size) ? nullptr : std::malloc(size == 0 ? 1 : size);
}

void release(void* memory) {
    test::noteDeletion(memory);
    std::free(memory);
}

void* allocateOrThrow(std::size_t size) {
    if (void* memory = allocate(size)) {
        return memory;
    }
    throw std::bad_alloc();
}

}  // namespace

void* operator new(std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new[](std::size_t size) {
    return allocateOrThrow(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return allocate(size);
}
void operator delete(void* memory) noexcept {
    release(memory);
}
void operator delete[](void* memory) noexcept {
    release(memory);
}
void operator delete(void* memory, std::size_t) noexcept {
    release(memory);
}
void operator delete[](void* memory, std::size_t) noexcept {
    release(memory);
}

namespace test {

FailingAllocation::FailingAllocation(std::size_t size, int call) {
    if (armed) {
        throw std::logic_error("a second FailingAllocation while one lives");
    }
    failingSize = size;
    callsLeft = call;
    armed = true;
}

FailingAllocation::~FailingAllocation() {
    armed = false;
}

bool FailingAllocation::happened() const {
    return callsLeft == 0;
}

}  // namespace test
