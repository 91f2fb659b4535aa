#include "VolumePlan.h"

#include "Bitlocker/MetadataBlock.h"

namespace vx::bitlocker::maker {

namespace {

constexpr uint64_t kAlignment = 64 * 1024;
constexpr uint64_t kUsualRelocated = 8192;
constexpr uint64_t kInformationSpace = 4096;

uint64_t aligned(uint64_t offset)
{
    return (offset + kAlignment - 1) / kAlignment * kAlignment;
}

// Takes space behind what was taken before.
uint64_t take(uint64_t &end, uint64_t length)
{
    const uint64_t begin = end;
    end = aligned(end + length);
    return begin;
}

void planConversion(const VolumeRecipe &recipe, VolumePlan &plan, uint64_t &end)
{
    if (!recipe.conversion)
        return;
    for (uint64_t &offset : plan.conversionOffsets)
        offset = take(end, kInformationSpace);
    plan.bitmapsOffset = take(end, kRegions * kBitmapBlockLength);
    plan.logsOffset = take(end, kRegions * logLength(recipe));
}

}  // namespace

uint32_t slotLength(const VolumeRecipe &recipe)
{
    const uint32_t saved = recipe.conversion->chunkSize / recipe.sectorSize * 16;
    return 512 + saved + 512;
}

uint64_t logLength(const VolumeRecipe &recipe)
{
    return recipe.sectorSize + 2 * static_cast<uint64_t>(slotLength(recipe));
}

VolumePlan VolumePlan::make(const VolumeRecipe &recipe, uint64_t plainSize)
{
    const bool vista = recipe.layout == Layout::Vista;
    VolumePlan plan;
    plan.plainSize = plainSize;
    plan.areaSize = vista ? MetadataBlock::kVistaAreaSize : MetadataBlock::kAreaSize;
    uint64_t end = aligned(plainSize);
    for (size_t copy = 0; copy < plan.copies.size(); ++copy)
        plan.copies[copy] =
            recipe.copyOffsets[copy] != 0 ? recipe.copyOffsets[copy] : take(end, plan.areaSize);
    if (!vista) {
        plan.relocatedSectors = recipe.relocatedSectors != 0
                                    ? recipe.relocatedSectors
                                    : static_cast<uint32_t>(kUsualRelocated / recipe.sectorSize);
        const uint64_t length = static_cast<uint64_t>(plan.relocatedSectors) * recipe.sectorSize;
        plan.relocationOffset =
            recipe.relocationOffset != 0 ? recipe.relocationOffset : take(end, length);
    }
    planConversion(recipe, plan, end);
    plan.size = end;
    plan.encryptedSize = vista ? 0 : recipe.encryptedSize.value_or(end);
    return plan;
}

}  // namespace vx::bitlocker::maker
