#import "VolumeSession.h"

#import "CBitlockerWrapper.h"
#include "OpenFailureText.h"
#include "TerminalText.h"

#include <dlfcn.h>

namespace vx {
namespace {

// Why the wrapper could not call the entry: the library does not load, or has no such entry.
std::string ReasonNotCalled(const CBitlockerWrapper &library)
{
    const char *path = [library.libraryPath() UTF8String];
    if (dlopen(path, RTLD_LAZY) == nullptr) {
        const char *reason = dlerror();
        return std::string("the volume library is missing or does not load: ") +
               TerminalText(std::string(reason != nullptr ? reason : path));
    }
    return "the volume library " + TerminalText(std::string(path)) +
           " has no entry \"open_bitlocker_device\"";
}

std::string FailureOf(const CBitlockerWrapper &library, int32_t status)
{
    void *loaded = dlopen([library.libraryPath() UTF8String], RTLD_LAZY | RTLD_NOLOAD);
    std::string text = TerminalText(OpenFailureText(loaded, status));
    if (loaded != nullptr)
        dlclose(loaded);
    return text;
}

// The library stays loaded without this handle, as long as the process runs.
std::unique_ptr<VolumeReports> ReportsOf(const CBitlockerWrapper &library, IVolume &volume)
{
    void *loaded = dlopen([library.libraryPath() UTF8String], RTLD_LAZY | RTLD_NOLOAD);
    auto reports = std::make_unique<VolumeReports>(loaded, volume);
    if (loaded != nullptr)
        dlclose(loaded);
    return reports;
}

// Each begins with the shown name of the volume, which the library's words refer to.
std::vector<std::string> WarningsOf(const CBitlockerWrapper &library, const std::string &name)
{
    void *loaded = dlopen([library.libraryPath() UTF8String], RTLD_LAZY | RTLD_NOLOAD);
    if (loaded == nullptr)
        return {};
    std::vector<std::string> warnings;
    for (const std::string &warning : OpenWarnings(loaded))
        warnings.push_back(name + ": " + TerminalText(warning));
    dlclose(loaded);
    return warnings;
}

}  // namespace

bool VolumeSession::Open(const std::string &volume, const std::string &unlockKind,
                         const std::string &secret, std::string *error)
{
    CBitlockerWrapper library;
    IVolume *opened = nullptr;
    int32_t status = 0;
    if (!library.openBitlockerDevice(volume.c_str(), unlockKind.c_str(), secret.c_str(), &opened,
                                     &status)) {
        *error = ReasonNotCalled(library);
        return false;
    }
    const std::string name = TerminalText(volume);
    if (status != 0) {
        *error = "cannot open " + name + ": " + FailureOf(library, status);
        return false;
    }
    if (opened == nullptr) {
        *error = "cannot open " + name + ": the volume library gave no volume (status 0)";
        return false;
    }
    _warnings = WarningsOf(library, name);
    _reports = ReportsOf(library, *opened);
    _volume = std::make_unique<ObservedVolume>(*opened, *_reports);
    _explorer = [[Z5FileExplorerWapper alloc] initWithVolumeObject:_volume.get()];
    if (_explorer == nil)
        *error = "cannot open " + name + ": its root folder cannot be listed";
    return _explorer != nil;
}

}  // namespace vx
