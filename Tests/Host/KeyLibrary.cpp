// A volume library that opens every volume and, if it is asked to keep it, has a master key. Built
// without VX_HAS_MASTER_KEY it is one of the time before the channel.
#include "VolumeOpeningOptions.h"
#include "VolumeReport.h"

#include <cstring>
#include <string>

#define VX_EXPORTED extern "C" __attribute__((visibility("default")))

namespace {

VolumeOpeningOptions g_options;
char g_volume;
std::string g_noticed;

// More than the smallest buffer of a socket holds, or one line.
std::string NoticedWith(const std::string &kind)
{
    if (kind == "talkative")
        return std::string(50000, 'x');
    return kind == "noticing" ? "noticed\n" : "";
}

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
    g_noticed = NoticedWith(kind);
    if (strcmp(kind, "none") == 0)
        g_options.keepsMasterKey = 0;
    *volume = reinterpret_cast<IVolume *>(&g_volume);
    return 0;
}

VX_EXPORTED const char *volume_library_last_error()
{
    return g_noticed.c_str();
}

#ifdef VX_HAS_MASTER_KEY
VX_EXPORTED bool volume_library_visit_master_key(IVolume *, VolumeMasterKeyFunction key,
                                                 void *context)
{
    uint8_t bytes[32] = {0x00, 0x01, 0xAB, 0xFF};
    for (size_t i = 4; i < sizeof(bytes); ++i)
        bytes[i] = static_cast<uint8_t>(7 * i);
    if (g_options.keepsMasterKey != 0)
        key(context, bytes, sizeof(bytes));
    return g_options.keepsMasterKey != 0;
}
#endif
