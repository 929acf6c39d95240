#pragma once

#include <cstddef>

namespace test {

/** How often operator new has been asked for memory since the program began. A test that uses this, or
 * anything below, replaces the operators for its whole program. */
std::size_t allocationCount();

/** Has wasDeleted tell from now on whether operator delete is given this object; at most eight may be
 * watched. */
void watchDeletion(const void* object);

/** Whether operator delete has been given the watched object. */
bool wasDeleted(const void* object);

// What the replaced operators tell; not for tests.
void noteAllocation();
void noteDeletion(const void* memory);

}  // namespace test
