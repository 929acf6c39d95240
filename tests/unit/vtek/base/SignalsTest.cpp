#include "base/Signals.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

namespace {

using vtek::HeldSignals;
using vtek::isEndingRequested;

TEST(SignalsDeathTest, HoldsSignalsBackUntilTheEnd) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        EXPECT_EXIT(
            {
                bool isSeen = false;
                {
                    const HeldSignals held;
                    std::raise(signal);
                    isSeen = isEndingRequested();
                }
                std::_Exit(isSeen ? 1 : 2);
            },
            testing::KilledBySignal(signal), "");
        EXPECT_EXIT(
            {
                const HeldSignals held;
                std::raise(signal);
                std::_Exit(isEndingRequested() ? 0 : 1);
            },
            testing::ExitedWithCode(0), "");
    }
}

TEST(Signals, SeesNoneWhereNoneArrived) {
    const HeldSignals held;
    EXPECT_FALSE(isEndingRequested());
}

}  // namespace
