// One file of a hash list, and the two lines that stand for it:
//
//   # size 5, modified 2020-09-30T17:00:00.1234567Z
//   5891b5b522d5df086d0ff0b110fbd9d21bb4fc7163af34d08286a2e846f6be03  Reports/a.txt
//
// "sha256sum --check" skips the first, which is a comment to it, and reads the second. The form of
// the second, and how it escapes a name: GNU Coreutils manual, "cksum common options" and "md5sum".
//
// Threads: any.
#pragma once

#include "Sha256Stream.h"

#include <string>
#include <string_view>

namespace vx {

struct ManifestRecord {
    Sha256Digest digest = {};
    int64_t size = 0;        // in bytes
    uint64_t modified = 0;   // 100 ns since 1601-01-01 00:00 UTC; 0: the volume has no time for it
    bool isDamaged = false;  // the copy is not whole; the first line ends in ", damaged"
    std::string path;        // of the copy, relative to the destination, in its bytes
};

// Both lines, with their line ends.
std::string TextOf(const ManifestRecord &record);

// Each takes one line without its end. False: the line is another one, and the record may have
// changed.
bool ReadComment(std::string_view line, ManifestRecord *record);
bool ReadSum(std::string_view line, ManifestRecord *record);

// As sha256sum writes a name: a backslash, a line feed and a carriage return are escaped, and then
// the whole line begins with a backslash. escaped: whether that is so.
std::string EscapedName(std::string_view name, bool *escaped);

std::string HexText(const Sha256Digest &digest);

}  // namespace vx
