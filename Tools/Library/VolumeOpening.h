// Opens a volume through the loaded library, and says in words why it did not open or what was
// noticed.
//
// Ownership: the volume belongs to the library. Threads: the main thread, since signals that arrive
// meanwhile cancel the opening (OpeningInterruption). Errors and warnings: one line each, safe for
// a terminal.
#pragma once

#include "LoadedLibrary.h"

#include <string>
#include <vector>

namespace vx {

// Options for the calls of the library in one scope.
class ScopedOptions {
public:
    ScopedOptions(const LoadedLibrary &library, const VolumeOpeningOptions &options);
    ~ScopedOptions();
    ScopedOptions(const ScopedOptions &) = delete;
    ScopedOptions &operator=(const ScopedOptions &) = delete;

    // False: the library is another version, which does not know them.
    bool AreSet() const { return _areSet; }

private:
    const VolumeLibrarySetOpeningOptionsFunction _set;
    const bool _areSet;
};

struct VolumeOpening {
    IVolume *volume = nullptr;  // null if it did not open
    int32_t status = 0;         // as the library returned it
    std::string error;
    std::vector<std::string> warnings;  // damage that did not prevent it
};

// kind, secret: as the library's entry takes them. options: null for the usual ones; an older
// library that does not know others opens nothing, and error says that. What takes long shows its
// progress on standard error.
VolumeOpening OpenVolume(const LoadedLibrary &library, const std::string &volume,
                         const std::string &kind, const char *secret,
                         const VolumeOpeningOptions *options = nullptr);

}  // namespace vx
