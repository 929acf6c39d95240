#pragma once

#include <cstddef>

namespace test {

/**
 * While it lives, one allocation by operator new of a given size fails, as if memory had run out.
 *
 * The non-throwing operators return null for it, the others throw std::bad_alloc. A test that uses this
 * replaces the operators for its whole program. At most one lives at a time.
 */
class FailingAllocation {
public:
    /** The call-th allocation of exactly size bytes fails, from 1. */
    explicit FailingAllocation(std::size_t size, int call = 1);
    ~FailingAllocation();
    FailingAllocation(const FailingAllocation&) = delete;
    FailingAllocation& operator=(const FailingAllocation&) = delete;

    /** Whether that allocation was requested. */
    bool happened() const;
};

}  // namespace test
