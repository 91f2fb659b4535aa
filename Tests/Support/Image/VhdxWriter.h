// Writes small VHDX images for tests, sound or damaged, and entries for their logs.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vx {

struct VhdxRecipe {
    uint64_t diskBytes = 0;
    uint32_t blockBytes = 1 << 20;
    uint32_t sectorBytes = 512;
    bool isFixed = false;
    std::string dataId = std::string(16, 'D');  // of the contents, 16 bytes
    std::string logId = std::string(16, '\0');  // 16 bytes; zeros: nothing to replay
    uint32_t logBytes = 1 << 20;
    // Of a differencing image: the keys and values of the locator of the parent.
    std::vector<std::pair<std::u16string, std::u16string>> parent;
};

// A change in an entry of a log: a page of 4096 bytes, or zeros.
struct VhdxChange {
    uint64_t at = 0;
    std::string page;
    uint64_t zeros = 0;
};

struct VhdxLogEntry {
    uint64_t sequence = 1;
    uint32_t tail = 0;
    std::vector<VhdxChange> changes;
    uint64_t flushedBytes = 0;
    uint64_t neededBytes = 0;
    std::string logId;

    // With its checksum.
    std::string Bytes() const;
};

class VhdxWriter {
public:
    static constexpr uint64_t kMiB = uint64_t{1} << 20;
    static constexpr uint64_t kLogAt = kMiB;

    explicit VhdxWriter(VhdxRecipe recipe) : _recipe(std::move(recipe)) {}

    // The next block of the disk.
    void AddBlock(const std::string &data) { _blocks.push_back({6, data, ""}); }
    void AddState(uint8_t state) { _blocks.push_back({state, "", ""}); }
    // One of which the sectors that are "1" are stored.
    void AddPartly(const std::string &sectors, const std::string &data)
    {
        _blocks.push_back({7, data, sectors});
    }
    std::string Image() const;

    uint64_t MetadataAt() const { return kLogAt + _recipe.logBytes; }
    uint64_t TableAt() const { return MetadataAt() + kMiB; }
    uint64_t TableBytes() const;
    // In the table, of a block of the disk.
    uint64_t EntryAt(uint64_t block) const;
    // In the table, of the bits for a block of the disk.
    uint64_t EntryOfBitsAt(uint64_t block) const;
    // In the file, of the next structure after the table.
    uint64_t BlocksAt() const { return TableAt() + TableBytes(); }

    // Puts a number of some bytes anywhere.
    static void Put(uint64_t at, uint64_t value, size_t bytes, std::string *image);
    // Makes the checksums of the headers and of the tables of regions fit.
    static void RepairSums(std::string *image);
    // The changes lie in the log from its beginning on, in one entry. The image must have an
    // identifier of its log.
    static void PutLog(uint64_t at, const VhdxLogEntry &entry, std::string *image);

private:
    struct Block {
        uint8_t state;
        std::string data;
        std::string sectors;
    };

    uint64_t BlocksOfBits() const
    {
        return (uint64_t{_recipe.sectorBytes} << 23) / _recipe.blockBytes;
    }
    std::string Header(uint64_t sequence) const;
    std::string Regions() const;
    std::string Metadata() const;
    std::string Locator() const;

    VhdxRecipe _recipe;
    std::vector<Block> _blocks;
};

}  // namespace vx
