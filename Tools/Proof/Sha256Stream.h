// SHA-256 of bytes that come piece by piece (FIPS 180-4), by libcrypto, which uses what the
// processor has for it. One object serves many files, one after the other.
//
// Ownership: owns the state of libcrypto. Threads: one at a time; every worker has its own.
// Errors: std::bad_alloc.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

namespace vx {

using Sha256Digest = std::array<uint8_t, 32>;

class Sha256Stream {
public:
    // Whether this program was built with libcrypto. Without it no stream may be made.
    static bool IsAvailable();

    Sha256Stream();
    ~Sha256Stream();
    Sha256Stream(const Sha256Stream &) = delete;
    Sha256Stream &operator=(const Sha256Stream &) = delete;

    void Add(const void *bytes, size_t count);
    // Of all bytes since the last call; the next ones belong to the next file.
    Sha256Digest Finish();
    // Forgets the bytes since the last Finish.
    void Restart();

private:
    struct State;
    std::unique_ptr<State> _state;
};

}  // namespace vx
