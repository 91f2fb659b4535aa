// Reads a volume through its operations, as its users do: whole folders and whole files.
// Also the fixture of the tests that show one temporary folder as a volume.
#pragma once

#include "IVolume.h"
#include "OwnedVolume.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vx {

// The entries in the volume's order, or nothing if the folder cannot be listed.
std::optional<std::vector<VolumeFindData>> ListFolder(IVolume &volume,
                                                      const std::u16string &pattern);
// The names alone, sorted; none if the folder cannot be listed.
std::vector<std::u16string> SortedNames(IVolume &volume, const std::u16string &pattern);
// The entry of this name; a test failure if there is none.
VolumeFindData EntryNamed(IVolume &volume, const std::u16string &pattern,
                          const std::u16string &name);
uint64_t SizeOf(const VolumeFindData &record);

VolumeHandle OpenForReading(IVolume &volume, const std::u16string &path);
bool Opens(IVolume &volume, const std::u16string &path);
// The bytes from the handle's position on, or nothing if a read fails; closes it.
std::optional<std::string> ReadToEnd(IVolume &volume, VolumeHandle file);
// The file's bytes, or nothing if it does not open or a read fails.
std::optional<std::string> ReadWholeFile(IVolume &volume, const std::u16string &path);

// Opens the folder as a volume; a test failure if that fails.
std::unique_ptr<OwnedVolume> OpenFolderVolume(const std::string &path);

// One temporary folder, and the volume that shows it.
class FolderVolumeTest : public testing::Test {
protected:
    const TemporaryFolder folder;
    const std::unique_ptr<OwnedVolume> owned = OpenFolderVolume(folder.Path());
    IVolume &volume = *owned;
};

}  // namespace vx
