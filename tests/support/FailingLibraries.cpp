// The functions of other libraries: databases, signatures, archives, XML.
#include "FailingCalls.h"

#include <archive.h>
#include <archive_entry.h>
#include <libxml/xmlreader.h>
#include <libxml/xpath.h>
#include <openssl/cms.h>
#include <openssl/pem.h>
#include <openssl/rand.h>
#include <openssl/x509v3.h>
#include <sqlite3.h>

using test::Calls;
using test::passed;

extern "C" {

// The database

int sqlite3_prepare_v2(sqlite3* connection, const char* sql, int size, sqlite3_stmt** statement,
                       const char** tail) {
    return passed<decltype(sqlite3_prepare_v2)>(__builtin_return_address(0), Calls::Database,
                                                "sqlite3_prepare_v2", SQLITE_NOMEM, connection, sql, size,
                                                statement, tail);
}

int sqlite3_bind_text64(sqlite3_stmt* statement, int position, const char* text, sqlite3_uint64 size,
                        void (*release)(void*), unsigned char encoding) {
    return passed<decltype(sqlite3_bind_text64)>(__builtin_return_address(0), Calls::Database,
                                                 "sqlite3_bind_text64", SQLITE_NOMEM, statement, position,
                                                 text, size, release, encoding);
}

const unsigned char* sqlite3_column_text(sqlite3_stmt* statement, int column) {
    return passed<decltype(sqlite3_column_text)>(__builtin_return_address(0), Calls::Database,
                                                 "sqlite3_column_text", nullptr, statement, column);
}

int sqlite3_step(sqlite3_stmt* statement) {
    return passed<decltype(sqlite3_step)>(__builtin_return_address(0), Calls::Database, "sqlite3_step",
                                          SQLITE_NOMEM, statement);
}

int sqlite3_exec(sqlite3* connection, const char* sql, int (*row)(void*, int, char**, char**), void* context,
                 char** message) {
    return passed<decltype(sqlite3_exec)>(__builtin_return_address(0), Calls::Database, "sqlite3_exec",
                                          SQLITE_NOMEM, connection, sql, row, context, message);
}

// Keys, certificates and signatures

int EVP_DigestInit_ex(EVP_MD_CTX* context, const EVP_MD* kind, ENGINE* engine) {
    return passed<decltype(EVP_DigestInit_ex)>(__builtin_return_address(0), Calls::Crypto,
                                               "EVP_DigestInit_ex", 0, context, kind, engine);
}

int EVP_DigestUpdate(EVP_MD_CTX* context, const void* data, size_t size) {
    return passed<decltype(EVP_DigestUpdate)>(__builtin_return_address(0), Calls::Crypto, "EVP_DigestUpdate",
                                              0, context, data, size);
}

int EVP_DigestFinal_ex(EVP_MD_CTX* context, unsigned char* digest, unsigned int* size) {
    return passed<decltype(EVP_DigestFinal_ex)>(__builtin_return_address(0), Calls::Crypto,
                                                "EVP_DigestFinal_ex", 0, context, digest, size);
}

int EVP_MAC_update(EVP_MAC_CTX* context, const unsigned char* data, size_t size) {
    return passed<decltype(EVP_MAC_update)>(__builtin_return_address(0), Calls::Crypto, "EVP_MAC_update", 0,
                                            context, data, size);
}

int EVP_MAC_final(EVP_MAC_CTX* context, unsigned char* code, size_t* size, size_t room) {
    return passed<decltype(EVP_MAC_final)>(__builtin_return_address(0), Calls::Crypto, "EVP_MAC_final", 0,
                                           context, code, size, room);
}

/** A P-256 key, whatever is asked for: it takes no time to find, as an RSA key does. */
EVP_PKEY* EVP_PKEY_Q_keygen(OSSL_LIB_CTX* context, const char* properties, const char*, ...) {
    return passed<decltype(EVP_PKEY_Q_keygen)>(__builtin_return_address(0), Calls::Crypto,
                                               "EVP_PKEY_Q_keygen", nullptr, context, properties, "EC",
                                               "P-256");
}

int RAND_bytes(unsigned char* bytes, int size) {
    return passed<decltype(RAND_bytes)>(__builtin_return_address(0), Calls::Crypto, "RAND_bytes", 0, bytes,
                                        size);
}

int ASN1_STRING_set(ASN1_STRING* text, const void* data, int size) {
    return passed<decltype(ASN1_STRING_set)>(__builtin_return_address(0), Calls::Crypto, "ASN1_STRING_set", 0,
                                             text, data, size);
}

int ASN1_STRING_to_UTF8(unsigned char** out, const ASN1_STRING* text) {
    return passed<decltype(ASN1_STRING_to_UTF8)>(__builtin_return_address(0), Calls::Crypto,
                                                 "ASN1_STRING_to_UTF8", -1, out, text);
}

ASN1_TIME* ASN1_TIME_set(ASN1_TIME* time, time_t seconds) {
    return passed<decltype(ASN1_TIME_set)>(__builtin_return_address(0), Calls::Crypto, "ASN1_TIME_set",
                                           nullptr, time, seconds);
}

int X509_set_version(X509* certificate, long version) {
    return passed<decltype(X509_set_version)>(__builtin_return_address(0), Calls::Crypto, "X509_set_version",
                                              0, certificate, version);
}

int X509_set_pubkey(X509* certificate, EVP_PKEY* key) {
    return passed<decltype(X509_set_pubkey)>(__builtin_return_address(0), Calls::Crypto, "X509_set_pubkey", 0,
                                             certificate, key);
}

int X509_set_issuer_name(X509* certificate, const X509_NAME* name) {
    return passed<decltype(X509_set_issuer_name)>(__builtin_return_address(0), Calls::Crypto,
                                                  "X509_set_issuer_name", 0, certificate, name);
}

int X509_CRL_set_version(X509_CRL* list, long version) {
    return passed<decltype(X509_CRL_set_version)>(__builtin_return_address(0), Calls::Crypto,
                                                  "X509_CRL_set_version", 0, list, version);
}

int X509_CRL_set_issuer_name(X509_CRL* list, const X509_NAME* name) {
    return passed<decltype(X509_CRL_set_issuer_name)>(__builtin_return_address(0), Calls::Crypto,
                                                      "X509_CRL_set_issuer_name", 0, list, name);
}

int X509_CRL_set1_lastUpdate(X509_CRL* list, const ASN1_TIME* time) {
    return passed<decltype(X509_CRL_set1_lastUpdate)>(__builtin_return_address(0), Calls::Crypto,
                                                      "X509_CRL_set1_lastUpdate", 0, list, time);
}

int X509_CRL_set1_nextUpdate(X509_CRL* list, const ASN1_TIME* time) {
    return passed<decltype(X509_CRL_set1_nextUpdate)>(__builtin_return_address(0), Calls::Crypto,
                                                      "X509_CRL_set1_nextUpdate", 0, list, time);
}

int X509_CRL_add0_revoked(X509_CRL* list, X509_REVOKED* entry) {
    return passed<decltype(X509_CRL_add0_revoked)>(__builtin_return_address(0), Calls::Crypto,
                                                   "X509_CRL_add0_revoked", 0, list, entry);
}

int X509_REVOKED_set_serialNumber(X509_REVOKED* entry, ASN1_INTEGER* number) {
    return passed<decltype(X509_REVOKED_set_serialNumber)>(__builtin_return_address(0), Calls::Crypto,
                                                           "X509_REVOKED_set_serialNumber", 0, entry, number);
}

int X509_REVOKED_set_revocationDate(X509_REVOKED* entry, ASN1_TIME* time) {
    return passed<decltype(X509_REVOKED_set_revocationDate)>(
        __builtin_return_address(0), Calls::Crypto, "X509_REVOKED_set_revocationDate", 0, entry, time);
}

int PEM_write_bio_X509(BIO* out, const X509* certificate) {
    return passed<decltype(PEM_write_bio_X509)>(__builtin_return_address(0), Calls::Crypto,
                                                "PEM_write_bio_X509", 0, out, certificate);
}

int PEM_write_bio_X509_CRL(BIO* out, const X509_CRL* list) {
    return passed<decltype(PEM_write_bio_X509_CRL)>(__builtin_return_address(0), Calls::Crypto,
                                                    "PEM_write_bio_X509_CRL", 0, out, list);
}

int PEM_write_bio_PKCS8PrivateKey(BIO* out, const EVP_PKEY* key, const EVP_CIPHER* cipher, const char* phrase,
                                  int size, pem_password_cb* ask, void* context) {
    return passed<decltype(PEM_write_bio_PKCS8PrivateKey)>(__builtin_return_address(0), Calls::Crypto,
                                                           "PEM_write_bio_PKCS8PrivateKey", 0, out, key,
                                                           cipher, phrase, size, ask, context);
}

X509_EXTENSION* X509V3_EXT_conf_nid(lhash_st_CONF_VALUE* configuration, X509V3_CTX* context, int nid,
                                    const char* value) {
    return passed<decltype(X509V3_EXT_conf_nid)>(__builtin_return_address(0), Calls::Crypto,
                                                 "X509V3_EXT_conf_nid", nullptr, configuration, context, nid,
                                                 value);
}

int X509_add_ext(X509* certificate, X509_EXTENSION* extension, int place) {
    return passed<decltype(X509_add_ext)>(__builtin_return_address(0), Calls::Crypto, "X509_add_ext", 0,
                                          certificate, extension, place);
}

int X509_sign(X509* certificate, EVP_PKEY* key, const EVP_MD* digest) {
    return passed<decltype(X509_sign)>(__builtin_return_address(0), Calls::Crypto, "X509_sign", 0,
                                       certificate, key, digest);
}

int X509_CRL_sign(X509_CRL* list, EVP_PKEY* key, const EVP_MD* digest) {
    return passed<decltype(X509_CRL_sign)>(__builtin_return_address(0), Calls::Crypto, "X509_CRL_sign", 0,
                                           list, key, digest);
}

X509* d2i_X509(X509** certificate, const unsigned char** bytes, long size) {
    return passed<decltype(d2i_X509)>(__builtin_return_address(0), Calls::Crypto, "d2i_X509", nullptr,
                                      certificate, bytes, size);
}

X509_CRL* d2i_X509_CRL(X509_CRL** list, const unsigned char** bytes, long size) {
    return passed<decltype(d2i_X509_CRL)>(__builtin_return_address(0), Calls::Crypto, "d2i_X509_CRL", nullptr,
                                          list, bytes, size);
}

int X509_STORE_add_cert(X509_STORE* store, X509* certificate) {
    return passed<decltype(X509_STORE_add_cert)>(__builtin_return_address(0), Calls::Crypto,
                                                 "X509_STORE_add_cert", 0, store, certificate);
}

int X509_STORE_add_crl(X509_STORE* store, X509_CRL* list) {
    return passed<decltype(X509_STORE_add_crl)>(__builtin_return_address(0), Calls::Crypto,
                                                "X509_STORE_add_crl", 0, store, list);
}

X509_STORE_CTX* X509_STORE_CTX_new() {
    return passed<decltype(X509_STORE_CTX_new)>(__builtin_return_address(0), Calls::Crypto,
                                                "X509_STORE_CTX_new", nullptr);
}

int X509_STORE_CTX_init(X509_STORE_CTX* context, X509_STORE* store, X509* certificate,
                        STACK_OF(X509) * helpers) {
    return passed<decltype(X509_STORE_CTX_init)>(__builtin_return_address(0), Calls::Crypto,
                                                 "X509_STORE_CTX_init", 0, context, store, certificate,
                                                 helpers);
}

int X509_verify_cert(X509_STORE_CTX* context) {
    return passed<decltype(X509_verify_cert)>(__builtin_return_address(0), Calls::Crypto, "X509_verify_cert",
                                              -1, context);
}

BIO* BIO_new(const BIO_METHOD* method) {
    return passed<decltype(BIO_new)>(__builtin_return_address(0), Calls::Crypto, "BIO_new", nullptr, method);
}

BIO* BIO_new_file(const char* path, const char* mode) {
    return passed<decltype(BIO_new_file)>(__builtin_return_address(0), Calls::Crypto, "BIO_new_file", nullptr,
                                          path, mode);
}

CMS_ContentInfo* CMS_sign(X509* certificate, EVP_PKEY* key, STACK_OF(X509) * helpers, BIO* data,
                          unsigned int flags) {
    return passed<decltype(CMS_sign)>(__builtin_return_address(0), Calls::Crypto, "CMS_sign", nullptr,
                                      certificate, key, helpers, data, flags);
}

CMS_SignerInfo* CMS_add1_signer(CMS_ContentInfo* cms, X509* certificate, EVP_PKEY* key, const EVP_MD* digest,
                                unsigned int flags) {
    return passed<decltype(CMS_add1_signer)>(__builtin_return_address(0), Calls::Crypto, "CMS_add1_signer",
                                             nullptr, cms, certificate, key, digest, flags);
}

int CMS_add1_cert(CMS_ContentInfo* cms, X509* certificate) {
    return passed<decltype(CMS_add1_cert)>(__builtin_return_address(0), Calls::Crypto, "CMS_add1_cert", 0,
                                           cms, certificate);
}

int CMS_signed_add1_attr_by_NID(CMS_SignerInfo* signer, int nid, int type, const void* data, int size) {
    return passed<decltype(CMS_signed_add1_attr_by_NID)>(__builtin_return_address(0), Calls::Crypto,
                                                         "CMS_signed_add1_attr_by_NID", 0, signer, nid, type,
                                                         data, size);
}

int CMS_final(CMS_ContentInfo* cms, BIO* data, BIO* content, unsigned int flags) {
    return passed<decltype(CMS_final)>(__builtin_return_address(0), Calls::Crypto, "CMS_final", 0, cms, data,
                                       content, flags);
}

int CMS_verify(CMS_ContentInfo* cms, STACK_OF(X509) * certificates, X509_STORE* store, BIO* content, BIO* out,
               unsigned int flags) {
    return passed<decltype(CMS_verify)>(__builtin_return_address(0), Calls::Crypto, "CMS_verify", 0, cms,
                                        certificates, store, content, out, flags);
}

// Archives

archive* archive_read_new() {
    return passed<decltype(archive_read_new)>(__builtin_return_address(0), Calls::Archive, "archive_read_new",
                                              nullptr);
}

int archive_read_next_header(archive* reader, archive_entry** entry) {
    return passed<decltype(archive_read_next_header)>(__builtin_return_address(0), Calls::Archive,
                                                      "archive_read_next_header", ARCHIVE_FATAL, reader,
                                                      entry);
}

la_ssize_t archive_read_data(archive* reader, void* buffer, size_t size) {
    return passed<decltype(archive_read_data)>(__builtin_return_address(0), Calls::Archive,
                                               "archive_read_data", ARCHIVE_FATAL, reader, buffer, size);
}

int archive_write_header(archive* writer, archive_entry* entry) {
    return passed<decltype(archive_write_header)>(__builtin_return_address(0), Calls::Archive,
                                                  "archive_write_header", ARCHIVE_FATAL, writer, entry);
}

la_ssize_t archive_write_data(archive* writer, const void* data, size_t size) {
    return passed<decltype(archive_write_data)>(__builtin_return_address(0), Calls::Archive,
                                                "archive_write_data", ARCHIVE_FATAL, writer, data, size);
}

int archive_write_close(archive* writer) {
    return passed<decltype(archive_write_close)>(__builtin_return_address(0), Calls::Archive,
                                                 "archive_write_close", ARCHIVE_FATAL, writer);
}

// XML

xmlDocPtr xmlReadMemory(const char* text, int size, const char* url, const char* encoding, int options) {
    return passed<decltype(xmlReadMemory)>(__builtin_return_address(0), Calls::Xml, "xmlReadMemory", nullptr,
                                           text, size, url, encoding, options);
}

xmlTextReaderPtr xmlReaderForIO(xmlInputReadCallback read, xmlInputCloseCallback close, void* context,
                                const char* url, const char* encoding, int options) {
    return passed<decltype(xmlReaderForIO)>(__builtin_return_address(0), Calls::Xml, "xmlReaderForIO",
                                            nullptr, read, close, context, url, encoding, options);
}

int xmlTextReaderRead(xmlTextReaderPtr reader) {
    return passed<decltype(xmlTextReaderRead)>(__builtin_return_address(0), Calls::Xml, "xmlTextReaderRead",
                                               -1, reader);
}

xmlXPathObjectPtr xmlXPathEvalExpression(const xmlChar* expression, xmlXPathContextPtr context) {
    return passed<decltype(xmlXPathEvalExpression)>(__builtin_return_address(0), Calls::Xml,
                                                    "xmlXPathEvalExpression", nullptr, expression, context);
}

}  // extern "C"
