#include "DiskReading.h"

#include "OpeningProgress.h"
#include "VolumeOpeningOptions.h"

#include <dlfcn.h>

namespace vx {
namespace {

VolumeLibrarySetOpeningOptionsFunction FunctionOf(void *library)
{
    return reinterpret_cast<VolumeLibrarySetOpeningOptionsFunction>(
        library != nullptr ? dlsym(library, "volume_library_set_opening_options") : nullptr);
}

}  // namespace

bool DiskReading::IsUsual() const
{
    return unread.empty() && retries == 0 && slowAfter == 0 && !recordsReads && !opensContents;
}

bool DiskReading::Request(void *library, OpeningProgress *progress, std::string *error) const
{
    VolumeOpeningOptions options;
    progress->AddTo(&options);
    options.retries = retries;
    options.slowMilliseconds = slowAfter;
    options.recordsReads = recordsReads ? 1 : 0;
    options.opensContents = opensContents ? 1 : 0;
    options.unread = unread.data();
    options.unreadCount = unread.size();
    const auto set = FunctionOf(library);
    if ((set != nullptr && set(&options)) || IsUsual())
        return true;
    *error = opensContents ? "the volume library is another version, which cannot do without the "
                             "file system of a volume"
                           : "the volume library is another version, which cannot read a disk by a "
                             "map, with retries or without slow places";
    return false;
}

void DiskReading::Reset(void *library)
{
    if (const auto set = FunctionOf(library))
        (void)set(nullptr);
}

}  // namespace vx
