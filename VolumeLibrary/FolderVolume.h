// A plain folder as a volume, for reading only.
//
// How entries are shown is said in FolderListing.h (links, what is left out), EntryRecord.h
// (attributes) and NameMapping.h (names); which paths are refused in VolumePath.h.
// Ownership: owns the open root folder; each handle is an object of its own that FindClose or
// CloseHandle deletes. Handles must be closed before the volume goes.
// Threads: any number at a time, each with handles of its own.
// Errors: null or false, for null pointers too; nothing is thrown, also when memory runs out.
#pragma once

#include "FolderRoot.h"
#include "OwnedVolume.h"

#include <memory>
#include <utility>

namespace vx {

class FolderVolume final : public OwnedVolume {
public:
    // volume receives the opened folder when the result is kSuccess.
    static VolumeLibraryStatus Open(const char *path, std::unique_ptr<OwnedVolume> *volume);

    explicit FolderVolume(FolderRoot root) : _root(std::move(root)) {}

    VolumeHandle FindFirstFile(const char16_t *pattern, VolumeFindData *record) override;
    // A folder that fails while it is listed ends there.
    bool FindNextFile(VolumeHandle search, VolumeFindData *record) override;
    bool FindClose(VolumeHandle search) override;

    // The three modes make no difference.
    VolumeHandle OpenFile(const char16_t *path, uint32_t mode1, uint32_t mode2,
                          uint32_t mode3) override;
    // True with fewer bytes than count at the end of the file; false on an error, with done
    // telling the bytes before it.
    bool ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done) override;
    // Always false, with nothing done.
    bool WriteFile(VolumeHandle file, const void *buffer, uint32_t count, uint32_t *done) override;
    // The halves receive the position that holds afterwards, also when the move is refused.
    bool SetFilePosition(VolumeHandle file, uint32_t *low, uint32_t *high,
                         uint32_t origin) override;
    bool QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high) override;
    bool CloseHandle(VolumeHandle file) override;

private:
    FolderRoot _root;
};

}  // namespace vx
