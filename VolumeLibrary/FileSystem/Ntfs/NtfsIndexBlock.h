// One block of a folder's index: entries in the order of their names, and the blocks below.
//
// Threads: one at a time. Every number is checked before it is used.
#pragma once

#include "ByteView.h"
#include "NtfsRecord.h"

#include <optional>
#include <string>
#include <vector>

namespace vx {

// One of a file's names and what is stored beside it. In an index both may be out of date; the
// file's own record has the truth.
struct NtfsIndexName {
    static constexpr uint32_t kFolder = 0x10000000;

    // Nothing if it is damaged.
    static std::optional<NtfsIndexName> Parse(ByteView bytes);

    NtfsReference parent = 0;  // the folder that has the file under this name
    std::string name;          // of Wtf8.h
    bool isShortName = false;  // a second name for DOS programs
    uint64_t created = 0;      // the times: as in VolumeFindData
    uint64_t accessed = 0;
    uint64_t written = 0;
    uint64_t size = 0;
    uint32_t flags = 0;  // attributes, and kFolder
    uint32_t reparseTag = 0;
};

class NtfsIndexBlock {
public:
    // bytes: an index root, or a block with the ends of its sectors put right; headerAt: where
    // its entries are described; firstAt: where the first one should be. Nothing if it is damaged.
    static std::optional<NtfsIndexBlock> Parse(std::vector<uint8_t> bytes, size_t headerAt,
                                               size_t firstAt);

    // Whether the block begins where it should, and the present entry is as long as what it holds
    // and ends the block if it says so. Otherwise entries may have been passed over.
    bool IsConsistent() const;

    // The block below the present entry, once; then nothing.
    std::optional<uint64_t> TakeBlockBelow();
    // True at the entry that ends the block, which stands for no file.
    bool IsAtEnd() const;
    NtfsReference File() const;
    // Nothing if the entry is damaged.
    std::optional<NtfsIndexName> Name() const;
    // False if there is no good entry after the present one.
    bool Advance();

private:
    NtfsIndexBlock(std::vector<uint8_t> bytes, size_t at, size_t end, bool beginsRight);
    bool IsEntryGood() const;
    bool HasBlockBelow() const;
    ByteView Entry() const;  // and all that follows it in the block
    size_t Length() const;
    size_t NameUnits() const;

    std::vector<uint8_t> _bytes;
    size_t _at;
    size_t _end;
    bool _beginsRight;
    bool _hasGivenBlockBelow = false;
};

}  // namespace vx
