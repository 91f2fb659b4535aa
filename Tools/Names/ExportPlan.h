// What an export is to copy: the chosen entries as the volume reported them, as a tree with one
// small record for each, so that a million files fit into little memory.
//
// The children of a folder are numbered in the volume's order, without gaps. The root is entry 0;
// a folder on the way to a chosen entry is in the tree, too, and marked kIsWay.
// Memory: sizeof(PlanEntry) and the name, for each entry.
// Threads: one at a time while it grows; any number once it is complete.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace vx {

struct PlanEntry {
    using Number = uint32_t;

    // Bits of flags.
    static constexpr uint8_t kIsFolder = 1;
    static constexpr uint8_t kIsWay = 2;         // only leads to what was chosen
    static constexpr uint8_t kIsNamed = 4;       // on the command line
    static constexpr uint8_t kIsUnlistable = 8;  // a folder that could not be entered
    static constexpr uint8_t kIsRepeated = 16;   // an earlier entry of its folder has its name
    static constexpr uint8_t kIsThinned = 32;    // a folder of which a filter left something out
    static constexpr uint8_t kIsStream = 64;     // a stream beside the data of another entry

    uint64_t created = 0;  // the three times: 100 ns since 1601-01-01 00:00 UTC; 0 for none
    uint64_t accessed = 0;
    uint64_t modified = 0;
    int64_t size = 0;  // in bytes, as listed
    uint32_t attributes = 0;
    uint32_t reparseTag = 0;  // 0 without a reparse point, and if the volume does not report it
    Number parent = 0;
    Number firstChild = 0;  // of a stream: the entry that it belongs to
    Number children = 0;
    uint32_t nameBegin = 0;  // ExportPlan's
    uint16_t nameUnits = 0;
    uint8_t flags = 0;

    bool Has(uint8_t flag) const { return (flags & flag) != 0; }
    bool IsFolder() const { return Has(kIsFolder); }
    // Whether it leads elsewhere; other reparse points have data.
    bool IsLink() const;
};

class ExportPlan {
public:
    using Number = PlanEntry::Number;
    static constexpr Number kRoot = 0;
    // After the last entry of a walk.
    static constexpr Number kNone = ~Number{0};

    ExportPlan();

    // Adds one more child to the folder; the children of a folder are added one after the other,
    // with no other entry between them. kNone if there are too many entries.
    Number Add(Number folder, const PlanEntry &entry, std::u16string_view name);

    // Adds a stream of the entry: to its folder, or to the root itself, as "a.txt:s". A copy of it
    // has the entry's times.
    Number AddStream(Number owner, std::u16string_view stream, int64_t size);
    // Of a stream: the entry that it belongs to, and its name there.
    Number OwnerOf(Number stream) const { return _entries[stream].firstChild; }
    std::u16string_view StreamNameOf(Number stream) const;

    size_t Size() const { return _entries.size(); }
    const PlanEntry &At(Number number) const { return _entries[number]; }
    PlanEntry &At(Number number) { return _entries[number]; }

    // Stays valid as long as the plan. Empty for the root.
    std::u16string_view NameOf(Number number) const;
    // The path on the volume, "/Reports/2019"; empty for the root.
    std::u16string PathOf(Number number) const;

    // The entry after this one in the volume's order: folders before what they hold. kNone at the
    // end. A walk begins with kRoot.
    Number Next(Number number) const;
    // The same, without entering the folder.
    Number NextBeside(Number number) const;

private:
    std::deque<PlanEntry> _entries;
    std::vector<std::u16string> _names;  // pieces of kPieceUnits; no name spans two
};

}  // namespace vx
