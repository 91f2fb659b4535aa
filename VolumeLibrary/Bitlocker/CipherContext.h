// Owner of one of libcrypto's cipher contexts, keyed once and used for whole blocks only, without
// padding: the output is as long as the input.
//
// One thread at a time; Clone() of an object that no thread changes is safe from any thread.
#pragma once

#include "ByteView.h"

#include <memory>
#include <openssl/evp.h>

namespace vx::bitlocker {

class CipherContext {
public:
    enum class Mode { kEcbEncrypt, kEcbDecrypt, kCbcDecrypt };

    // key: 16 or 32 bytes, not kept in this form.
    CipherContext(Mode mode, ByteView key);
    CipherContext(const CipherContext &) = delete;
    CipherContext &operator=(const CipherContext &) = delete;
    CipherContext(CipherContext &&) = default;
    ~CipherContext() = default;

    // False when libcrypto refused, for lack of memory for example; every call then fails.
    bool Good() const { return _context != nullptr; }
    CipherContext Clone() const;

    // A multiple of 16 bytes, kLongestRun of SectorCipher at most; in and out may be the same.
    // False: out is undefined.
    bool Run(const uint8_t *in, uint8_t *out, size_t length);
    // The 16 bytes that precede the next block (CBC).
    bool SetInitialVector(const uint8_t *vector);

private:
    struct Free {
        void operator()(EVP_CIPHER_CTX *context) const { EVP_CIPHER_CTX_free(context); }
    };
    using Handle = std::unique_ptr<EVP_CIPHER_CTX, Free>;

    explicit CipherContext(Handle context) : _context(std::move(context)) {}

    Handle _context;
};

}  // namespace vx::bitlocker
