#include "Sha256Stream.h"

#include <new>
#include <openssl/evp.h>

namespace vx {
namespace {

// Hashing in memory fails only when memory runs out.
void Require(int result)
{
    if (result != 1)
        throw std::bad_alloc();
}

struct FreeContext {
    void operator()(EVP_MD_CTX *context) const { EVP_MD_CTX_free(context); }
};

}  // namespace

struct Sha256Stream::State {
    std::unique_ptr<EVP_MD_CTX, FreeContext> context{EVP_MD_CTX_new()};
};

bool Sha256Stream::IsAvailable()
{
    return true;
}

Sha256Stream::Sha256Stream() : _state(std::make_unique<State>())
{
    Require(_state->context != nullptr ? 1 : 0);
    Require(EVP_DigestInit_ex(_state->context.get(), EVP_sha256(), nullptr));
}

Sha256Stream::~Sha256Stream() = default;

void Sha256Stream::Add(const void *bytes, size_t count)
{
    Require(EVP_DigestUpdate(_state->context.get(), bytes, count));
}

Sha256Digest Sha256Stream::Finish()
{
    Sha256Digest digest;
    Require(EVP_DigestFinal_ex(_state->context.get(), digest.data(), nullptr));
    Restart();
    return digest;
}

// Without naming the algorithm again, which libcrypto would look up for every file.
void Sha256Stream::Restart()
{
    Require(EVP_DigestInit_ex(_state->context.get(), nullptr, nullptr));
}

}  // namespace vx
