// Keys that open protectors, and of each which protectors it is for as far as that is known.
//
// Moved, not copied; the keys lie in memory that is wiped. One thread while it is filled.
#pragma once

#include "Guid.h"
#include "KeyMaterial.h"
#include "Protector.h"

#include <vector>

namespace vx::bitlocker {

class KeyList {
public:
    static constexpr size_t kKeyBytes = 32;
    // More are not taken.
    static constexpr size_t kMost = 65536;
    static constexpr size_t kMostIdentifiers = 16;

    struct Label {
        ProtectorKind kind = ProtectorKind::kClearKey;
        // Of protectors that the key is said to open; empty if nothing was said.
        std::vector<Guid> identifiers;

        bool Names(const Guid &protector) const;
        // Of identifiers above kMostIdentifiers the first ones are kept.
        void AddIdentifiers(const std::vector<Guid> &more);
    };

    // key: kKeyBytes; for a password what is stretched, else the key itself.
    void Add(ProtectorKind kind, ByteView key, const std::vector<Guid> &identifiers = {});
    void AddIdentifiers(size_t index, const std::vector<Guid> &identifiers);
    // Makes one key of equal ones, with the identifiers of all. Keeps the order otherwise.
    void MergeEqual();

    size_t Size() const { return _labels.size(); }
    bool IsFull() const { return Size() == kMost; }
    const Label &At(size_t index) const { return _labels[index]; }
    ByteView Key(size_t index) const;
    size_t CountOf(ProtectorKind kind) const;

private:
    static constexpr size_t kPerPiece = 128;

    uint8_t *Place(size_t index);
    bool IsBefore(size_t one, size_t other) const;
    bool IsEqual(size_t one, size_t other) const;

    std::vector<Label> _labels;
    std::vector<KeyMaterial> _pieces;  // of kPerPiece keys
};

}  // namespace vx::bitlocker
