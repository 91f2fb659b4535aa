#include "UnplannedRecords.h"

#include "DestinationTree.h"
#include "PathText.h"
#include "PlanNames.h"
#include "UniqueFd.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

namespace vx {
namespace {

std::vector<uint64_t> PathsOf(const ExportPlan &plan, const PlanNames &names)
{
    std::vector<uint64_t> paths;
    bool isChanged = false;
    for (ExportPlan::Number number = 1; number < plan.Size(); ++number) {
        if (!plan.At(number).IsFolder())
            paths.push_back(EarlierRecords::HashOf(names.PathOf(number, &isChanged)));
    }
    std::sort(paths.begin(), paths.end());
    return paths;
}

}  // namespace

UnplannedRecords::UnplannedRecords(const EarlierRecords &earlier, const ExportPlan &plan,
                                   const PlanNames &names, DestinationTree &tree)
    : _earlier(earlier), _tree(tree)
{
    if (earlier.Count() > 0)
        _places = earlier.PlacesOfOthers(PathsOf(plan, names));
}

bool UnplannedRecords::Next(ManifestRecord *record)
{
    while (_next < _places.size()) {
        if (_earlier.ReadAt(_places[_next++], record) && !record->isDamaged && IsInPlace(*record))
            return true;
    }
    return false;
}

bool UnplannedRecords::IsInPlace(const ManifestRecord &record)
{
    const SplitPath path(record.path);
    std::string reason;
    int error = 0;
    const auto folder = _tree.Enter(path.folder, DestinationTree::Missing::kFail, &reason, &error);
    struct stat found;
    return folder != nullptr &&
           fstatat(folder->Get(), path.name.c_str(), &found, AT_SYMLINK_NOFOLLOW) == 0 &&
           S_ISREG(found.st_mode) && found.st_size == record.size;
}

}  // namespace vx
