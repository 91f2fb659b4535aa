// What a session could not read in full: the warnings at the opening, and the files and folders
// that the library reported while the explorer ran. A file that was read more than once is one row.
//
// Threads: one at a time. Units: bytes. Texts are UTF-8.
#pragma once

#include "ChannelMessages.h"
#include "Wording.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace vx {

class DamageList {
public:
    // Further rows are counted only.
    static constexpr size_t kMostRows = 50000;
    static constexpr size_t kMostRanges = 4096;  // of a row; further ones are counted

    void AddWarnings(const std::vector<std::string> &warnings);
    void Add(const ChannelDamage &damage);
    // So many reports did not arrive; 0: nobody knows how many.
    void AddLost(uint64_t count);

    bool IsEmpty() const;
    const std::vector<std::string> &Warnings() const { return _warnings; }
    // One for each kind and path. Ranges are sorted, without overlaps.
    const std::vector<ChannelDamage> &Rows() const { return _rows; }
    uint64_t Lost() const { return _lost; }
    bool HasLostUncounted() const { return _hasLostUncounted; }
    uint64_t RowsLeftOut() const { return _leftOut; }

private:
    std::vector<std::string> _warnings;
    std::vector<ChannelDamage> _rows;
    std::map<std::pair<uint32_t, std::string>, size_t> _places;  // of kind and path
    uint64_t _lost = 0;
    bool _hasLostUncounted = false;
    uint64_t _leftOut = 0;
};

// "12.0 KiB", "entries: 3"; empty if not known.
std::string DamageAmount(const ChannelDamage &row, const Wording &wording);
std::string DamageReason(const ChannelDamage &row, const Wording &wording);
// What there is besides the rows, a line each; the warnings are in English.
std::vector<std::string> DamageRemarks(const DamageList &list, const Wording &wording);

// The list as a text file: the volume, a line for each row with its tab-separated columns, and the
// ranges below it. What of a path could break its line is escaped; bytes that are no text stay.
std::string DamageFile(const DamageList &list, const std::string &volume, const Wording &wording);

}  // namespace vx
