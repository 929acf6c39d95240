#pragma once

#include "Process.h"

#include <functional>

namespace test {

/**
 * Runs `body` in a child of this process and waits for it.
 *
 * What the body changes (working directory, process-wide objects, rights) stays in the child, so a test that
 * needs a process of its own gets one. The body's result is the exit status; a body
 * that throws ends with 99 and the exception's text on standard error. Standard output and error are
 * captured. The child leaves through exit, so that the sanitizers report.
 */
Outcome runInChild(const std::function<int()>& body);

}  // namespace test
