// One file or folder of a ScriptedVolume, built by chained calls:
//
//   volume.root().folder(u"Reports").folder(u"2019").file(u"summary.txt", 12);
//
// What an entry's record says, what its handle says and what it holds can each be set apart, so
// that a volume can be as broken as a test needs it.
// Ownership: every entry belongs to its volume and lives as long.
// Threads: build the tree before another thread uses the volume.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

#include "IVolume.h"

namespace vx {

// 2024-03-05 09:07:00 UTC as 100 ns since 1601.
constexpr uint64_t kScriptedTime = 133540960200000000;

class ScriptedEntry {
public:
    using Arena = std::deque<ScriptedEntry>;

    ScriptedEntry(Arena &arena, std::u16string name, uint32_t attributes);
    ~ScriptedEntry() = default;
    ScriptedEntry(const ScriptedEntry &) = delete;
    ScriptedEntry &operator=(const ScriptedEntry &) = delete;

    // Each adds a child and returns it. Names are taken as they are, hostile ones included; of
    // two children of one name the path leads to the first. size: bytes of generated content.
    ScriptedEntry &Folder(std::u16string name);
    ScriptedEntry &File(std::u16string name, uint64_t size = 0);
    ScriptedEntry &File(std::u16string name, std::string contents);

    ScriptedEntry &Attributes(uint32_t value);
    ScriptedEntry &Modified(uint64_t fileTime);
    // The size in the record; a file's true size if not set.
    ScriptedEntry &CatalogueSize(uint64_t bytes);
    // The size that QueryFileSize gives; a file's true size if not set.
    ScriptedEntry &QueriedSize(uint64_t bytes);
    // The name fills the record's 540 units, with no zero after it: the name, then u'x'.
    ScriptedEntry &Unterminated();
    // The folder is its own only child, so that its paths never end.
    ScriptedEntry &Endless();

    const std::u16string &Name() const { return _name; }
    uint64_t Size() const { return _contents ? _contents->size() : _size; }
    uint64_t SizeOfHandle() const { return _queriedSize.value_or(Size()); }
    bool IsFolder() const { return (_attributes & kVolumeAttributeDirectory) != 0; }
    const std::vector<ScriptedEntry *> &Children() const { return _children; }

    // Writes the record as a library does: every field, and the name with its zero; the units
    // after it stay as they are.
    void Fill(VolumeFindData &record) const;
    // The content from an offset on; offset + count is not above Size().
    void Read(uint64_t offset, void *buffer, size_t count) const;
    std::string Read(uint64_t offset, size_t count) const;

    // The entry at a path below this folder, null if there is none: u"" is the folder itself.
    ScriptedEntry *Find(const std::u16string &path);

private:
    ScriptedEntry &Add(std::u16string name, uint32_t attributes);
    ScriptedEntry *ChildAt(const std::u16string &path, size_t start, size_t &end) const;
    std::u16string RecordName() const;

    Arena &_arena;
    std::u16string _name;
    uint32_t _attributes;
    uint64_t _modified = kScriptedTime;
    uint64_t _size = 0;
    std::optional<std::string> _contents;
    std::optional<uint64_t> _catalogueSize;
    std::optional<uint64_t> _queriedSize;
    bool _unterminated = false;
    bool _endless = false;
    std::vector<ScriptedEntry *> _children;
    std::unordered_map<std::u16string, ScriptedEntry *> _byName;
    std::vector<ScriptedEntry *> _namedWithSlash;
};

}  // namespace vx
