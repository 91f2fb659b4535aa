// Encrypted volumes in memory for the tests, with little key stretching.
#pragma once

#include "Maker/VolumeMaker.h"

#include "MemoryByteSource.h"
#include "VolumeOpener.h"

namespace vx::bitlocker {

constexpr uint64_t kFewRounds = 3;
constexpr char kPassword[] = "correct horse";
constexpr char kRecovery[] = "000011-000022-000033-720885-111111-222222-333333-444444";
constexpr char kOtherRecovery[] = "111111-222222-333333-444444-555555-666666-000011-000022";

// Bytes that differ from sector to sector, after an NTFS boot sector that states sectorSize, and
// with the name of a record of NTFS where that has the mirror of its table of files.
// size: a multiple of the sector size.
std::vector<uint8_t> MakePlainImage(size_t size, uint32_t sectorSize = 512);

// One password protector, kPassword.
maker::VolumeRecipe RecipeWithPassword();

// With kFewRounds of stretching.
Result<UnlockedVolume> OpenQuickly(std::shared_ptr<const ByteSource> source, const Secret &secret);

struct TestVolume {
    std::vector<uint8_t> plain;
    std::vector<uint8_t> image;
    maker::VolumePlan plan;

    // 1 MiB of plain contents by default. The recipe's rounds are replaced by kFewRounds.
    explicit TestVolume(maker::VolumeRecipe recipe, size_t plainSize = 1024 * 1024);

    Result<UnlockedVolume> Open(const Secret &secret) const;
    Result<UnlockedVolume> OpenWithPassword(const std::string &password = kPassword) const;
    Result<UnlockedVolume> OpenWithRecovery(const std::string &password) const;
};

// What the volume holds from offset on, or no bytes when reading fails.
std::vector<uint8_t> ReadBytes(const ByteSource &source, uint64_t offset, size_t count);
// Whether the volume opened and holds the plain image from its first byte on.
bool HoldsPlain(const Result<UnlockedVolume> &opened, const TestVolume &volume);
// The status of a failed opening, Ok for one that succeeded.
Status StatusOf(const Result<UnlockedVolume> &opened);
bool Contains(const std::string &text, const std::string &part);

}  // namespace vx::bitlocker
