#include "DiskSearch.h"

#include "OpeningInterruption.h"
#include "OpeningProgress.h"
#include "OpeningWords.h"
#include "ThreadChecks.h"
#include "VolumeLibraryStatus.h"
#include "VolumeOpening.h"

namespace vx {
namespace {

constexpr char kOtherVersion[] =
    "the volume library is another version, which cannot search a disk; install both together";

void AddFinding(void *context, const DiskFinding *finding)
{
    static_cast<std::vector<FoundVolume> *>(context)->push_back(
        {finding->offset, finding->bytes, finding->hasBootSector, finding->isInTable,
         finding->address, finding->method, finding->identifier, finding->description,
         std::vector<uint64_t>(finding->copies, finding->copies + finding->copyCount)});
}

}  // namespace

DiskSearch SearchDisk(const LoadedLibrary &library, const std::string &disk)
{
    AssertMainThread();
    DiskSearch search;
    OpeningProgress progress;
    VolumeOpeningOptions options;
    progress.AddTo(&options);
    const ScopedOptions scope(library, options);
    const VolumeLibrarySearchDiskFunction function = library.SearchDisk();
    if (function == nullptr || !scope.AreSet()) {
        search.error = kOtherVersion;
        return search;
    }
    {
        const OpeningInterruption interruption(library.Handle());
        search.status = function(disk.c_str(), AddFinding, &search.found, &search.gaps);
    }
    search.isCancelled = search.status == static_cast<int32_t>(VolumeLibraryStatus::kCancelled);
    if (search.status != 0 && !search.isCancelled)
        search.error = OpeningFailure(library.Handle(), "search", disk, search.status);
    else
        search.warnings = OpeningWarnings(library.Handle(), disk);
    return search;
}

}  // namespace vx
