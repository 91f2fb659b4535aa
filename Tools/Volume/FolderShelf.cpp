#include "FolderShelf.h"

#include <utility>

namespace vx {

const FolderRecords *FolderShelf::At(const std::u16string &path)
{
    auto found = _folders.find(path);
    if (found == _folders.end())
        found = _folders.emplace(path, ReadFolder(_volume, _reports, path)).first;
    return found->second ? &*found->second : nullptr;
}

std::optional<VolumeListingReport> FolderShelf::Take(const std::u16string &path,
                                                     const RecordVisitor &visit)
{
    const auto found = _folders.find(path);
    if (found == _folders.end())
        return VisitFolder(_volume, _reports, path, visit);
    const Listed listed = std::move(found->second);
    _folders.erase(found);
    if (!listed)
        return std::nullopt;
    for (const FolderRecord &record : listed->records)
        visit(record);
    return listed->report;
}

}  // namespace vx
