// Writes small E01 images, or one part of one, for tests, sound or damaged.
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
    uint64_t base = 0;    // of the entries of the table
    uint8_t part = 1;
    bool isLast = true;
    std::string set = {};  // the identifier of the set of parts, 16 bytes; zeros if empty
};

// An image of a disk. A chunk, section or table can be changed before the checksums are computed.
class EwfWriter {
public:
    explicit EwfWriter(const std::string &disk, const EwfRecipe &recipe = {});

    // The chunks as stored, to be changed.
    std::vector<std::string> &Chunks() { return _chunks; }
    std::string Image() const;

    // Replaces an entry of the table.
    void SetEntry(size_t number, uint32_t entry);
    // The size of the disk according to its description.
    void SetSectors(uint64_t sectors) { _sectors = sectors; }
    void SetSectorsOfChunk(uint32_t sectors) { _recipe.sectorsOfChunk = sectors; }
    // Sectors that could not be read when the image was made.
    void SetLost(uint32_t sectors) { _lost = sectors; }
    // Overwrites a byte of the table or of its copy, so that its checksum is wrong.
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
