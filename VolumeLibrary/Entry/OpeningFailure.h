// Why a volume does not open, in words: what it holds instead of files, and what explains a file
// system that looks damaged. Functions without state; safe from any thread.
#pragma once

#include "Error.h"
#include "NotingSource.h"

#include <string>

namespace vx {

// The sentence of NothingThatOpens() for contents that nothing recognises.
constexpr const char kNothingKnown[] =
    "there is no NTFS, FAT or exFAT, no encrypted volume and nothing else that is recognised";

// What a source without a supported file system holds. wasEncrypted: it is what an encrypted volume
// was unlocked to.
Error NothingThatOpens(const ByteSource &source, bool wasEncrypted);

// The sentence and, after it, how a volume is searched for that may have been there.
std::string WithSearchHint(const std::string &sentence);

// What looks like damage may be a wrong key of the sectors, which nothing authenticates.
// protectors: those of the volume if its key is not proven, else empty, which returns the error as
// it is. A failed read stays one, with a word on the key.
Error WithDoubt(Error error, const std::string &protectors);

// What looks like damage may be a failed read. A read beyond the end of a complete volume, though,
// is a result of damage. isCut: whether the volume is not complete.
Error WithReadFailure(Error error, const NotingSource &volume, bool isCut);

}  // namespace vx
