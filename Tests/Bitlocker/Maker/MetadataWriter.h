// Writes the metadata of a volume: one block for each copy.
#pragma once

#include "MadeUpBytes.h"
#include "VolumePlan.h"
#include "VolumeRecipe.h"

namespace vx::bitlocker::maker {

class MetadataWriter {
public:
    // mirrorCluster: what the first sector of a Vista volume had at 56. The arguments must
    // outlive the writer.
    MetadataWriter(const VolumeRecipe &recipe, const VolumePlan &plan, uint64_t mirrorCluster);

    // The whole area of the copy 0, 1 or 2.
    std::vector<uint8_t> Area(size_t copy) const;
    // As it is stored.
    std::vector<uint8_t> SectorKey() const;

private:
    std::vector<uint8_t> Entries() const;
    std::vector<uint8_t> ProtectorEntry(const ProtectorRecipe &protector, size_t index) const;
    std::vector<uint8_t> InnerOf(const ProtectorRecipe &protector,
                                 const std::vector<uint8_t> &stretched) const;
    std::vector<uint8_t> HeaderEntry() const;
    std::vector<uint8_t> BlockHeader(size_t covered) const;
    std::vector<uint8_t> Validation(ByteView covered) const;
    std::vector<uint8_t> Nonce() const;

    const VolumeRecipe &_recipe;
    const VolumePlan &_plan;
    const uint64_t _mirrorCluster;
    const MadeUpBytes _madeUp;
    const std::vector<uint8_t> _masterKey;
    mutable uint32_t _nonces = 2;
    std::vector<uint8_t> _entries;
};

// Corrects the checksum (not the digest) of a copy that was changed on purpose.
void RenewChecksum(std::vector<uint8_t> &image, uint64_t copy);

}  // namespace vx::bitlocker::maker
