// A volume library that opens every volume and, if it is asked to keep it, has a master key. Built
// without VX_HAS_MASTER_KEY it is one of the time before the channel.
#include "VolumeOpeningOptions.h"
#include "VolumeReport.h"

#include <cstring>

#define VX_EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

VolumeOpeningOptions g_options;
char g_volume;

}  // namespace

VX_EXPORTED bool volume_library_set_opening_options(const VolumeOpeningOptions *options)
{
    g_options = *options;
    return true;
}

VX_EXPORTED int32_t open_bitlocker_device(const char *, const char *kind, const char *,
                                          IVolume **volume)
{
    if (g_options.progress != nullptr)
        g_options.progress(g_options.progressContext, VolumeOpeningStep::kTryingSecrets, 3, 7, 0);
    if (strcmp(kind, "none") == 0)
        g_options.keepsMasterKey = 0;
    *volume = reinterpret_cast<IVolume *>(&g_volume);
    return 0;
}

#ifdef VX_HAS_MASTER_KEY
VX_EXPORTED bool volume_library_visit_master_key(IVolume *, VolumeMasterKeyFunction key,
                                                 void *context)
{
    const uint8_t bytes[] = {0x00, 0x01, 0xAB, 0xFF};
    if (g_options.keepsMasterKey != 0)
        key(context, bytes, sizeof(bytes));
    return g_options.keepsMasterKey != 0;
}
#endif
