#include "trust/TrustStore.h"

#include "trust/RevocationList.h"

#include <openssl/err.h>
#include <openssl/pemerr.h>

#include <cstring>
#include <utility>

namespace vtek {

namespace {

constexpr std::size_t kMaxFile = 1024 * 1024;  // bytes: room for a list with thousands of revocations

Error unusable(const std::string& name, const std::string& reason) {
    return {ErrorNumber::TrustUnusable, "trust/" + name + ": " + reason};
}

/** One PEM block: its label, such as CERTIFICATE, and its decoded bytes. */
struct PemBlock {
    std::string label;
    std::vector<unsigned char> bytes;
};

/** Reads the next block of a text; at the end of the text, a block with an empty label. */
Result<PemBlock> nextBlock(BIO* text, const std::string& name) {
    char* label = nullptr;
    char* header = nullptr;
    unsigned char* bytes = nullptr;
    long size = 0;
    ERR_clear_error();
    if (PEM_read_bio(text, &label, &header, &bytes, &size) != 1) {
        // At the end of the text, OpenSSL misses the first line of a block.
        const bool atEnd = ERR_GET_REASON(ERR_peek_last_error()) == PEM_R_NO_START_LINE;
        ERR_clear_error();
        return atEnd ? Result<PemBlock>(PemBlock{}) : unusable(name, "malformed PEM");
    }
    PemBlock block{label, std::vector<unsigned char>(bytes, bytes + size)};
    OPENSSL_free(label);
    OPENSSL_free(header);
    OPENSSL_free(bytes);
    return block;
}

Status addBlock(TrustFile& file, const PemBlock& block) {
    const unsigned char* cursor = block.bytes.data();
    const long size = static_cast<long>(block.bytes.size());
    if (block.label == PEM_STRING_X509) {
        file.certificates.emplace_back(d2i_X509(nullptr, &cursor, size));
    } else if (block.label == PEM_STRING_X509_CRL) {
        file.revocationLists.emplace_back(d2i_X509_CRL(nullptr, &cursor, size));
    }
    // Neither moved by an unknown label, such as that of a private key, nor moved to the end by bad bytes.
    if (cursor != block.bytes.data() + size) {
        return unusable(file.name, "not a certificate or revocation list: " + cryptoError());
    }
    if (block.label == PEM_STRING_X509_CRL) {
        if (const auto why = whyUnusable(file.revocationLists.back().get())) {
            return unusable(file.name, "the revocation list " + *why);
        }
    }
    return {};
}

Result<TrustFile> readTrustFile(const Root& root, int folder, const std::string& name) {
    VTEK_ASSIGN(const RegularFile file,
                openRegularFile(folder, name, Links::Refused, "trust/" + name, ErrorNumber::TrustUnusable));
    VTEK_TRY(checkOwner(file.info, root.caller(), "trust/" + name, ErrorNumber::TrustUnusable));
    std::string pem;
    if (!readWhole(file.fd.get(), kMaxFile, pem)) {
        return systemError(ErrorNumber::TrustUnusable, "read trust/" + name);
    }
    return parseTrustFile(name, pem);
}

/** Adds everything or fails: without one of its revocation lists the store would accept revoked signers. */
Status addFile(TrustStore& trust, const TrustFile& file) {
    for (const auto& certificate : file.certificates) {
        if (X509_STORE_add_cert(trust.store.get(), certificate.get()) != 1) {
            return unusable(file.name, cryptoError());
        }
        ++trust.authorities;
    }
    for (const auto& list : file.revocationLists) {
        if (X509_STORE_add_crl(trust.store.get(), list.get()) != 1) {
            return unusable(file.name, cryptoError());
        }
        ++trust.revocationLists;
    }
    return {};
}

}  // namespace

Result<TrustFile> parseTrustFile(const std::string& name, const std::string& pem) {
    startCrypto();
    const auto text = required(BioPtr(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size()))));
    TrustFile file{name, {}, {}};
    for (;;) {
        VTEK_ASSIGN(const PemBlock block, nextBlock(text.get(), name));
        if (block.label.empty()) {
            break;
        }
        VTEK_TRY(addBlock(file, block));
    }
    if (file.certificates.empty() && file.revocationLists.empty()) {
        return unusable(name, "it contains neither a certificate nor a revocation list");
    }
    return file;
}

Result<std::vector<TrustFile>> readTrustFiles(const Root& root) {
    VTEK_ASSIGN(const UniqueFd folder, root.openFolder(kTrustFolder, ErrorNumber::TrustUnusable));
    std::vector<std::string> names;
    if (!listFolder(folder.get(), names)) {
        return systemError(ErrorNumber::TrustUnusable, "list the trust store");
    }
    std::vector<TrustFile> files;
    for (const auto& name : names) {
        VTEK_ASSIGN(TrustFile file, readTrustFile(root, folder.get(), name));
        files.push_back(std::move(file));
    }
    return files;
}

Result<TrustStore> loadTrustStore(const Root& root) {
    VTEK_ASSIGN(const auto files, readTrustFiles(root));
    TrustStore trust{required(X509StorePtr(X509_STORE_new()))};  // empty: OpenSSL's default paths are not set
    for (const auto& file : files) {
        VTEK_TRY(addFile(trust, file));
    }
    if (trust.authorities == 0) {
        return Error{ErrorNumber::TrustUnusable, "the trust store contains no certificate"};
    }
    return trust;
}

}  // namespace vtek
