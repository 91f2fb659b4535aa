// Opens what a caller of the library names: a plain folder, a disk or an image. Begin here to
// follow an opening from top to bottom; DiskOpening.h continues for everything but folders.
#pragma once

#include "CancelFlag.h"
#include "Error.h"
#include "OwnedVolume.h"
#include "ReadingLimits.h"
#include "StepProgress.h"

#include <memory>
#include <string>
#include <vector>

namespace vx {

struct OwnedDiskReport;

// What VolumeOpeningOptions.h says, with ranges of its own.
struct OpeningOptions {
    ReadingLimits limits;
    bool recordsReads = false;
    ProgressReceiver progress;
    bool keepsRecoveryPasswords = false;
    bool keepsMasterKey = false;
    bool opensContents = false;
    bool unlocksOnly = false;

    // Whether places of the disk are named, so that it must be kept byte by byte.
    bool NamesPlaces() const { return recordsReads || limits.withheld != nullptr; }
};

// The three texts of the library's entry, UTF-8, none of them null, a flag to cancel the opening
// and the options.
struct OpenRequest {
    const char *device;
    const char *unlockKind;
    const char *secret;
    const CancelFlag *cancel = nullptr;  // may be null
    OpeningOptions options = {};
};

struct OpenedVolume {
    std::unique_ptr<OwnedVolume> volume;
    std::vector<std::string> notes;  // damage that did not prevent opening, a sentence each
};

// A line each, for the caller of the library.
std::string NotesText(const std::vector<std::string> &notes);

// Errors: any Status. May throw std::bad_alloc.
Result<OpenedVolume> OpenVolume(const OpenRequest &request);

// What a disk or an image is, without a secret (DiskDescription.h). A folder is neither:
// kNotBitlocker. Otherwise the same errors.
Result<std::unique_ptr<const OwnedDiskReport>> DescribeDevice(const char *device,
                                                              const OpeningOptions &options);

}  // namespace vx
