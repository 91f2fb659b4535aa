// Images made for one test with the system's own programs, in a folder that is removed with
// them, and filled with a small tree that every file system here can hold.
#pragma once

#include "ByteSource.h"
#include "Command.h"
#include "DiskOpening.h"
#include "TemporaryFolder.h"
#include "VolumeLibraryStatus.h"
#include "VolumeReader.h"

#include <gtest/gtest.h>
#include <map>
#include <string>

namespace vx {

// Paths without "/" in front, UTF-8, and the contents of the files.
using TestTree = std::map<std::string, std::string>;

// Names in several scripts, sizes around those of sectors and clusters, folders in folders.
TestTree SampleTree();

// Bytes that look like nothing; the same for the same seed.
std::string NoiseBytes(size_t count, unsigned seed);

class TestImage {
public:
    std::string Path() const { return At("image"); }
    std::string At(const std::string &name) const { return _folder.At(name); }
    const TemporaryFolder &Folder() const { return _folder; }

    // An image of so many MiB with an empty file system; options: of mkfs.fat.
    bool MakeFat(int mebibytes, const std::string &options) const;
    bool MakeNtfs(int mebibytes, const std::string &options = "") const;
    bool MakeExfat(int mebibytes) const;
    // Copies the tree into the FAT image.
    bool FillFat(const TestTree &tree) const;
    // Copies the tree into the NTFS image, without mounting it.
    bool FillNtfs(const TestTree &tree) const;
    // Mounts the image, runs a line of the shell in its root and unmounts it. Needs FUSE.
    bool RunInNtfs(const std::string &line) const;
    // Encrypts the image in place.
    bool Encrypt(const std::string &options) const;

private:
    bool MakeEmpty(int mebibytes) const;
    bool WriteTree(const TestTree &tree, const std::string &under) const;

    const TemporaryFolder _folder;
};

// Whether an NTFS image can be mounted here.
bool CanMountNtfs();

struct Opened {
    VolumeLibraryStatus status;
    std::string detail;
    std::unique_ptr<OwnedVolume> volume;
};

Opened OpenImage(const std::string &device, const char *kind = "none", const char *secret = "");
// A disk in memory. number: of the volume that was chosen, 0 for none.
Opened OpenDiskOf(std::shared_ptr<const ByteSource> source, size_t number = 0,
                  UnlockKind kind = UnlockKind::kNone, const char *secret = "");
// As the library's entry puts it.
Opened AsAnswer(Result<OpenedVolume> opened);

// All files of the volume by their paths, as SampleTree gives them. A folder without entries has
// a "/" at its end.
TestTree ReadTree(IVolume &volume);

// A test failure for each path that only one of them has, or whose contents differ.
void ExpectSameTree(const TestTree &found, const TestTree &expected);

std::u16string Utf16(const std::string &utf8);
std::string Utf8(const std::u16string &utf16);

}  // namespace vx
