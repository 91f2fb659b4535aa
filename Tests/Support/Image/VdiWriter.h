// Writes small VDI images for tests, sound or damaged: header, block map, blocks.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace vx {

struct VdiRecipe {
    uint32_t version = 0x00010001;
    uint32_t type = 1;  // 1: grows, 2: of fixed size, 3: undo, 4: differencing
    uint32_t blockBytes = 4096;
    uint32_t extraBytes = 0;  // before each block
    uint64_t diskBytes = 0;   // 0: of all blocks
    uint32_t entries = 0;     // in the header, if not the true number
    uint32_t usedBlocks = 0;  // the same
    uint32_t mapAt = 512;
    uint32_t blocksAt = 4096;
};

class VdiWriter {
public:
    static constexpr uint32_t kNever = 0xFFFFFFFF;
    static constexpr uint32_t kDiscarded = 0xFFFFFFFE;

    explicit VdiWriter(VdiRecipe recipe) : _recipe(std::move(recipe)) {}

    // The next block of the disk.
    void AddBlock(const std::string &bytes);
    void AddEntry(uint32_t entry) { _map.push_back(entry); }
    void SetEntry(size_t number, uint32_t entry) { _map[number] = entry; }
    std::string Image() const;

private:
    const VdiRecipe _recipe;
    std::vector<uint32_t> _map;
    std::string _blocks;
    uint32_t _stored = 0;
};

}  // namespace vx
