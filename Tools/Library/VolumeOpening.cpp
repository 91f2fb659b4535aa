#include "VolumeOpening.h"

#include "OpenFailureText.h"
#include "OpeningInterruption.h"
#include "OpeningProgress.h"
#include "TerminalText.h"
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
        opening.error = OpeningFailure(library, "open", volume, opening.status);
    else if (opening.volume == nullptr)
        opening.error = "cannot open " + TerminalText(volume) +
                        ": the volume library returned no volume (status 0)";
    else
        opening.warnings = OpeningWarnings(library, volume);
    return opening;
}

std::string OpeningFailure(const LoadedLibrary &library, const char *verb,
                           const std::string &volume, int32_t status)
{
    return std::string("cannot ") + verb + " " + TerminalText(volume) + ": " +
           TerminalText(OpenFailureText(library.Handle(), status));
}

std::vector<std::string> OpeningWarnings(const LoadedLibrary &library, const std::string &volume)
{
    std::vector<std::string> warnings;
    for (const std::string &warning : OpenWarnings(library.Handle()))
        warnings.push_back(TerminalText(volume) + ": " + TerminalText(warning));
    return warnings;
}

}  // namespace vx
