// A recovery password while it is typed: 48 digits in eight groups of six, with dashes between.
//
// Each group is a multiple of 11 and below 720896 (Microsoft Learn, the WMI class of encryptable
// volumes, on the validity of numerical passwords), so a mistyped one can be marked before all are
// typed.
// Threads: none of its own. Places and lengths count characters. Nothing is kept.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace vx {

struct RecoveryGroup {
    size_t begin = 0;
    size_t length = 0;
    bool isWrong = false;  // whatever is typed next, it cannot become right
};

struct RecoveryDigits {
    static constexpr size_t kGroups = 8;
    static constexpr size_t kGroupDigits = 6;

    std::string text;   // "123456-12345"
    size_t cursor = 0;  // where the cursor of the typed text belongs in it
    std::vector<RecoveryGroup> groups;

    // All digits are there, and no group is wrong.
    bool IsComplete() const;
    // Counted from 1.
    std::vector<size_t> WrongGroups() const;
};

// Takes the digits out of what was typed or pasted, full-width ones too, and groups them. cursor is
// a place in typed. What is beyond the last group stays, as wrong groups, up to twice the length.
RecoveryDigits GroupRecoveryDigits(const std::u16string &typed, size_t cursor);

}  // namespace vx
