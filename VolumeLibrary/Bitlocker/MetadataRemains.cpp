#include "MetadataRemains.h"

#include "Method.h"

#include <algorithm>

namespace vx::bitlocker {
namespace {

constexpr uint64_t kRelocatedBytes = 8192;  // of an NTFS volume

std::array<uint64_t, 3> CopiesOf(const BootSector &boot)
{
    std::array<uint64_t, 3> copies{};
    std::copy_n(boot.metadataOffsets.begin(), std::min(copies.size(), boot.metadataOffsets.size()),
                copies.begin());
    return copies;
}

// Whether the relocated sectors lie in the volume and a part of it at least is encrypted.
bool IsPossible(const MetadataBlock &block, uint64_t size)
{
    static constexpr uint64_t kLargestSector = 4096;
    if (block.version == 1)
        return true;
    const uint64_t relocated = block.relocatedSectors * kLargestSector;
    return block.encryptedSize > 0 && block.relocatedSectors > 0 && block.relocationOffset < size &&
           relocated <= size - block.relocationOffset;
}

std::optional<MetadataBlock> HeaderAt(const ByteSource &source, const BootSector &boot,
                                      uint64_t offset)
{
    constexpr size_t kHeaders = MetadataBlock::kHeaderSize + 48;
    std::array<uint8_t, kHeaders> bytes{};
    if (offset == 0 || source.Size() < bytes.size() || offset > source.Size() - bytes.size() ||
        source.ReadAt(offset, bytes.data(), bytes.size()))
        return std::nullopt;
    std::optional<MetadataBlock> block = MetadataBlock::HeaderOf(bytes, offset);
    if (!block || (block->version == 1) != (boot.layout == Layout::kVista) ||
        !IsPossible(*block, source.Size()))
        return std::nullopt;
    if (boot.layout != Layout::kVista)
        block->copies = CopiesOf(boot);
    if (SectorKeySize(static_cast<Method>(block->method)) == 0)
        block->method = 0;
    return block;
}

MetadataBlock UsualArrangement(const ByteSource &source, const BootSector &boot)
{
    MetadataBlock block;
    block.version = 2;
    block.copies = CopiesOf(boot);
    block.offset = block.copies.front();
    block.encryptedSize = source.Size();
    block.relocationOffset =
        block.offset < source.Size() ? block.offset + MetadataBlock::kAreaSize : source.Size();
    const uint32_t sectorSize = boot.sectorSize != 0 ? boot.sectorSize : BootSector::kSize;
    block.relocatedSectors = static_cast<uint32_t>(kRelocatedBytes / sectorSize);
    return block;
}

}  // namespace

std::vector<MetadataBlock> MetadataRemains(const ByteSource &source, const BootSector &boot)
{
    std::vector<MetadataBlock> guesses;
    for (const uint64_t offset : boot.metadataOffsets)
        if (auto block = HeaderAt(source, boot, offset))
            guesses.push_back(std::move(*block));
    if (boot.layout == Layout::kWindows7) {
        MetadataBlock usual = UsualArrangement(source, boot);
        if (IsPossible(usual, source.Size()))
            guesses.push_back(std::move(usual));
    }
    return guesses;
}

}  // namespace vx::bitlocker
