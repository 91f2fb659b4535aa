// The groups of a recovery password, and what is wrong with them.
//
// Every group is checked, so that the user knows all the places to copy again.
// Ownership: the signs are borrowed while it is made. One thread.
#pragma once

#include "Error.h"
#include "KeyMaterial.h"

#include <string_view>
#include <vector>

namespace vx::bitlocker {

class RecoveryPasswordGroups {
public:
    // In place of what is not a digit.
    static constexpr char kSeparator = ' ';
    static constexpr char kOther = '?';

    // signs: digits, kSeparator and kOther.
    explicit RecoveryPasswordGroups(ByteView signs);

    // The 16 bytes. Errors: kMalformedSecret. To be called once.
    Result<KeyMaterial> Key();

private:
    void TakeRun(std::string_view run);
    void TakeGroup(std::string_view digits);
    void Blame(std::vector<size_t> &groups, size_t group);
    std::string Complaint() const;

    KeyMaterial _key;
    size_t _digits = 0;
    size_t _groups = 0;
    bool _isCountable = true;  // false: it is unknown which digits make a group
    // Numbers of groups, from 1 on.
    std::vector<size_t> _mistyped;
    std::vector<size_t> _ofWrongLength;
    std::vector<size_t> _notOfDigits;
};

}  // namespace vx::bitlocker
