// Disks with encrypted volumes in memory whose first sectors, tables or boot sectors a test
// damages. The secret is a startup key, which needs no stretching.
#pragma once

#include "FailingSource.h"
#include "Maker/VolumeMaker.h"
#include "TestImage.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vx {

constexpr size_t kSector = 512;
constexpr size_t kMiB = size_t{1} << 20;

struct MadeVolume {
    std::string plain;
    std::string bytes;
    bitlocker::maker::VolumePlan plan;
};

// A recipe with a startup key.
bitlocker::maker::VolumeRecipe RecipeWithKey(uint32_t seed = 1);
// Encrypts a plain volume. Its metadata follows it, unless the recipe says otherwise.
MadeVolume MakeVolume(const std::string &plain, const bitlocker::maker::VolumeRecipe &recipe);

class LostScene : public testing::Test {
protected:
    LostScene();

    // A FAT file system with the tree in it.
    std::string FatFileSystem() const;
    // An NTFS file system with the tree, or an empty one if none can be mounted here.
    std::string NtfsFileSystem();

    // Puts the volume onto the disk, which grows if need be, with noise around it.
    void Put(const MadeVolume &volume, size_t at);
    void Erase(size_t at, size_t count, char with = '\0');

    // Opens what is on the disk.
    VolumeLibraryStatus Open(const VolumeChoice &choice, UnlockKind kind = UnlockKind::kStartupKey,
                             const OpeningOptions &options = {});
    VolumeLibraryStatus OpenAt(uint64_t offset) { return Open({"", 0, offset}); }
    // A test failure unless it opens and has the tree.
    void ExpectTree(const VolumeChoice &choice);
    void ExpectTreeAt(uint64_t offset) { ExpectTree({"", 0, offset}); }
    // All bytes of the volume, decrypted; a test failure if it does not open.
    std::string ContentsOf(const VolumeChoice &choice);
    std::string ContentsAt(uint64_t offset) { return ContentsOf({"", 0, offset}); }

    const TestImage image{};
    TestTree tree = SampleTree();
    std::string disk;
    ByteRanges bad;  // what cannot be read of it
    std::string keyFile;
    std::string detail;
    std::unique_ptr<OwnedVolume> volume;
};

}  // namespace vx
