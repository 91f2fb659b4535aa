// A volume that makes its entries up: folders of files in the root, without stored bytes.
//
// Threads: one thread.
#pragma once

#include <string>

#include "IVolume.h"

class GeneratedVolume final : public IVolume {
public:
    // folders folders in the root, each with filesPerFolder files.
    GeneratedVolume(unsigned folders, unsigned filesPerFolder);

    VolumeHandle FindFirstFile(const char16_t *pattern, VolumeFindData *record) override;
    bool FindNextFile(VolumeHandle search, VolumeFindData *record) override;
    bool FindClose(VolumeHandle search) override;
    VolumeHandle OpenFile(const char16_t *, uint32_t, uint32_t, uint32_t) override;
    bool ReadFile(VolumeHandle, void *, uint32_t, uint32_t *) override { return false; }
    bool WriteFile(VolumeHandle, const void *, uint32_t, uint32_t *) override { return false; }
    bool SetFilePosition(VolumeHandle, uint32_t *, uint32_t *, uint32_t) override { return false; }
    bool QueryFileSize(VolumeHandle, uint32_t *, uint32_t *) override { return false; }
    bool CloseHandle(VolumeHandle) override { return false; }

private:
    unsigned _folders;
    unsigned _filesPerFolder;
};
