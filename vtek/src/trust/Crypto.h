#pragma once

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/evp.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include <memory>
#include <new>
#include <string>

namespace vtek {

// Owners of OpenSSL's objects.
struct FreeCrypto {
    void operator()(ASN1_TIME* time) const { ASN1_TIME_free(time); }
    void operator()(BIO* bio) const { BIO_free_all(bio); }
    void operator()(CMS_ContentInfo* cms) const { CMS_ContentInfo_free(cms); }
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
    void operator()(X509* certificate) const { X509_free(certificate); }
    void operator()(X509_CRL* list) const { X509_CRL_free(list); }
    void operator()(X509_STORE* store) const { X509_STORE_free(store); }
    void operator()(X509_STORE_CTX* context) const { X509_STORE_CTX_free(context); }
    void operator()(STACK_OF(X509) * certificates) const { sk_X509_pop_free(certificates, X509_free); }
};

using TimePtr = std::unique_ptr<ASN1_TIME, FreeCrypto>;
using BioPtr = std::unique_ptr<BIO, FreeCrypto>;
using CmsPtr = std::unique_ptr<CMS_ContentInfo, FreeCrypto>;
using DigestContextPtr = std::unique_ptr<EVP_MD_CTX, FreeCrypto>;
using KeyPtr = std::unique_ptr<EVP_PKEY, FreeCrypto>;
using KeyContextPtr = std::unique_ptr<EVP_PKEY_CTX, FreeCrypto>;
using CertificatePtr = std::unique_ptr<X509, FreeCrypto>;
using RevocationListPtr = std::unique_ptr<X509_CRL, FreeCrypto>;
using X509StorePtr = std::unique_ptr<X509_STORE, FreeCrypto>;
using X509StoreContextPtr = std::unique_ptr<X509_STORE_CTX, FreeCrypto>;
using CertificatesPtr = std::unique_ptr<STACK_OF(X509), FreeCrypto>;

/** Returns the result of a call that can fail only for lack of memory; throws when it is null or 0. */
template <class Outcome>
Outcome required(Outcome outcome) {
    if (!outcome) {
        throw std::bad_alloc();
    }
    return outcome;
}

/** Throws when the outcome of an algorithm's step is not 1. @param algorithm  for the exception's text */
void requireStep(int outcome, const char* algorithm);

/** Initialises OpenSSL without its configuration file. Further calls do nothing. */
void startCrypto();

/** A name as text in the format of RFC 2253: the last part first. */
std::string nameText(const X509_NAME* name);

/** Whether a certificate may issue others: its basic constraints say that it is an authority's. */
bool isAuthority(X509* certificate);

/** The text of OpenSSL's latest error; clears its queue of errors. */
std::string cryptoError();

}  // namespace vtek
