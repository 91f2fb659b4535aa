// Images made for one test by the system's programs, in a temporary folder, and filled with a small
// tree that every file system here can hold.
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

// Paths in UTF-8 without a leading "/", and the contents of the files.
using TestTree = std::map<std::string, std::string>;

// Names in several scripts, sizes close to those of sectors and clusters, nested folders.
TestTree SampleTree();

// Random bytes, the same for the same seed.
std::string NoiseBytes(size_t count, unsigned seed);

class TestImage {
public:
    std::string Path() const { return At("image"); }
    std::string At(const std::string &name) const { return _folder.At(name); }
    const TemporaryFolder &Folder() const { return _folder; }

    // An image with an empty file system; options: of the program that makes it.
    bool MakeFat(int mebibytes, const std::string &options) const;
    bool MakeNtfs(int mebibytes, const std::string &options = "") const;
    bool MakeExfat(int mebibytes) const;
    // Copies the tree into the FAT image.
    bool FillFat(const TestTree &tree) const;
    // Copies the tree into the NTFS image, without mounting it.
    bool FillNtfs(const TestTree &tree) const;
    // Mounts the image, runs a shell command in its root and unmounts it. Needs FUSE.
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
// A disk in memory. number: of the chosen volume, 0 if none was chosen.
Opened OpenDiskOf(std::shared_ptr<const ByteSource> source, size_t number = 0,
                  UnlockKind kind = UnlockKind::kNone, const char *secret = "");
// As the entry of the library returns it.
Opened AsAnswer(Result<OpenedVolume> opened);

// All files of the volume by their paths, in the form of SampleTree. The path of an empty folder
// ends with "/".
TestTree ReadTree(IVolume &volume);

// A test failure for each path that only one tree has, or whose contents differ.
void ExpectSameTree(const TestTree &found, const TestTree &expected);

std::u16string Utf16(const std::string &utf8);
std::string Utf8(const std::u16string &utf16);

}  // namespace vx
