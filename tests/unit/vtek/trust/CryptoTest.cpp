#include "authoring/Certificates.h"
#include "trust/Crypto.h"

#include <gtest/gtest.h>
#include <openssl/err.h>

#include <utility>

namespace {

void add(X509_NAME* name, const char* field, const char* value) {
    X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8, reinterpret_cast<const unsigned char*>(value), -1,
                               -1, 0);
}

TEST(Crypto, PrintsLastPartOfNameFirst) {
    const vtek::CertificatePtr certificate(X509_new());
    X509_NAME* name = X509_get_subject_name(certificate.get());
    EXPECT_EQ(vtek::nameText(name), "");
    add(name, "C", "DE");
    add(name, "O", "Lab, Inc.");
    add(name, "CN", "Signer");
    EXPECT_EQ(vtek::nameText(name), "CN=Signer,O=Lab\\, Inc.,C=DE");
}

TEST(Crypto, RecognizesAuthority) {
    const auto authority =
        vtek::issueCertificate(vtek::authorityRequest("A", 0, 1), std::move(*vtek::makeEcKey()), nullptr);
    EXPECT_TRUE(vtek::isAuthority(authority->certificate.get()));
    const auto signer =
        vtek::issueCertificate(vtek::signerRequest("S", 0, 1), std::move(*vtek::makeEcKey()), nullptr);
    EXPECT_FALSE(vtek::isAuthority(signer->certificate.get()));
}

TEST(Crypto, TakesVersion1ForNoAuthority) {
    const vtek::CertificatePtr certificate(X509_new());
    const vtek::KeyPtr key = std::move(*vtek::makeEcKey());
    add(X509_get_subject_name(certificate.get()), "CN", "Old");
    X509_set_issuer_name(certificate.get(), X509_get_subject_name(certificate.get()));
    X509_set_pubkey(certificate.get(), key.get());
    ASSERT_GT(X509_sign(certificate.get(), key.get(), EVP_sha256()), 0);
    EXPECT_FALSE(vtek::isAuthority(certificate.get()));
}

TEST(Crypto, ReportsLatestErrorAndClearsQueue) {
    ERR_raise(ERR_LIB_X509, X509_R_BAD_X509_FILETYPE);
    ERR_raise(ERR_LIB_X509, X509_R_CERT_ALREADY_IN_HASH_TABLE);
    EXPECT_EQ(vtek::cryptoError(), "cert already in hash table");
    EXPECT_EQ(ERR_peek_error(), 0U);
    EXPECT_EQ(vtek::cryptoError(), "no reason given");
}

}  // namespace
