#include "CmsVerdict.h"

#include "trust/Crypto.h"

namespace test {

bool cmsVerifies(std::string_view der, std::string_view content) {
    const auto* cursor = reinterpret_cast<const unsigned char*>(der.data());
    const vtek::CmsPtr cms(d2i_CMS_ContentInfo(nullptr, &cursor, static_cast<long>(der.size())));
    auto bytes =
        vtek::required(vtek::BioPtr(BIO_new_mem_buf(content.data(), static_cast<int>(content.size()))));
    // CMS_verify copies plain memory, and leaks the copy if it cannot begin.
    const auto reader = vtek::required(vtek::BioPtr(BIO_new(BIO_f_buffer())));
    BIO_push(reader.get(), bytes.release());
    constexpr unsigned int kFlags = CMS_BINARY | CMS_NO_SIGNER_CERT_VERIFY;
    const bool verifies = cms && CMS_verify(cms.get(), nullptr, nullptr, reader.get(), nullptr, kFlags) == 1;
    vtek::cryptoError();
    return verifies;
}

}  // namespace test
