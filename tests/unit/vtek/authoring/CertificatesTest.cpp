#include "Signing.h"
#include "authoring/Certificates.h"

#include <gtest/gtest.h>

namespace {

using test::kDay;
using test::kNow;

/** Whether a certificate's time is this second. */
bool isAt(const ASN1_TIME* time, std::time_t second) {
    std::time_t before = second - 1;
    return X509_cmp_time(time, &second) == -1 && X509_cmp_time(time, &before) == 1;
}

TEST(Certificates, RecordsRequestedLifetime) {
    auto request = test::goodSigner();
    request.validFrom = kNow;
    request.validTo = kNow + kDay;
    const auto signer = test::issue(request, nullptr);
    EXPECT_TRUE(isAt(X509_get0_notBefore(signer.certificate.get()), kNow));
    EXPECT_TRUE(isAt(X509_get0_notAfter(signer.certificate.get()), kNow + kDay));
}

}  // namespace
