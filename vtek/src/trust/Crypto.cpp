#include "trust/Crypto.h"

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace vtek {

void requireStep(int outcome, const char* algorithm) {
    if (outcome != 1) {
        throw std::runtime_error(std::string(algorithm) + " is not available");
    }
}

void startCrypto() {
    // OPENSSL_CONF names a file that can load libraries and change defaults: the caller of the program must
    // not decide that by its environment.
    OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr);
}

std::string nameText(const X509_NAME* name) {
    const auto text = required(BioPtr(BIO_new(BIO_s_mem())));
    X509_NAME_print_ex(text.get(), name, 0, XN_FLAG_RFC2253);
    const char* bytes = nullptr;
    const long size = BIO_get_mem_data(text.get(), &bytes);
    return size > 0 ? std::string(bytes, static_cast<std::size_t>(size)) : std::string();
}

bool isAuthority(X509* certificate) {
    return X509_check_ca(certificate) == 1;  // higher numbers: by other signs, as in X.509 version 1
}

std::string cryptoError() {
    const unsigned long code = ERR_peek_last_error();
    const char* reason = ERR_reason_error_string(code);
    ERR_clear_error();
    return reason != nullptr ? reason : "no reason given";
}

}  // namespace vtek
