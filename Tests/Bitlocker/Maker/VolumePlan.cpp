#include "VolumePlan.h"

#include "MetadataBlock.h"

namespace vx::bitlocker::maker {

namespace {

constexpr uint64_t kAlignment = 64 * 1024;
constexpr uint64_t kUsualRelocated = 8192;
constexpr uint64_t kInformationSpace = 4096;

uint64_t Aligned(uint64_t offset)
{
    return (offset + kAlignment - 1) / kAlignment * kAlignment;
}

// Takes space after what was taken before.
uint64_t Take(uint64_t &end, uint64_t length)
{
    const uint64_t begin = end;
    end = Aligned(end + length);
    return begin;
}

void PlanConversion(const VolumeRecipe &recipe, VolumePlan &plan, uint64_t &end)
{
    if (!recipe.conversion)
        return;
    for (uint64_t &offset : plan.conversionOffsets)
        offset = Take(end, kInformationSpace);
    plan.bitmapsOffset = Take(end, kRegions * kBitmapBlockLength);
    plan.logsOffset = Take(end, kRegions * LogLength(recipe));
}

}  // namespace

uint32_t SlotLength(const VolumeRecipe &recipe)
{
    const uint32_t saved = recipe.conversion->chunkSize / recipe.sectorSize * 16;
    return 512 + saved + 512;
}

uint64_t LogLength(const VolumeRecipe &recipe)
{
    return recipe.sectorSize + 2 * static_cast<uint64_t>(SlotLength(recipe));
}

VolumePlan VolumePlan::Make(const VolumeRecipe &recipe, uint64_t plainSize)
{
    const bool vista = recipe.layout == Layout::kVista;
    VolumePlan plan;
    plan.plainSize = plainSize;
    plan.areaSize = vista ? MetadataBlock::kVistaAreaSize : MetadataBlock::kAreaSize;
    uint64_t end = Aligned(plainSize);
    for (size_t copy = 0; copy < plan.copies.size(); ++copy)
        plan.copies[copy] =
            recipe.copyOffsets[copy] != 0 ? recipe.copyOffsets[copy] : Take(end, plan.areaSize);
    if (!vista) {
        plan.relocatedSectors = recipe.relocatedSectors != 0
                                    ? recipe.relocatedSectors
                                    : static_cast<uint32_t>(kUsualRelocated / recipe.sectorSize);
        const uint64_t length = static_cast<uint64_t>(plan.relocatedSectors) * recipe.sectorSize;
        plan.relocationOffset =
            recipe.relocationOffset != 0 ? recipe.relocationOffset : Take(end, length);
    }
    PlanConversion(recipe, plan, end);
    plan.size = end;
    plan.encryptedSize = vista ? 0 : recipe.encryptedSize.value_or(end);
    return plan;
}

}  // namespace vx::bitlocker::maker
