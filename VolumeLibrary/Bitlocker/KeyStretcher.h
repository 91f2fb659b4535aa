// Turns the hash of a password into a key by many rounds of SHA-256, so that guessing is slow.
//
// The number of rounds belongs to the format and cannot be read from a volume; tests that need
// no real volume may pass a smaller one.
#pragma once

#include "CancelFlag.h"
#include "Error.h"
#include "KeyMaterial.h"
#include "Protector.h"

namespace vx::bitlocker {

class KeyStretcher {
public:
    static constexpr uint64_t kRounds = 0x100000;

    explicit KeyStretcher(uint64_t rounds = kRounds) : _rounds(rounds) {}

    // The key of 32 bytes. hash: 32 bytes. Takes up to a second of one core; checks the flag about
    // every millisecond. Errors: kCancelled.
    Result<KeyMaterial> Stretch(ByteView hash, const Salt &salt, const CancelFlag *cancel) const;

private:
    uint64_t _rounds;
};

}  // namespace vx::bitlocker
