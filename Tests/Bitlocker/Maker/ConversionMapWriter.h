// Writes a conversion map: information, bitmaps and logs.
//
// Three regions: the relocated sectors, the first half of the rest and the second.
#pragma once

#include "VolumePlan.h"

#include "ByteView.h"

namespace vx::bitlocker::maker {

class ConversionMapWriter {
public:
    // recipe: with a conversion. The arguments must outlive the writer.
    ConversionMapWriter(const VolumeRecipe &recipe, const VolumePlan &plan);

    // Whether the sector stored at offset is encrypted.
    bool IsEncrypted(uint64_t offset) const;
    std::vector<uint8_t> Information() const;
    std::vector<uint8_t> Bitmaps() const;
    // saved: the first 16 bytes of every sector of the interrupted chunk in its encrypted form;
    // empty when there is none.
    std::vector<uint8_t> Logs(ByteView saved) const;

private:
    struct Region {
        uint64_t offset = 0;
        uint64_t length = 0;
    };

    Region RegionAt(size_t index) const;
    size_t RegionOf(uint64_t offset) const;
    std::vector<uint8_t> BitmapBlock(size_t index) const;
    std::vector<uint8_t> Record(size_t index, uint64_t sequence, bool stale) const;
    std::vector<uint8_t> Log(size_t index, ByteView saved) const;
    std::vector<uint8_t> Slot(uint64_t sequence, uint64_t chunk, ByteView saved) const;

    const VolumeRecipe &_recipe;
    const VolumePlan &_plan;
    const ConversionRecipe &_conversion;
};

}  // namespace vx::bitlocker::maker
