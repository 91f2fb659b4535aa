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
    // More are not taken, but for those of SetWanted.
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

    // Of the protectors that are to be opened. Keys that name one of them are taken into a full
    // list, too, in place of others.
    void SetWanted(std::vector<Guid> protectors) { _wanted = std::move(protectors); }

    // key: kKeyBytes; for a password what is stretched, else the key itself.
    void Add(ProtectorKind kind, ByteView key, const std::vector<Guid> &identifiers = {});
    // Makes one key of equal ones, with the identifiers of all. Keeps the order otherwise.
    void MergeEqual();
    // Takes all keys out; their memory is kept for others.
    void Clear();

    size_t Size() const { return _labels.size(); }
    bool IsFull() const { return Size() == kMost; }
    // How many keys were not taken, or gave way to others.
    size_t LeftOut() const { return _leftOut; }
    const Label &At(size_t index) const { return _labels[index]; }
    ByteView Key(size_t index) const;
    size_t CountOf(ProtectorKind kind) const;

private:
    static constexpr size_t kPerPiece = 128;

    uint8_t *Place(size_t index);
    bool IsWanted(const std::vector<Guid> &identifiers) const;
    // The last one that gives way to a wanted key; Size() if none does.
    size_t NextToReplace();
    void Put(size_t index, ProtectorKind kind, ByteView key, const std::vector<Guid> &identifiers);
    bool IsBefore(size_t one, size_t other) const;
    bool IsEqual(size_t one, size_t other) const;

    std::vector<Label> _labels;
    std::vector<KeyMaterial> _pieces;  // of kPerPiece keys
    std::vector<Guid> _wanted;
    size_t _leftOut = 0;
    size_t _replaceable = kMost;  // above it every key is wanted
};

}  // namespace vx::bitlocker
