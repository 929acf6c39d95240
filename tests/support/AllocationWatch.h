#pragma once

#include <cstddef>

namespace test {

/** The number of calls of operator new since the program began. A test that uses this, or anything below,
 * replaces the operators for its whole program. */
std::size_t allocationCount();

/** Watches an object from now on: wasDeleted says whether operator delete was given it. At most eight objects
 * may be watched. */
void watchDeletion(const void* object);

/** Whether operator delete has been given the watched object. */
bool wasDeleted(const void* object);

// Called by the replaced operators, not by tests.
void noteAllocation();
void noteDeletion(const void* memory);

}  // namespace test
