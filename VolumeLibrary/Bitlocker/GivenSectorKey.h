// A key of the sectors (FVEK) that the user has from elsewhere, in one of the forms in which common
// tools hand it out.
//
//   a text         hexadecimal digits of 16, 32 or 64 bytes; with a colon between, the key and the
//                  tweak key; in front of them, with a colon, the method: "aes-xts-128:00ff..."
//   66 bytes       a method, u16, and 64 bytes: the key as the metadata has it, then zeros
//   16, 32 or 64   the key as the metadata has it; 32 also the two keys of AES-128 with the
//   diffuser
//
// Nothing in a volume authenticates the key. Moved, not copied; wiped with its owner.
// Source of the layouts: the manual pages of dislocker and cryptsetup.
#pragma once

#include "Error.h"
#include "KeyMaterial.h"
#include "Method.h"

#include <vector>

namespace vx::bitlocker {

class GivenSectorKey {
public:
    // given: the text. Errors: kMalformedSecret.
    static Result<GivenSectorKey> FromText(std::string_view given);
    // The contents of a file: one of the forms above. Errors: kMalformedSecret.
    static Result<GivenSectorKey> FromFile(ByteView contents);

    // kNone if it was not said.
    Method StatedMethod() const { return _method; }
    // What sectors are decrypted with. Errors: kMalformedSecret, if the lengths do not fit.
    Result<KeyMaterial> KeyFor(Method method) const;
    // The methods that it may be a key of, if nothing says which: those that its length fits.
    std::vector<Method> PossibleMethods() const;

private:
    GivenSectorKey() = default;
    Result<KeyMaterial> WithTweakKey(Method method) const;

    Method _method = Method::kNone;
    KeyMaterial _key;
    KeyMaterial _tweakKey;  // empty unless it was given apart
};

}  // namespace vx::bitlocker
