#include "base/Signals.h"

#include <algorithm>
#include <array>

namespace vtek {

namespace {

constexpr std::array kEndingSignals{SIGINT, SIGTERM, SIGHUP, SIGQUIT};

}  // namespace

HeldSignals::HeldSignals() {
    sigset_t held;
    sigemptyset(&held);
    for (const int signal : kEndingSignals) {
        sigaddset(&held, signal);
    }
    pthread_sigmask(SIG_BLOCK, &held, &before_);
}

HeldSignals::~HeldSignals() {
    pthread_sigmask(SIG_SETMASK, &before_, nullptr);
}

bool isEndingRequested() {
    sigset_t pending;
    return sigpending(&pending) == 0 &&
           std::any_of(kEndingSignals.begin(), kEndingSignals.end(),
                       [&](int signal) { return sigismember(&pending, signal) == 1; });
}

}  // namespace vtek
