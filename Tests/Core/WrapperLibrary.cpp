// A stand-in for the volume library, built in several ways for the tests of its loading:
// WRAPPER_STATUS is what the entry returns, WRAPPER_STORES whether it stores a volume, and
// without WRAPPER_ENTRY there is no entry. It prints "loaded" when it is loaded, and each call.
#include <cstdint>
#include <cstdio>

#include "IVolume.h"

namespace {

struct Announcement {
    Announcement() { puts("loaded"); }
} announcement;

}  // namespace

#ifdef WRAPPER_ENTRY
namespace {

class EmptyVolume final : public IVolume {
public:
    VolumeHandle FindFirstFile(const char16_t *, VolumeFindData *) override { return this; }
    bool FindNextFile(VolumeHandle, VolumeFindData *) override { return false; }
    bool FindClose(VolumeHandle) override { return true; }
    VolumeHandle OpenFile(const char16_t *, uint32_t, uint32_t, uint32_t) override
    {
        return nullptr;
    }
    bool ReadFile(VolumeHandle, void *, uint32_t, uint32_t *) override { return false; }
    bool WriteFile(VolumeHandle, const void *, uint32_t, uint32_t *) override { return false; }
    bool SetFilePosition(VolumeHandle, uint32_t *, uint32_t *, uint32_t) override { return false; }
    bool QueryFileSize(VolumeHandle, uint32_t *, uint32_t *) override { return false; }
    bool CloseHandle(VolumeHandle) override { return true; }
};

const char *Shown(const char *text)
{
    return text == nullptr ? "(null)" : text;
}

}  // namespace

extern "C" __attribute__((visibility("default"))) int32_t
open_bitlocker_device(const char *first, const char *second, const char *third, IVolume **volume)
{
    static EmptyVolume empty;
    printf("called [%s] [%s] [%s]\n", Shown(first), Shown(second), Shown(third));
    *volume = WRAPPER_STORES ? &empty : nullptr;
    return WRAPPER_STATUS;
}
#endif
