#include "FileSystemListing.h"

#include "NameMapping.h"

#include <iterator>

namespace vx {
namespace {

bool HasAll(const std::shared_ptr<const FolderMap> &known)
{
    return known != nullptr && known->IsComplete();
}

}  // namespace

FileSystemListing::FileSystemListing(FolderIndex *index, uint64_t folder, const Way &way,
                                     std::unique_ptr<FolderReader> reader)
    : _index(*index),
      _folder(folder),
      _way(way),
      _reader(std::move(reader)),
      _isKnown(HasAll(index->Find(folder, way)))
{
}

VolumeListing::Step FileSystemListing::Next(VolumeFindData *record)
{
    if (_map == nullptr)
        return Step::kEnd;
    do {
        const Step step = Take();
        if (step != Step::kEntry)
            return step;
        _reader->Describe(record);
    } while ((record->attributes & kVolumeAttributeDirectory) != 0 && !IsFirstOfName());
    NameToUtf16(_entry.name.c_str(), record->name, std::size(record->name));
    return Step::kEntry;
}

std::optional<Node> FileSystemListing::ReadToEnd(std::string_view name)
{
    std::optional<Node> found;
    Step step = Take();
    for (; step == Step::kEntry; step = Take()) {
        if (!found && _entry.name == name)
            found = _entry.node;
    }
    return found;
}

bool FileSystemListing::IsFirstOfName()
{
    const uint64_t name = HashOfName(_entry.name);
    if (_folderNames.Has(name)) {
        ++_sameNames;
        return false;
    }
    _folderNames.Add(name);
    return true;
}

VolumeListingReport FileSystemListing::Report() const
{
    VolumeListingReport report = _reader->Report();
    if (_sameNames > 0 && report.isWhole)
        report.reason = VolumeObstacle::kSameName;
    report.isWhole = report.isWhole && _sameNames == 0;
    report.missingEntries += _sameNames;
    return report;
}

VolumeListing::Step FileSystemListing::Take()
{
    const Step step = _reader->Next(&_entry);
    if (step == Step::kEntry && !_isKnown)
        _map->Add(_entry.name, _entry.node);
    if (step != Step::kEntry)
        Finish(step == Step::kEnd && _reader->Report().isWhole);
    return step;
}

void FileSystemListing::Finish(bool isComplete)
{
    const std::shared_ptr<FolderMap> map = std::move(_map);
    if (_isKnown)
        return;
    map->Seal(isComplete);
    _index.Keep(_folder, _way, map);
}

}  // namespace vx
