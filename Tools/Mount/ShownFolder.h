// One folder of the volume as the mounted tree shows it: every entry once, under the name that an
// export to this machine would give it. A name of more than 255 bytes is cut and numbered as there.
//
// Left out, so that the folder is not whole: what has the name of an earlier entry, and what has no
// name here ("", ".", "..", half a character, one that is too long and holds a backslash).
// Ownership: independent of the volume once it is read. Threads: any; it never changes.
// Memory: sizeof(ShownEntry), the name and four bytes for each entry.
#pragma once

#include "FolderRecords.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vx {

struct ShownEntry {
    enum class Kind : uint8_t {
        kFile,
        kFolder,
        kLink,  // leads elsewhere and is not followed
    };

    uint64_t accessed = 0;  // both times: 100 ns since 1601-01-01 00:00 UTC; 0 for none
    uint64_t modified = 0;
    int64_t size = 0;  // in bytes; 0 for a folder
    uint32_t nameBegin = 0;
    uint16_t nameBytes = 0;
    Kind kind = Kind::kFile;
};

class ShownFolder {
public:
    // path: the folder's volume path, empty for the root. Null if it cannot be listed.
    static std::shared_ptr<const ShownFolder> Read(IVolume &volume, const VolumeReports &reports,
                                                   const std::u16string &path);

    // Entries in the volume's order.
    size_t Size() const { return _entries.size(); }
    const ShownEntry &At(size_t place) const { return _entries[place]; }
    // In UTF-8; valid as long as the folder.
    std::string_view NameOf(size_t place) const { return NameOf(_entries[place]); }
    // As the volume has it.
    std::u16string VolumeNameOf(size_t place) const;
    std::optional<size_t> Find(std::string_view name) const;
    // False: there may be entries that are not shown.
    bool IsWhole() const { return _isWhole; }

private:
    std::string_view NameOf(const ShownEntry &entry) const
    {
        return std::string_view(_names).substr(entry.nameBegin, entry.nameBytes);
    }
    void Add(const FolderRecord &record);
    void AppendName(std::string_view name, ShownEntry *entry);
    void DropRepeated();
    void ShortenNames();
    void SortByName();
    void FindLinks(IVolume &volume, const std::u16string &path);

    std::vector<ShownEntry> _entries;
    std::string _names;
    std::vector<uint32_t> _byName;                          // places, sorted by name
    std::unordered_map<uint32_t, std::u16string> _changed;  // names of the volume, by place
    bool _hasLongNames = false;
    bool _hasLinks = false;
    bool _isWhole = true;
};

}  // namespace vx
