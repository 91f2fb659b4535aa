// Writes small VHD images for tests, sound or damaged.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vx {

struct VhdRecipe {
    uint32_t type = 3;  // 2: of fixed size, 3: grows, 4: differencing
    uint64_t diskBytes = 0;
    uint32_t blockBytes = 4096;
    std::optional<uint32_t> entries;  // in the header, if not the true number
    uint64_t tableAt = 1536;
    std::string id = std::string(16, 'V');        // of the disk, 16 bytes
    std::string parentId = std::string(16, 'P');  // of a differencing one
    std::u16string parentName;
    std::vector<std::pair<std::string, std::u16string>> locators;  // of the parent: kind and path
};

class VhdWriter {
public:
    explicit VhdWriter(VhdRecipe recipe) : _recipe(std::move(recipe)) {}

    // The next block of the disk: with a bit for each sector, or not stored.
    void AddBlock(const std::string &bits, const std::string &data);
    void AddNothing() { _blocks.emplace_back(); }
    // Replaces the place of a block in the table.
    void SetEntry(size_t number, uint32_t sector) { _entries.emplace_back(number, sector); }
    std::string Image() const;

    std::string Footer() const;
    // A footer or header with its checksum, which lies at the place.
    static std::string WithSum(std::string bytes, size_t at);

private:
    std::string Header(std::string *locators) const;

    VhdRecipe _recipe;
    std::vector<std::string> _blocks;
    std::vector<std::pair<size_t, uint32_t>> _entries;
};

}  // namespace vx
