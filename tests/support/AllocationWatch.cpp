#include "AllocationWatch.h"

#include <array>
#include <stdexcept>

namespace test {
namespace {

struct Watched {
    const void* object;
    bool deleted;
};

std::size_t allocations = 0;

// No container: nothing here may allocate.
std::array<Watched, 8> watchedObjects{};
std::size_t watchedCount = 0;

}  // namespace

std::size_t allocationCount() {
    return allocations;
}

void watchDeletion(const void* object) {
    if (watchedCount == watchedObjects.size()) {
        throw std::logic_error("too many watched objects");
    }
    watchedObjects[watchedCount++] = {object, false};
}

bool wasDeleted(const void* object) {
    for (const Watched& watched : watchedObjects) {
        if (watched.object == object) {
            return watched.deleted;
        }
    }
    throw std::logic_error("not a watched object");
}

void noteAllocation() {
    ++allocations;
}

void noteDeletion(const void* memory) {
    for (Watched& watched : watchedObjects) {
        watched.deleted = watched.deleted || (memory != nullptr && watched.object == memory);
    }
}

}  // namespace test
