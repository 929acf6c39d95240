#include "Signing.h"

#include "payload/Payload.h"

#include <openssl/dsa.h>
#include <openssl/rsa.h>

#include <stdexcept>

namespace test {

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
        if (CMS_add1_signer(cms.get(), signer->certificate.get(), signer->key.get(), digest, flags) ==
            nullptr) {
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

}  // namespace test
