#pragma once

#include "Lab.h"

#include <gtest/gtest.h>

#include <string>

namespace test {

/** Updates with the lab's archive and this signature, and expects the outcome. A refusal changes nothing. */
inline void expectOutcome(const Lab& lab, const std::string& cms, vtek::ErrorNumber number) {
    lab.write(makePayload(lab.archive(), cms));
    const auto untouched = lab.snapshot();
    if (number == vtek::ErrorNumber::None) {
        EXPECT_EQ(lab.update(), UpdateOutcome{"done"});
    } else {
        EXPECT_EQ(lab.update(), (UpdateOutcome{"check", number}));
        EXPECT_EQ(lab.snapshot(), untouched);
    }
}

/** Like expectOutcome, with a signature by one signer. */
inline void expectSigner(const Lab& lab, const vtek::Identity& signer, vtek::ErrorNumber number,
                         const CmsForm& form = {}) {
    expectOutcome(lab, makeCms(lab.archive(), {&signer}, form), number);
}

}  // namespace test
