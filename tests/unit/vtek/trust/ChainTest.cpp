#include "SignedUpdate.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using test::CmsForm;
using test::expectSigner;
using test::extend;
using test::kDay;
using test::kNow;
using test::Lab;
using vtek::ErrorNumber;
using vtek::Identity;

const std::string kPolicy = "1.2.3.4";
const std::string kOtherPolicy = "1.2.3.5";
const std::string kAnyPolicy = "2.5.29.32.0";

Identity makeMiddle(const Identity& issuer, const std::string& extendedKeyUsage = "",
                    const std::string& name = "Middle") {
    auto request = vtek::authorityRequest(name, kNow - kDay, 100);
    request.extendedKeyUsage = extendedKeyUsage;
    return test::issue(request, &issuer);
}

/** Expects the outcome for a signer below an intermediate authority, which comes with the signature. */
void expectBelow(const Lab& lab, const Identity& middle, ErrorNumber number) {
    expectSigner(lab, test::issue(test::goodSigner(), &middle), number,
                 {.helpers = {middle.certificate.get()}});
}

using Change = std::function<void(Identity& changed, const Identity* issuer)>;

/** Expects a signer to be refused when the authority between it and the trusted one has been changed. The
 * signer has its certificate before. */
void expectRefusedBelow(Lab& lab, const Change& change) {
    Identity middle = makeMiddle(lab.authority());
    const Identity signer = test::issue(test::goodSigner(), &middle);
    change(middle, &lab.authority());
    expectSigner(lab, signer, ErrorNumber::SignerUntrusted, {.helpers = {middle.certificate.get()}});
}

/** Expects a refusal when a signer, an intermediate or a trusted authority has been changed; the last has no
 * issuer. */
void expectRefusedAnywhere(const Change& change) {
    Lab lab;
    Identity signer = test::issue(test::goodSigner(), &lab.authority());
    change(signer, &lab.authority());
    expectSigner(lab, signer, ErrorNumber::SignerUntrusted);

    expectRefusedBelow(lab, change);

    Identity authority = test::makeAuthority("Other Authority");
    const Identity below = test::issue(test::goodSigner(), &authority);
    change(authority, nullptr);
    lab.trust("other.pem", vtek::toPem(authority.certificate.get()));
    expectSigner(lab, below, ErrorNumber::SignerUntrusted);
}

TEST(Chain, RejectsIntermediateForOtherPurposes) {
    Lab lab;
    for (const std::string usage :
         {"serverAuth", "critical,serverAuth,clientAuth", "emailProtection", "timeStamping"}) {
        SCOPED_TRACE(usage);
        expectBelow(lab, makeMiddle(lab.authority(), usage), ErrorNumber::SignerPurpose);
    }
}

TEST(Chain, AcceptsIntermediateForCodeSigning) {
    Lab lab;
    for (const std::string usage :
         {"", "codeSigning", "critical,serverAuth,codeSigning", "anyExtendedKeyUsage"}) {
        SCOPED_TRACE(usage);
        expectBelow(lab, makeMiddle(lab.authority(), usage), ErrorNumber::None);
    }
}

TEST(Chain, RejectsOtherPurposeAnywhereInChain) {
    Lab lab;
    const Identity upper = makeMiddle(lab.authority(), "serverAuth", "Upper");
    const Identity lower = makeMiddle(upper, "codeSigning", "Lower");
    expectSigner(lab, test::issue(test::goodSigner(), &lower), ErrorNumber::SignerPurpose,
                 {.helpers = {upper.certificate.get(), lower.certificate.get()}});
}

TEST(Chain, RejectsTrustedAuthorityForOtherPurposes) {
    const Lab lab;
    auto request = vtek::authorityRequest("TLS Authority", kNow - kDay, 100);
    request.extendedKeyUsage = "serverAuth";
    const Identity authority = test::issue(request, nullptr);
    lab.trust("tls.pem", vtek::toPem(authority.certificate.get()));
    expectSigner(lab, test::issue(test::goodSigner(), &authority), ErrorNumber::SignerPurpose);
}

/** A chain whose intermediate authority demands explicit policies. */
struct PolicyChain {
    std::vector<std::string> ofMiddle;  ///< lines "name=value"
    std::string ofSigner;               ///< its certificate policy
    ErrorNumber outcome;
};

TEST(Chain, ObeysPolicies) {
    Lab lab;
    const std::string demand = "policyConstraints=critical,requireExplicitPolicy:0";
    const std::string mapping = "policyMappings=critical," + kPolicy + ":" + kOtherPolicy;
    const PolicyChain chains[] = {
        {{}, "", ErrorNumber::None},
        {{demand}, "", ErrorNumber::SignerUntrusted},
        {{demand, "certificatePolicies=" + kPolicy}, "", ErrorNumber::SignerUntrusted},
        {{demand, "certificatePolicies=" + kPolicy}, kOtherPolicy, ErrorNumber::SignerUntrusted},
        {{demand, "certificatePolicies=" + kPolicy}, kPolicy, ErrorNumber::None},
        {{demand, "certificatePolicies=" + kPolicy}, kAnyPolicy, ErrorNumber::None},
        {{demand, "certificatePolicies=" + kPolicy, "inhibitAnyPolicy=critical,0"},
         kAnyPolicy,
         ErrorNumber::SignerUntrusted},
        {{demand, "certificatePolicies=" + kPolicy, mapping}, kPolicy, ErrorNumber::SignerUntrusted},
        {{demand, "certificatePolicies=" + kPolicy, mapping}, kOtherPolicy, ErrorNumber::None},
        {{"policyConstraints=critical,DER:0500"}, "", ErrorNumber::SignerUntrusted},
        {{"certificatePolicies=" + kPolicy, "policyMappings=critical," + kAnyPolicy + ":" + kPolicy},
         "",
         ErrorNumber::SignerUntrusted},
    };
    for (const PolicyChain& chain : chains) {
        SCOPED_TRACE(testing::PrintToString(chain.ofMiddle) + " " + chain.ofSigner);
        Identity middle = makeMiddle(lab.authority());
        for (const std::string& line : chain.ofMiddle) {
            const auto split = line.find('=');
            extend(middle, &lab.authority(), line.substr(0, split), line.substr(split + 1));
        }
        Identity signer = test::issue(test::goodSigner(), &middle);
        if (!chain.ofSigner.empty()) {
            extend(signer, &middle, "certificatePolicies", chain.ofSigner);
        }
        expectSigner(lab, signer, chain.outcome, {.helpers = {middle.certificate.get()}});
    }
}

void signAgain(const Identity& changed, const Identity* issuer) {
    EVP_PKEY* const key = issuer == nullptr ? changed.key.get() : issuer->key.get();
    ASSERT_GT(X509_sign(changed.certificate.get(), key, EVP_sha256()), 0);
}

TEST(Chain, RejectsUnknownCriticalExtension) {
    for (const std::string name : {"1.2.3.4", "issuerAltName", "nsCertType"}) {
        SCOPED_TRACE(name);
        const std::string value = name == "issuerAltName" ? "URI:http://a/"
                                  : name == "nsCertType"  ? "objCA"
                                                          : "DER:0500";
        expectRefusedAnywhere([&](Identity& identity, const Identity* issuer) {
            extend(identity, issuer, name, "critical," + value);
        });
    }
}

TEST(Chain, RejectsMalformedCriticalExtension) {
    for (const std::string name :
         {"policyConstraints", "policyMappings", "inhibitAnyPolicy", "certificatePolicies", "nameConstraints",
          "extendedKeyUsage", "crlDistributionPoints"}) {
        SCOPED_TRACE(name);
        expectRefusedAnywhere([&](Identity& identity, const Identity* issuer) {
            extend(identity, issuer, name, "critical,DER:0500");
        });
    }
}

TEST(Chain, RejectsRepeatedExtension) {
    for (const std::string value : {"DER:0500", "critical,DER:0500"}) {
        expectRefusedAnywhere([&](Identity& identity, const Identity* issuer) {
            extend(identity, issuer, "1.2.3.4", "DER:0500");
            extend(identity, issuer, "1.2.3.4", value);
        });
    }
    expectRefusedAnywhere([](Identity& identity, const Identity* issuer) {
        extend(identity, issuer, "extendedKeyUsage", "codeSigning");
        extend(identity, issuer, "extendedKeyUsage", "codeSigning");
    });
}

TEST(Chain, RejectsOtherVersions) {
    for (const long version : {0L, 1L, 3L, 255L}) {  // 0 stands for version 1
        SCOPED_TRACE(version);
        expectRefusedAnywhere([&](Identity& identity, const Identity* issuer) {
            X509_set_version(identity.certificate.get(), version);
            signAgain(identity, issuer);
        });
    }
}

TEST(Chain, RejectsVersion1WithoutExtensions) {
    expectRefusedAnywhere([&](Identity& identity, const Identity* issuer) {
        X509* const certificate = identity.certificate.get();
        while (X509_get_ext_count(certificate) > 0) {
            X509_EXTENSION_free(X509_delete_ext(certificate, 0));
        }
        X509_set_version(certificate, X509_VERSION_1);
        signAgain(identity, issuer);
    });
}

TEST(Chain, RejectsWhatStrictRulesForbid) {
    expectRefusedAnywhere([](Identity& identity, const Identity* issuer) {
        extend(identity, issuer, "subjectAltName", "critical,DER:3000");  // no name in it
    });
    Lab lab;
    for (const int nid :
         {NID_basic_constraints, NID_key_usage, NID_authority_key_identifier, NID_subject_key_identifier}) {
        SCOPED_TRACE(OBJ_nid2sn(nid));
        expectRefusedBelow(lab, [&](Identity& middle, const Identity* issuer) {
            X509* const certificate = middle.certificate.get();
            X509_EXTENSION_free(X509_delete_ext(certificate, X509_get_ext_by_NID(certificate, nid, -1)));
            signAgain(middle, issuer);
        });
    }
}

TEST(Chain, ObeysNameConstraints) {
    Lab lab;
    for (const auto& [allowed, outcome] :
         {std::pair("Test Signer", ErrorNumber::None), std::pair("Another", ErrorNumber::SignerUntrusted)}) {
        // A directory name with one common name, in DER, as a permitted subtree.
        const std::string name = allowed;
        const auto element = [](char tag, const std::string& content) {
            return std::string{tag, static_cast<char>(content.size())} + content;
        };
        const std::string commonName =
            element('\x30', std::string("\x06\x03\x55\x04\x03") + element('\x0C', name));
        const std::string directory = element('\xA4', element('\x30', element('\x31', commonName)));
        const std::string constraints = element('\x30', element('\xA0', element('\x30', directory)));
        std::string hexadecimal;
        for (const unsigned char byte : constraints) {
            char digits[3];
            std::snprintf(digits, sizeof digits, "%02X", unsigned{byte});
            hexadecimal += digits;
        }
        Identity middle = makeMiddle(lab.authority());
        extend(middle, &lab.authority(), "nameConstraints", "critical,DER:" + hexadecimal);
        expectBelow(lab, middle, outcome);
    }
}

}  // namespace
