#pragma once

#include <csignal>

namespace vtek {

/**
 * Holds back the signals that end a program, from the terminal or from its owner, as long as the object
 * lives: for work that cleans up after itself and asks isEndingRequested in between. The calling thread and
 * those that it starts are affected.
 */
class HeldSignals {
public:
    HeldSignals();
    ~HeldSignals();
    HeldSignals(const HeldSignals&) = delete;
    HeldSignals& operator=(const HeldSignals&) = delete;

private:
    sigset_t before_;
};

/** Whether one of these signals has arrived and is held back. */
bool isEndingRequested();

}  // namespace vtek
