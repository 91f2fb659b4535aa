// Takes the place of Sha256Stream.cpp where libcrypto is missing: the program refuses what needs
// hashes before it makes a stream.
#include "Sha256Stream.h"

#include <cstdlib>

namespace vx {

struct Sha256Stream::State {};

bool Sha256Stream::IsAvailable()
{
    return false;
}

Sha256Stream::Sha256Stream()
{
    abort();
}

Sha256Stream::~Sha256Stream() = default;

void Sha256Stream::Add(const void *, size_t) {}

Sha256Digest Sha256Stream::Finish()
{
    return {};
}

void Sha256Stream::Restart() {}

}  // namespace vx
