// A failed allocation in OpenSSL must never lead to acceptance. A separate program: OpenSSL's memory
// functions can be replaced only before their first use.
#include "Lab.h"
#include "payload/Payload.h"
#include "trust/Signature.h"

#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace {

using test::kDay;
using test::kNow;
using test::Lab;

long allocations = 0;
long failing = 0;  ///< the number of the allocation that fails; 0 for none

bool fails() {
    return ++allocations == failing;
}

void* allocate(std::size_t size, const char*, int) {
    return fails() ? nullptr : std::malloc(size);
}

void* resize(void* block, std::size_t size, const char*, int) {
    return fails() ? nullptr : std::realloc(block, size);
}

void release(void* block, const char*, int) {
    std::free(block);
}

const int kInstalled = CRYPTO_set_mem_functions(allocate, resize, release);

bool isAccepted(const vtek::Root& root, const vtek::SignedFile& payload) {
    const auto accepted = test::caught([&]() -> vtek::Status {
        VTEK_ASSIGN(const auto trust, loadTrustStore(root));
        VTEK_TRY(verifySignature(payload, trust, {kNow, vtek::Revocation::IfPresent, {}}, [](auto) {}));
        return {};
    });
    return static_cast<bool>(accepted);
}

/** In a child process: without memory, OpenSSL itself may crash. */
bool isAcceptedWithout(long allocation, const vtek::Root& root, const vtek::SignedFile& payload) {
    const pid_t child = fork();
    if (child == 0) {
        failing = allocations + allocation;
        _exit(isAccepted(root, payload) ? 1 : 0);
    }
    int status = 0;
    waitpid(child, &status, 0);
    return WIFEXITED(status) && WEXITSTATUS(status) == 1;
}

TEST(CryptoMemory, RefusesRevokedSignerWhenAnyAllocationFails) {
    ASSERT_EQ(kInstalled, 1);
    Lab lab;
    const vtek::Root root = lab.root();
    const auto payload = vtek::openPayload(vtek::kWorkingFolder, lab.payload().string());
    ASSERT_TRUE(isAccepted(root, *payload));
    lab.trust("list.crl",
              test::makeList(lab.authority(), kNow - kDay, kNow + kDay, {lab.signer().certificate.get()}));
    const long before = allocations;
    ASSERT_FALSE(isAccepted(root, *payload));
    const long count = allocations - before;
    ASSERT_GT(count, 100);
    for (long allocation = 1; allocation <= count; ++allocation) {
        EXPECT_FALSE(isAcceptedWithout(allocation, root, *payload)) << allocation << " of " << count;
    }
}

}  // namespace
