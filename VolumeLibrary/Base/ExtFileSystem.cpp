#include "ExtFileSystem.h"

#include "Little.h"

namespace vx {
namespace {

constexpr const char *kMountOnLinux = "mount it on Linux";
constexpr KnownContents kExt2 = {KnownContents::Form::kVolume, "an ext2 file system",
                                 kMountOnLinux};
constexpr KnownContents kExt3 = {KnownContents::Form::kVolume, "an ext3 file system",
                                 kMountOnLinux};
constexpr KnownContents kExt4 = {KnownContents::Form::kVolume, "an ext4 file system",
                                 kMountOnLinux};

constexpr uint64_t kSuperblockAt = 1024;
constexpr uint16_t kMark = 0xEF53;
constexpr uint32_t kHasJournal = 0x4;
// The features, of the two kinds that matter, that ext3 knows as well.
constexpr uint32_t kIncompatibleOfExt3 = 0x1F & ~0x1U;
constexpr uint32_t kReadOnlyOfExt3 = 0x7;

bool MakesSense(const uint8_t *superblock)
{
    constexpr uint32_t kLargestBlockShift = 6;  // 64 KiB
    return Little16(superblock + 56) == kMark && Little32(superblock) != 0 &&
           Little32(superblock + 4) != 0 && Little32(superblock + 24) <= kLargestBlockShift &&
           Little32(superblock + 32) != 0 && Little32(superblock + 40) != 0 &&
           Little32(superblock + 76) <= 1;
}

}  // namespace

const KnownContents *FindExtFileSystem(const ByteSource &source)
{
    uint8_t superblock[128];
    if (source.ReadAt(kSuperblockAt, superblock, sizeof superblock) || !MakesSense(superblock))
        return nullptr;
    const bool isNewer = (Little32(superblock + 96) & ~kIncompatibleOfExt3) != 0 ||
                         (Little32(superblock + 100) & ~kReadOnlyOfExt3) != 0;
    if (isNewer)
        return &kExt4;
    return (Little32(superblock + 92) & kHasJournal) != 0 ? &kExt3 : &kExt2;
}

}  // namespace vx
