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

struct FreeCrypto {
    void operator()(ASN1_TIME* time) const { ASN1_TIME_free(time); }
    void operator()(BIO* bio) const { BIO_free_all(bio); }
    void operator()(CMS_ContentInfo* cms) const { CMS_ContentInfo_free(cms); }
    void operator()(EVP_MAC* mac) const { EVP_MAC_free(mac); }
    void operator()(EVP_MAC_CTX* context) const { EVP_MAC_CTX_free(context); }
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
using MacPtr = std::unique_ptr<EVP_MAC, FreeCrypto>;
using MacContextPtr = std::unique_ptr<EVP_MAC_CTX, FreeCrypto>;
using KeyPtr = std::unique_ptr<EVP_PKEY, FreeCrypto>;
using KeyContextPtr = std::unique_ptr<EVP_PKEY_CTX, FreeCrypto>;
using CertificatePtr = std::unique_ptr<X509, FreeCrypto>;
using RevocationListPtr = std::unique_ptr<X509_CRL, FreeCrypto>;
using X509StorePtr = std::unique_ptr<X509_STORE, FreeCrypto>;
using X509StoreContextPtr = std::unique_ptr<X509_STORE_CTX, FreeCrypto>;
using CertificatesPtr = std::unique_ptr<STACK_OF(X509), FreeCrypto>;

/** What OpenSSL was asked to make, or whether it did as asked; it refuses only where memory is short. */
template <class Outcome>
Outcome required(Outcome outcome) {
    if (!outcome) {
        throw std::bad_alloc();
    }
    return outcome;
}

/** Starts OpenSSL without any configuration file, so that OPENSSL_CONF changes nothing. Harmless when
 * repeated. */
void startCrypto();

/** A name as people read it, in the order of RFC 2253. */
std::string nameText(const X509_NAME* name);

/** Whether a certificate may issue others. */
bool isAuthority(X509* certificate);

/** The text of OpenSSL's newest pending error; forgets all pending ones. */
std::string cryptoError();

}  // namespace vtek
