#include "TrialOpening.h"

#include "EndingSignal.h"
#include "IVolume.h"
#include "OpenFailureText.h"
#include "OpeningInterruption.h"
#include "TrialProgram.h"
#include "VolumeOpeningOptions.h"
#include "VolumeReport.h"

#include <dlfcn.h>

namespace vx {
namespace {

void ReportProgress(void *context, VolumeOpeningStep step, uint64_t done, uint64_t total,
                    uint32_t seconds)
{
    static_cast<ChildChannel *>(context)->Report(
        ChannelProgress{static_cast<uint32_t>(step), done, total, seconds});
}

void ReportMasterKey(void *context, const uint8_t *key, uint64_t length)
{
    static_cast<ChildChannel *>(context)->Report(
        ChannelMasterKey{ProtectedBytes(key, static_cast<size_t>(length))});
}

VolumeLibraryVisitMasterKeyFunction VisitMasterKeyOf(void *library)
{
    return reinterpret_cast<VolumeLibraryVisitMasterKeyFunction>(
        dlsym(library, "volume_library_visit_master_key"));
}

}  // namespace

void TrialOpening::Run(const ChannelOpening &texts)
{
    void *library = dlopen(_path.c_str(), RTLD_LAZY);
    if (library == nullptr)
        return _channel.Report(ChannelOpened{
            kNoVolumeLibrary, std::string("the volume library does not load: ") + dlerror()});
    const ChannelOpened opened = Open(library, texts);
    if (OpeningInterruption::Signal() != 0)
        EndBySignal(OpeningInterruption::Signal());
    _channel.Report(opened);
    if (opened.status == 0)
        ReportKey(library);
}

ChannelOpened TrialOpening::Open(void *library, const ChannelOpening &texts)
{
    const auto entry =
        reinterpret_cast<OpenBitlockerDeviceFunction>(dlsym(library, "open_bitlocker_device"));
    if (entry == nullptr)
        return {kNoVolumeLibrary,
                "the volume library has no entry \"open_bitlocker_device\": " + _path};
    SetOptions(library);
    const OpeningInterruption interruption(library);
    const int32_t status = entry(texts.volume, texts.kind, texts.secret, &_volume);
    if (status == 0 && _volume == nullptr)
        return {kNoVolumeLibrary, "the volume library returned no volume"};
    return {status, OpenDetail(library)};
}

void TrialOpening::SetOptions(void *library)
{
    const auto set = reinterpret_cast<VolumeLibrarySetOpeningOptionsFunction>(
        dlsym(library, "volume_library_set_opening_options"));
    VolumeOpeningOptions options;
    options.keepsMasterKey = 1;
    options.progress = ReportProgress;
    options.progressContext = &_channel;
    if (set != nullptr)
        (void)set(&options);
}

void TrialOpening::ReportKey(void *library)
{
    if (const auto visit = VisitMasterKeyOf(library))
        (void)visit(_volume, ReportMasterKey, &_channel);
}

}  // namespace vx
