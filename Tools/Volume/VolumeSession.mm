#include "VolumeSession.h"

#import "CBitlockerWrapper.h"
#include "OpeningInterruption.h"
#include "OpeningProgress.h"
#include "OpeningWords.h"
#include "TerminalText.h"
#include "ThreadChecks.h"

#include <dlfcn.h>

namespace vx {
namespace {

struct CloseLibrary {
    void operator()(void *library) const { dlclose(library); }
};
// A handle of the library beside the one of the wrapper, which keeps it loaded until the process
// ends.
using Library = std::unique_ptr<void, CloseLibrary>;

// Why the wrapper could not call the entry: the library does not load, or has no such entry.
std::string ReasonNotCalled(const std::string &path)
{
    const Library library(dlopen(path.c_str(), RTLD_LAZY));
    if (library == nullptr) {
        const char *reason = dlerror();
        return "the volume library is missing or does not load: " +
               TerminalText(reason != nullptr ? std::string(reason) : path);
    }
    return "the volume library " + TerminalText(path) + " has no entry \"open_bitlocker_device\"";
}

bool CanListRoot(IVolume &volume)
{
    VolumeFindData record = {};
    VolumeHandle search = volume.FindFirstFile(u"/*", &record);
    if (search == nullptr)
        return false;
    volume.FindClose(search);
    return true;
}

}  // namespace

bool VolumeSession::Open(const std::string &volume, const std::string &unlockKind,
                         const char *secret, std::string *error)
{
    AssertMainThread();
    CBitlockerWrapper wrapper;
    const std::string path = [wrapper.libraryPath() UTF8String];
    const Library library(dlopen(path.c_str(), RTLD_LAZY));
    IVolume *opened = nullptr;
    int32_t status = 0;
    bool isCalled = false;
    OpeningProgress progress;
    if (!_reading.Request(library.get(), &progress, error))
        return false;
    {
        const OpeningInterruption interruption(library.get());
        isCalled = wrapper.openBitlockerDevice(volume.c_str(), unlockKind.c_str(), secret, &opened,
                                               &status);
    }
    DiskReading::Reset(library.get());
    if (!isCalled) {
        *error = ReasonNotCalled(path);
        return false;
    }
    return Accept(library.get(), volume, opened, status, error);
}

bool VolumeSession::Accept(void *library, const std::string &name, IVolume *opened, int32_t status,
                           std::string *error)
{
    if (status != 0) {
        *error = OpeningFailure(library, "open", name, status);
        return false;
    }
    if (opened == nullptr) {
        *error = NoVolumeFailure(name);
        return false;
    }
    _warnings = OpeningWarnings(library, name);
    _reports = std::make_unique<VolumeReports>(library, *opened);
    _volume = std::make_unique<ObservedVolume>(*opened, *_reports);
    if (!CanListRoot(*_volume)) {
        *error = "cannot open " + TerminalText(name) + ": its root folder cannot be listed";
        return false;
    }
    return true;
}

}  // namespace vx
