// Finds recovery passwords, and the identifiers of their protectors, in a text: in what Windows
// saves in any language, in lists that people keep and in exports of directories.
//
// No word of the text is relied on. A recovery password is 48 digits in one line, in groups of six
// or without groups; only in a text that has none it may go on in the next line. Its identifiers
// are those in its line or, if there are none, those in lines without a password that come before
// it or after it, up to the next one. A key is added to the list when they are all known, since a
// full list takes only keys with identifiers that are wanted.
// Source: Microsoft, "BitLocker recovery overview" (what a saved key contains).
#pragma once

#include "KeyList.h"

#include <string>

namespace vx::bitlocker {

struct RecoveryKeyText {
    size_t found = 0;
    size_t mistyped = 0;       // what has eight groups of six digits, but wrong ones
    std::string firstMistake;  // "line 3: group 2 is mistyped"; never with the digits

    // file: in any encoding that PlainKeyText knows. The keys are added to the list, those without
    // identifiers in the text with the ones given.
    static RecoveryKeyText Find(ByteView file, KeyList *keys,
                                const std::vector<Guid> &identifiers = {});
};

// The identifier that a file has in its name, as Windows puts it there:
// "BitLocker Recovery Key 1A2B3C4D-....TXT". Of a path only what comes after the last slash.
std::vector<Guid> IdentifiersInName(const std::string &path);

}  // namespace vx::bitlocker
