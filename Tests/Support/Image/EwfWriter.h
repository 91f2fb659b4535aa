// Writes small E01 images of one file as a test wants them, right or wrong.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vx {

struct EwfRecipe {
    enum class Kind { kNew, kOld };  // as EnCase writes them, or as SMART does

    Kind kind = Kind::kNew;
    uint32_t sectorsOfChunk = 1;
    bool isPacked = false;
    bool hasCopy = true;  // of the table
    uint64_t base = 0;    // that the entries of the table are relative to
};

// An image of a disk; a chunk, section or table can be changed before the checksums are made.
class EwfWriter {
public:
    explicit EwfWriter(const std::string &disk, const EwfRecipe &recipe = {});

    // The chunks as they are stored, and the entries that name them, to be changed.
    std::vector<std::string> &Chunks() { return _chunks; }
    std::string Image() const;

    // What entries[number] is to be instead.
    void SetEntry(size_t number, uint32_t entry);
    // What the description says about the size of the disk.
    void SetSectors(uint64_t sectors) { _sectors = sectors; }
    void SetSectorsOfChunk(uint32_t sectors) { _recipe.sectorsOfChunk = sectors; }
    // Sectors that could not be read when the image was made.
    void SetLost(uint32_t sectors) { _lost = sectors; }
    // Overwrites a byte of the table or of its copy, whose checksum is then wrong.
    void DamageTable() { _damagesTable = true; }
    void DamageCopy() { _damagesCopy = true; }

    static std::string Packed(const std::string &bytes);
    static std::string Sum(const std::string &bytes);

private:
    std::string Description() const;
    std::string Table(uint64_t chunksAt, bool isDamaged) const;
    std::string Joined() const;

    EwfRecipe _recipe;
    std::vector<std::string> _chunks;
    std::vector<std::pair<size_t, uint32_t>> _entries;
    uint64_t _sectors;
    uint32_t _lost = 0;
    bool _damagesTable = false;
    bool _damagesCopy = false;
};

}  // namespace vx
