#include "ExtFileSystem.h"

#include "ByteReader.h"

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
constexpr size_t kSuperblockBytes = 128;  // as many as are needed
constexpr uint16_t kMark = 0xEF53;
constexpr uint32_t kHasJournal = 0x4;
// The features, of the two kinds that matter, that ext3 knows as well.
constexpr uint32_t kIncompatibleOfExt3 = 0x1F & ~0x1U;
constexpr uint32_t kReadOnlyOfExt3 = 0x7;

struct Superblock {
    ByteView bytes;

    uint32_t Inodes() const { return U32At(bytes, 0); }
    uint32_t Blocks() const { return U32At(bytes, 4); }
    uint32_t BlockShift() const { return U32At(bytes, 24); }
    uint32_t BlocksPerGroup() const { return U32At(bytes, 32); }
    uint32_t InodesPerGroup() const { return U32At(bytes, 40); }
    uint16_t Mark() const { return U16At(bytes, 56); }
    uint32_t Revision() const { return U32At(bytes, 76); }
    uint32_t Compatible() const { return U32At(bytes, 92); }
    uint32_t Incompatible() const { return U32At(bytes, 96); }
    uint32_t ReadOnlyCompatible() const { return U32At(bytes, 100); }

    bool MakesSense() const
    {
        constexpr uint32_t kLargestBlockShift = 6;  // 64 KiB
        return Mark() == kMark && Inodes() != 0 && Blocks() != 0 &&
               BlockShift() <= kLargestBlockShift && BlocksPerGroup() != 0 &&
               InodesPerGroup() != 0 && Revision() <= 1;
    }
};

}  // namespace

const KnownContents *FindExtFileSystem(const ByteSource &source)
{
    uint8_t bytes[kSuperblockBytes];
    if (source.ReadAt(kSuperblockAt, bytes, sizeof bytes))
        return nullptr;
    const Superblock superblock = {{bytes, sizeof bytes}};
    if (!superblock.MakesSense())
        return nullptr;
    const bool isNewer = (superblock.Incompatible() & ~kIncompatibleOfExt3) != 0 ||
                         (superblock.ReadOnlyCompatible() & ~kReadOnlyOfExt3) != 0;
    if (isNewer)
        return &kExt4;
    return (superblock.Compatible() & kHasJournal) != 0 ? &kExt3 : &kExt2;
}

}  // namespace vx
