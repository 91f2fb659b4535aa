#include "EncryptionFacts.h"

#include <algorithm>

namespace vx::bitlocker {

namespace {

// As the metadata has them.
constexpr uint16_t kBlockDecrypted = 1;
constexpr uint16_t kBlockEncrypting = 2;
constexpr uint16_t kBlockDecrypting = 3;
constexpr uint16_t kBlockEncrypted = 4;
constexpr uint16_t kBlockPaused = 5;

bool IsInState(const MetadataBlock &block, uint16_t state)
{
    return block.state == state && block.nextState == state;
}

// Of a volume of which a part is encrypted, up to a boundary that the block notes.
EncryptionState StateInBetween(uint16_t state)
{
    switch (state) {
    case kBlockEncrypting:
        return EncryptionState::kEncrypting;
    case kBlockDecrypting:
        return EncryptionState::kDecrypting;
    case kBlockEncrypted:
        return EncryptionState::kEncrypted;
    case kBlockPaused:
        return EncryptionState::kPaused;
    default:
        return EncryptionState::kUnknown;
    }
}

EncryptionState StateOf(ConversionMap::Direction direction)
{
    switch (direction) {
    case ConversionMap::Direction::kEncrypting:
        return EncryptionState::kEncrypting;
    case ConversionMap::Direction::kDecrypting:
        return EncryptionState::kDecrypting;
    case ConversionMap::Direction::kIdle:
        break;
    }
    return EncryptionState::kPaused;
}

}  // namespace

Result<EncryptionFacts> EncryptionFacts::Read(const ByteSource &volume, MapReading map)
{
    const Result<BootSector> boot = BootSector::Read(volume);
    if (!boot)
        return boot.Failure();
    MetadataCopies copies = MetadataLocator(volume, *boot, nullptr).LocateNamed();
    EncryptionFacts facts;
    facts.layout = boot->layout;
    facts.isConverting = boot->converting;
    facts.sectorBytes = RecordedSectorSize(*boot, copies.usable);
    facts.examined = std::move(copies.examined);
    if (!boot->NamesEveryCopy())
        facts.warnings.emplace_back("the boot sector does not name every copy of the metadata");
    if (copies.usable.empty())
        return facts;
    facts.copy = std::move(copies.usable.front());
    facts.statedBytes = facts.copy->encryptedSize;
    if (!boot->converting)
        facts.TakeStateOfBlock(volume.Size());
    else if (map == MapReading::kAllowed)
        facts.TakeMap(volume, *boot);
    else
        facts.warnings.emplace_back(
            "how much of it is encrypted was not determined: too many volumes are in conversion");
    return facts;
}

// By the boundary, and never by the state alone.
void EncryptionFacts::TakeStateOfBlock(uint64_t volumeBytes)
{
    if (copy->version == 1) {
        if (!IsInState(*copy, kBlockEncrypted))
            return;
        state = EncryptionState::kEncrypted;
        encryptedBytes = volumeBytes;
        return;
    }
    encryptedBytes = std::min(copy->encryptedSize, volumeBytes);
    if (encryptedBytes == 0)
        state = EncryptionState::kDecrypted;
    else if (copy->encryptedSize >= volumeBytes)
        state = EncryptionState::kEncrypted;
    else
        state = StateInBetween(copy->state);
}

void EncryptionFacts::TakeMap(const ByteSource &volume, const BootSector &boot)
{
    const uint32_t sectorSize = sectorBytes != 0 ? sectorBytes : BootSector::kSize;
    const Result<ConversionMap> map =
        ConversionMap::Load(volume, boot.conversionOffsets, sectorSize);
    if (map)
        return TakeMapState(*map, volume.Size());
    if (copy->encryptedSize == 0 && IsInState(*copy, kBlockDecrypted)) {
        encryptedBytes = 0;
        state = EncryptionState::kDecrypted;
        return;
    }
    warnings.push_back("which part of it is encrypted is not known, since the record of that is "
                       "damaged: " +
                       map.Failure().detail);
}

void EncryptionFacts::TakeMapState(const ConversionMap &map, uint64_t volumeBytes)
{
    const ConversionMap::Progress progress = map.Count();
    encryptedBytes = std::min(progress.encryptedBytes, volumeBytes);
    if (map.IsAllPlain())
        state = EncryptionState::kDecrypted;
    else if (progress.encryptedBytes == progress.coveredBytes && !progress.isInterrupted)
        state = EncryptionState::kEncrypted;
    else
        state = StateOf(progress.direction);
    if (state == EncryptionState::kEncrypted)
        encryptedBytes = volumeBytes;
}

}  // namespace vx::bitlocker
