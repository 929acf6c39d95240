// Functions of other libraries. The tests use an unreadable, damaged or full file instead where that proves
// as much.
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

extern "C" {

// The database

int sqlite3_prepare_v2(sqlite3* connection, const char* sql, int size, sqlite3_stmt** statement,
                       const char** tail) {
    FAIL_OR_CALL(sqlite3_prepare_v2, Database, SQLITE_NOMEM, connection, sql, size, statement, tail);
}

int sqlite3_bind_text64(sqlite3_stmt* statement, int position, const char* text, sqlite3_uint64 size,
                        void (*release)(void*), unsigned char encoding) {
    FAIL_OR_CALL(sqlite3_bind_text64, Database, SQLITE_NOMEM, statement, position, text, size, release,
                 encoding);
}

const unsigned char* sqlite3_column_text(sqlite3_stmt* statement, int column) {
    FAIL_OR_CALL(sqlite3_column_text, Database, nullptr, statement, column);
}

int sqlite3_step(sqlite3_stmt* statement) {
    FAIL_OR_CALL(sqlite3_step, Database, SQLITE_NOMEM, statement);
}

int sqlite3_exec(sqlite3* connection, const char* sql, int (*row)(void*, int, char**, char**), void* context,
                 char** message) {
    FAIL_OR_CALL(sqlite3_exec, Database, SQLITE_NOMEM, connection, sql, row, context, message);
}

// Keys, certificates and signatures

int EVP_DigestInit_ex(EVP_MD_CTX* context, const EVP_MD* kind, ENGINE* engine) {
    FAIL_OR_CALL(EVP_DigestInit_ex, Crypto, 0, context, kind, engine);
}

int EVP_DigestUpdate(EVP_MD_CTX* context, const void* data, size_t size) {
    FAIL_OR_CALL(EVP_DigestUpdate, Crypto, 0, context, data, size);
}

int EVP_DigestFinal_ex(EVP_MD_CTX* context, unsigned char* digest, unsigned int* size) {
    FAIL_OR_CALL(EVP_DigestFinal_ex, Crypto, 0, context, digest, size);
}

/** A P-256 key, whatever is asked for: it takes no time to find, as an RSA key does. */
EVP_PKEY* EVP_PKEY_Q_keygen(OSSL_LIB_CTX* context, const char* properties, const char*, ...) {
    FAIL_OR_CALL(EVP_PKEY_Q_keygen, Crypto, nullptr, context, properties, "EC", "P-256");
}

int RAND_bytes(unsigned char* bytes, int size) {
    FAIL_OR_CALL(RAND_bytes, Crypto, 0, bytes, size);
}

int ASN1_STRING_set(ASN1_STRING* text, const void* data, int size) {
    FAIL_OR_CALL(ASN1_STRING_set, Crypto, 0, text, data, size);
}

int ASN1_STRING_to_UTF8(unsigned char** out, const ASN1_STRING* text) {
    FAIL_OR_CALL(ASN1_STRING_to_UTF8, Crypto, -1, out, text);
}

ASN1_TIME* ASN1_TIME_set(ASN1_TIME* time, time_t seconds) {
    FAIL_OR_CALL(ASN1_TIME_set, Crypto, nullptr, time, seconds);
}

int X509_set_version(X509* certificate, long version) {
    FAIL_OR_CALL(X509_set_version, Crypto, 0, certificate, version);
}

int X509_set_pubkey(X509* certificate, EVP_PKEY* key) {
    FAIL_OR_CALL(X509_set_pubkey, Crypto, 0, certificate, key);
}

int X509_set_issuer_name(X509* certificate, const X509_NAME* name) {
    FAIL_OR_CALL(X509_set_issuer_name, Crypto, 0, certificate, name);
}

int X509_CRL_set_version(X509_CRL* list, long version) {
    FAIL_OR_CALL(X509_CRL_set_version, Crypto, 0, list, version);
}

int X509_CRL_set_issuer_name(X509_CRL* list, const X509_NAME* name) {
    FAIL_OR_CALL(X509_CRL_set_issuer_name, Crypto, 0, list, name);
}

int X509_CRL_set1_lastUpdate(X509_CRL* list, const ASN1_TIME* time) {
    FAIL_OR_CALL(X509_CRL_set1_lastUpdate, Crypto, 0, list, time);
}

int X509_CRL_set1_nextUpdate(X509_CRL* list, const ASN1_TIME* time) {
    FAIL_OR_CALL(X509_CRL_set1_nextUpdate, Crypto, 0, list, time);
}

int X509_CRL_add0_revoked(X509_CRL* list, X509_REVOKED* entry) {
    FAIL_OR_CALL(X509_CRL_add0_revoked, Crypto, 0, list, entry);
}

int X509_REVOKED_set_serialNumber(X509_REVOKED* entry, ASN1_INTEGER* number) {
    FAIL_OR_CALL(X509_REVOKED_set_serialNumber, Crypto, 0, entry, number);
}

int X509_REVOKED_set_revocationDate(X509_REVOKED* entry, ASN1_TIME* time) {
    FAIL_OR_CALL(X509_REVOKED_set_revocationDate, Crypto, 0, entry, time);
}

int PEM_write_bio_X509(BIO* out, const X509* certificate) {
    FAIL_OR_CALL(PEM_write_bio_X509, Crypto, 0, out, certificate);
}

int PEM_write_bio_X509_CRL(BIO* out, const X509_CRL* list) {
    FAIL_OR_CALL(PEM_write_bio_X509_CRL, Crypto, 0, out, list);
}

int PEM_write_bio_PKCS8PrivateKey(BIO* out, const EVP_PKEY* key, const EVP_CIPHER* cipher, const char* phrase,
                                  int size, pem_password_cb* ask, void* context) {
    FAIL_OR_CALL(PEM_write_bio_PKCS8PrivateKey, Crypto, 0, out, key, cipher, phrase, size, ask, context);
}

X509_EXTENSION* X509V3_EXT_conf_nid(lhash_st_CONF_VALUE* configuration, X509V3_CTX* context, int nid,
                                    const char* value) {
    FAIL_OR_CALL(X509V3_EXT_conf_nid, Crypto, nullptr, configuration, context, nid, value);
}

int X509_add_ext(X509* certificate, X509_EXTENSION* extension, int place) {
    FAIL_OR_CALL(X509_add_ext, Crypto, 0, certificate, extension, place);
}

int X509_sign(X509* certificate, EVP_PKEY* key, const EVP_MD* digest) {
    FAIL_OR_CALL(X509_sign, Crypto, 0, certificate, key, digest);
}

int X509_CRL_sign(X509_CRL* list, EVP_PKEY* key, const EVP_MD* digest) {
    FAIL_OR_CALL(X509_CRL_sign, Crypto, 0, list, key, digest);
}

X509* d2i_X509(X509** certificate, const unsigned char** bytes, long size) {
    FAIL_OR_CALL(d2i_X509, Crypto, nullptr, certificate, bytes, size);
}

X509_CRL* d2i_X509_CRL(X509_CRL** list, const unsigned char** bytes, long size) {
    FAIL_OR_CALL(d2i_X509_CRL, Crypto, nullptr, list, bytes, size);
}

int X509_STORE_add_cert(X509_STORE* store, X509* certificate) {
    FAIL_OR_CALL(X509_STORE_add_cert, Crypto, 0, store, certificate);
}

int X509_STORE_add_crl(X509_STORE* store, X509_CRL* list) {
    FAIL_OR_CALL(X509_STORE_add_crl, Crypto, 0, store, list);
}

X509_STORE_CTX* X509_STORE_CTX_new() {
    FAIL_OR_CALL(X509_STORE_CTX_new, Crypto, nullptr);
}

int X509_STORE_CTX_init(X509_STORE_CTX* context, X509_STORE* store, X509* certificate,
                        STACK_OF(X509) * helpers) {
    FAIL_OR_CALL(X509_STORE_CTX_init, Crypto, 0, context, store, certificate, helpers);
}

int X509_verify_cert(X509_STORE_CTX* context) {
    FAIL_OR_CALL(X509_verify_cert, Crypto, -1, context);
}

BIO* BIO_new(const BIO_METHOD* method) {
    FAIL_OR_CALL(BIO_new, Crypto, nullptr, method);
}

CMS_ContentInfo* CMS_sign(X509* certificate, EVP_PKEY* key, STACK_OF(X509) * helpers, BIO* data,
                          unsigned int flags) {
    FAIL_OR_CALL(CMS_sign, Crypto, nullptr, certificate, key, helpers, data, flags);
}

CMS_SignerInfo* CMS_add1_signer(CMS_ContentInfo* cms, X509* certificate, EVP_PKEY* key, const EVP_MD* digest,
                                unsigned int flags) {
    FAIL_OR_CALL(CMS_add1_signer, Crypto, nullptr, cms, certificate, key, digest, flags);
}

int CMS_add1_cert(CMS_ContentInfo* cms, X509* certificate) {
    FAIL_OR_CALL(CMS_add1_cert, Crypto, 0, cms, certificate);
}

int CMS_signed_add1_attr_by_NID(CMS_SignerInfo* signer, int nid, int type, const void* data, int size) {
    FAIL_OR_CALL(CMS_signed_add1_attr_by_NID, Crypto, 0, signer, nid, type, data, size);
}

int CMS_final(CMS_ContentInfo* cms, BIO* data, BIO* content, unsigned int flags) {
    FAIL_OR_CALL(CMS_final, Crypto, 0, cms, data, content, flags);
}

// Archives

archive* archive_read_new() {
    FAIL_OR_CALL(archive_read_new, Archive, nullptr);
}

int archive_read_next_header(archive* reader, archive_entry** entry) {
    FAIL_OR_CALL(archive_read_next_header, Archive, ARCHIVE_FATAL, reader, entry);
}

la_ssize_t archive_read_data(archive* reader, void* buffer, size_t size) {
    FAIL_OR_CALL(archive_read_data, Archive, ARCHIVE_FATAL, reader, buffer, size);
}

int archive_write_header(archive* writer, archive_entry* entry) {
    FAIL_OR_CALL(archive_write_header, Archive, ARCHIVE_FATAL, writer, entry);
}

la_ssize_t archive_write_data(archive* writer, const void* data, size_t size) {
    FAIL_OR_CALL(archive_write_data, Archive, ARCHIVE_FATAL, writer, data, size);
}

// XML

xmlTextReaderPtr xmlReaderForIO(xmlInputReadCallback read, xmlInputCloseCallback close, void* context,
                                const char* url, const char* encoding, int options) {
    FAIL_OR_CALL(xmlReaderForIO, Xml, nullptr, read, close, context, url, encoding, options);
}

xmlXPathObjectPtr xmlXPathEvalExpression(const xmlChar* expression, xmlXPathContextPtr context) {
    FAIL_OR_CALL(xmlXPathEvalExpression, Xml, nullptr, expression, context);
}

}  // extern "C"
