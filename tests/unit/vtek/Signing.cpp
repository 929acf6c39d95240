#include "Signing.h"

#include "payload/Payload.h"

#include <openssl/conf.h>
#include <openssl/dsa.h>
#include <openssl/rsa.h>
#include <openssl/x509v3.h>

#include <stdexcept>

namespace test {

namespace {

struct FreeExtension {
    void operator()(X509_EXTENSION* extension) const { X509_EXTENSION_free(extension); }
};
using ExtensionPtr = std::unique_ptr<X509_EXTENSION, FreeExtension>;

ExtensionPtr makeExtension(const ExtensionText& text) {
    const std::unique_ptr<CONF, decltype(&NCONF_free)> configuration(NCONF_new(nullptr), NCONF_free);
    X509V3_CTX context{};
    X509V3_set_nconf(&context, configuration.get());
    ExtensionPtr extension(
        X509V3_EXT_nconf(configuration.get(), &context, text.name.c_str(), text.value.c_str()));
    if (!extension) {
        throw std::runtime_error(text.name + ": " + vtek::cryptoError());
    }
    return extension;
}

}  // namespace

vtek::Identity makeAuthority(const std::string& name, std::time_t now) {
    return issue(vtek::authorityRequest(name, now - kDay, 1000), nullptr);
}

vtek::CertificateRequest goodSigner(std::time_t now) {
    return vtek::signerRequest("Test Signer", now - kDay, 100);
}

vtek::Identity issue(const vtek::CertificateRequest& request, const vtek::Identity* issuer,
                     vtek::KeyPtr key) {
    if (!key) {
        key = std::move(*vtek::makeEcKey());
    }
    auto issued = vtek::issueCertificate(request, std::move(key), issuer);
    if (!issued) {
        throw std::runtime_error(issued.error().message);
    }
    return std::move(*issued);
}

void extend(vtek::Identity& identity, const vtek::Identity* issuer, const std::string& name,
            const std::string& value) {
    X509* const certificate = identity.certificate.get();
    X509_add_ext(certificate, makeExtension({name, value}).get(), -1);
    EVP_PKEY* const key = issuer == nullptr ? identity.key.get() : issuer->key.get();
    if (X509_sign(certificate, key, EVP_sha256()) <= 0) {
        throw std::runtime_error(vtek::cryptoError());
    }
}

vtek::KeyPtr makeRsaKey(unsigned int bits) {
    vtek::startCrypto();
    return vtek::KeyPtr(EVP_RSA_gen(bits));
}

vtek::KeyPtr makeDsaKey() {
    vtek::startCrypto();
    const vtek::KeyContextPtr forParameters(EVP_PKEY_CTX_new_from_name(nullptr, "DSA", nullptr));
    EVP_PKEY_paramgen_init(forParameters.get());
    EVP_PKEY_CTX_set_dsa_paramgen_bits(forParameters.get(), 2048);
    EVP_PKEY_CTX_set_dsa_paramgen_q_bits(forParameters.get(), 256);
    EVP_PKEY* parameters = nullptr;
    EVP_PKEY_paramgen(forParameters.get(), &parameters);
    const vtek::KeyPtr owned(parameters);
    const vtek::KeyContextPtr forKey(EVP_PKEY_CTX_new(parameters, nullptr));
    EVP_PKEY_keygen_init(forKey.get());
    EVP_PKEY* key = nullptr;
    EVP_PKEY_generate(forKey.get(), &key);
    return vtek::KeyPtr(key);
}

std::string makeCms(const std::string& content, const std::vector<const vtek::Identity*>& signers,
                    const CmsForm& form) {
    vtek::startCrypto();
    const unsigned int flags =
        CMS_BINARY | CMS_PARTIAL | form.flags | (form.attached ? 0U : unsigned{CMS_DETACHED});
    const vtek::BioPtr data(BIO_new_mem_buf(content.data(), static_cast<int>(content.size())));
    const vtek::CmsPtr cms(CMS_sign(nullptr, nullptr, nullptr, nullptr, flags));
    CMS_set1_eContentType(cms.get(), OBJ_nid2obj(form.contentType));
    for (const auto* signer : signers) {
        const bool isFirst = signer == signers.front();
        const EVP_MD* digest = isFirst || form.otherDigest == nullptr ? form.digest : form.otherDigest;
        const unsigned int signerFlags = flags | (form.pss ? unsigned{CMS_KEY_PARAM} : 0U);
        CMS_SignerInfo* const info =
            CMS_add1_signer(cms.get(), signer->certificate.get(), signer->key.get(), digest, signerFlags);
        if (info == nullptr || (form.pss && EVP_PKEY_CTX_set_rsa_padding(CMS_SignerInfo_get0_pkey_ctx(info),
                                                                         RSA_PKCS1_PSS_PADDING) != 1)) {
            throw std::runtime_error(vtek::cryptoError());
        }
    }
    for (auto* helper : form.helpers) {
        CMS_add1_cert(cms.get(), helper);
    }
    if (!signers.empty() && CMS_final(cms.get(), data.get(), nullptr, flags) != 1) {
        throw std::runtime_error(vtek::cryptoError());
    }
    std::string der(static_cast<std::size_t>(i2d_CMS_ContentInfo(cms.get(), nullptr)), '\0');
    auto* cursor = reinterpret_cast<unsigned char*>(der.data());
    i2d_CMS_ContentInfo(cms.get(), &cursor);
    return der;
}

std::string makePayload(const std::string& archive, const std::string& cms) {
    return archive + cms + vtek::payloadTrailer(cms.size());
}

std::string makeList(const vtek::Identity& authority, std::time_t from, std::time_t to,
                     const std::vector<const X509*>& revoked) {
    return vtek::toPem(vtek::makeRevocationList(authority, from, to, revoked)->get());
}

std::string makeList(const vtek::Identity& authority, const std::vector<const X509*>& revoked,
                     const std::vector<ExtensionText>& ofList, const std::vector<ExtensionText>& ofEntries) {
    const auto made = vtek::makeRevocationList(authority, kNow - kDay, kNow + kDay, revoked);
    X509_CRL* const list = made->get();
    for (const ExtensionText& text : ofList) {
        X509_CRL_add_ext(list, makeExtension(text).get(), -1);
    }
    STACK_OF(X509_REVOKED)* entries = X509_CRL_get_REVOKED(list);
    for (int i = 0; i < sk_X509_REVOKED_num(entries); ++i) {
        for (const ExtensionText& text : ofEntries) {
            X509_REVOKED_add_ext(sk_X509_REVOKED_value(entries, i), makeExtension(text).get(), -1);
        }
    }
    if (X509_CRL_sign(list, authority.key.get(), EVP_sha256()) <= 0) {
        throw std::runtime_error(vtek::cryptoError());
    }
    return vtek::toPem(list);
}

}  // namespace test
