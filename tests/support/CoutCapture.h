#pragma once

#include <iostream>
#include <sstream>

namespace test {

/** Captures the output to std::cout while it lives. */
class CoutCapture {
public:
    CoutCapture() : before_(std::cout.rdbuf(taken_.rdbuf())) {}
    ~CoutCapture() { std::cout.rdbuf(before_); }
    CoutCapture(const CoutCapture&) = delete;
    CoutCapture& operator=(const CoutCapture&) = delete;

    std::string text() const { return taken_.str(); }

private:
    std::ostringstream taken_;
    std::streambuf* before_;
};

}  // namespace test
