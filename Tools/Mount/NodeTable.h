// The files and folders of the mounted tree that the kernel holds, by their inode numbers.
//
// An entry's number is made from its folder's number and its name, by a keyed hash (SipHash-2-4;
// J.-P. Aumasson, D. J. Bernstein, "SipHash: a fast short-input PRF", 2012), so that it is the same
// after the kernel has forgotten it. If two have the same hash, the one that comes later takes
// the next free number, for as long as both are held.
// Threads: any. Memory: one node for each entry that the kernel holds, and for the folders above
// it; forgotten with it.
#pragma once

#include "Mutex.h"
#include "ShownFolder.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

namespace vx {

class NodeTable {
public:
    using Number = uint64_t;
    static constexpr Number kRoot = 1;

    NodeTable();

    // The number of an entry, which the kernel then holds once more. folder: a held one.
    // Adds nothing to a folder that is not held, and returns 0.
    Number Enter(Number folder, std::u16string_view name, const ShownEntry &entry);
    // The number that Enter would give.
    Number NumberOf(Number folder, std::u16string_view name) const;
    // The kernel holds it so many times less.
    void Forget(Number number, uint64_t count);

    // Nothing if it is not held.
    std::optional<ShownEntry> EntryOf(Number number) const;
    // On the volume; empty for the root.
    std::optional<std::u16string> PathOf(Number number) const;
    // The folder that it lies in; the root for the root.
    Number FolderOf(Number number) const;
    // size: what the opened file has, from now on. Whether that is the first time.
    bool NoteOpened(Number number, int64_t size);

    size_t Size() const;

private:
    struct Node {
        Number folder = kRoot;
        std::u16string name;
        ShownEntry entry;
        uint64_t holds = 0;     // by the kernel
        uint64_t children = 0;  // nodes in this folder
        bool wasOpened = false;
    };
    using Nodes = std::unordered_map<Number, Node>;

    Number FreeOrSame(Number folder, std::u16string_view name) const VX_REQUIRES(_mutex);
    void DropUnheld(Number number) VX_REQUIRES(_mutex);

    const std::array<uint64_t, 2> _key;
    mutable Mutex _mutex;
    Nodes _nodes VX_GUARDED_BY(_mutex);
};

}  // namespace vx
