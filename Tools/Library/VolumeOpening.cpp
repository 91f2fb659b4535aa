#include "VolumeOpening.h"

#include "OpeningInterruption.h"
#include "OpeningProgress.h"
#include "OpeningWords.h"
#include "ThreadChecks.h"

namespace vx {

ScopedOptions::ScopedOptions(const LoadedLibrary &library, const VolumeOpeningOptions &options)
    : _set(library.SetOpeningOptions()), _areSet(_set != nullptr && _set(&options))
{
}

ScopedOptions::~ScopedOptions()
{
    if (_areSet)
        (void)_set(nullptr);
}

VolumeOpening OpenVolume(const LoadedLibrary &library, const std::string &volume,
                         const std::string &kind, const char *secret,
                         const VolumeOpeningOptions *options)
{
    AssertMainThread();
    VolumeOpening opening;
    OpeningProgress progress;
    VolumeOpeningOptions all = options == nullptr ? VolumeOpeningOptions() : *options;
    progress.AddTo(&all);
    const ScopedOptions scope(library, all);
    if (options != nullptr && !scope.AreSet()) {
        opening.error = "the volume library is another version, which does not know how this "
                        "program opens a volume; install both together";
        return opening;
    }
    {
        const OpeningInterruption interruption(library.Handle());
        opening.status = library.Entry()(volume.c_str(), kind.c_str(), secret, &opening.volume);
    }
    if (opening.status != 0)
        opening.error = OpeningFailure(library.Handle(), "open", volume, opening.status);
    else if (opening.volume == nullptr)
        opening.error = NoVolumeFailure(volume);
    else
        opening.warnings = OpeningWarnings(library.Handle(), volume);
    return opening;
}

}  // namespace vx
