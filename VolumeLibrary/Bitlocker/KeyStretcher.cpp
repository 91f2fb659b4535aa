// One round hashes 88 bytes, two blocks of SHA-256. The block function of libcrypto's older
// interface is called directly, since the newer one spends more time on its own calls than on
// two blocks; the level below is the one at which that interface is current.
#define OPENSSL_API_COMPAT 0x10101000L

#include "KeyStretcher.h"

#include <cstring>
#include <openssl/crypto.h>
#include <openssl/sha.h>

namespace vx::bitlocker {

namespace {

constexpr size_t kDigestSize = 32;
constexpr size_t kSaltAt = 2 * kDigestSize;
constexpr size_t kCountAt = kSaltAt + sizeof(Salt);
constexpr size_t kMessageSize = kCountAt + 8;
constexpr size_t kPaddedSize = 2 * SHA256_CBLOCK;
constexpr uint64_t kRoundsPerLook = 4096;

void PutLittleEndian(uint8_t *place, uint64_t value)
{
    for (int i = 0; i < 8; ++i)
        place[i] = static_cast<uint8_t>(value >> (8 * i));
}

void PutBigEndian(uint8_t *place, uint32_t value)
{
    for (int i = 0; i < 4; ++i)
        place[i] = static_cast<uint8_t>(value >> (24 - 8 * i));
}

// last (32), first (32), salt (16), count (8), then the padding of SHA-256.
KeyMaterial PaddedMessage(ByteView hash, const Salt &salt)
{
    KeyMaterial message(kPaddedSize);
    std::memcpy(message.Data() + kDigestSize, hash.data, kDigestSize);
    std::memcpy(message.Data() + kSaltAt, salt.data(), salt.size());
    message.Data()[kMessageSize] = 0x80;
    PutBigEndian(message.Data() + kPaddedSize - 4, kMessageSize * 8);
    return message;
}

// The state of the hash reveals the key after the last round.
struct WipedState {
    SHA256_CTX context;

    explicit WipedState(const SHA256_CTX &start) : context(start) {}
    ~WipedState() { OPENSSL_cleanse(&context, sizeof context); }
    WipedState(const WipedState &) = delete;
    WipedState &operator=(const WipedState &) = delete;
};

// One round: the digest of the message takes the place of the one before.
void RunRound(const SHA256_CTX &start, SHA256_CTX &state, uint8_t *message)
{
    std::memcpy(state.h, start.h, sizeof state.h);
    SHA256_Transform(&state, message);
    SHA256_Transform(&state, message + SHA256_CBLOCK);
    for (size_t word = 0; word < kDigestSize / 4; ++word)
        PutBigEndian(message + 4 * word, state.h[word]);
}

}  // namespace

Result<KeyMaterial> KeyStretcher::Stretch(ByteView hash, const Salt &salt,
                                          const CancelFlag *cancel) const
{
    KeyMaterial message = PaddedMessage(hash, salt);
    SHA256_CTX start;
    SHA256_Init(&start);
    WipedState state(start);
    for (uint64_t round = 0; round < _rounds; ++round) {
        if (round % kRoundsPerLook == 0 && IsCancelled(cancel))
            return Error{Status::kCancelled, ""};
        PutLittleEndian(message.Data() + kCountAt, round);
        RunRound(start, state.context, message.Data());
    }
    return KeyMaterial(message.View().First(kDigestSize));
}

}  // namespace vx::bitlocker
