#include "LoadedLibrary.h"

#include "ProgramFolder.h"
#include "TerminalText.h"

#include <dlfcn.h>

namespace vx {

std::optional<LoadedLibrary> LoadedLibrary::BesideProgram(std::string *error)
{
    return At(ProgramFolder() + "/libBitLockerWapper.dylib", error);
}

std::optional<LoadedLibrary> LoadedLibrary::At(const std::string &path, std::string *error)
{
    void *handle = dlopen(path.c_str(), RTLD_LAZY);
    if (handle == nullptr) {
        const char *reason = dlerror();
        *error = "the volume library is missing or does not load: " +
                 TerminalText(reason != nullptr ? std::string(reason) : path);
        return std::nullopt;
    }
    const auto entry =
        reinterpret_cast<OpenBitlockerDeviceFunction>(dlsym(handle, "open_bitlocker_device"));
    if (entry == nullptr) {
        *error =
            "the volume library " + TerminalText(path) + " has no entry \"open_bitlocker_device\"";
        return std::nullopt;
    }
    return LoadedLibrary(handle, entry);
}

void *LoadedLibrary::Symbol(const char *name) const
{
    return dlsym(_handle, name);
}

}  // namespace vx
