#include "FileSystemListing.h"

#include "NameMapping.h"

#include <iterator>

namespace vx {

FileSystemListing::FileSystemListing(FolderIndex *index, uint64_t folder,
                                     std::unique_ptr<FolderReader> reader)
    : _index(*index), _folder(folder), _reader(std::move(reader))
{
}

VolumeListing::Step FileSystemListing::Next(VolumeFindData *record)
{
    if (_map == nullptr)
        return Step::kEnd;
    const Step step = Take();
    if (step != Step::kEntry)
        return step;
    _reader->Describe(record);
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

VolumeListing::Step FileSystemListing::Take()
{
    const Step step = _reader->Next(&_entry);
    if (step == Step::kEntry)
        _map->Add(_entry.name, _entry.node);
    else
        Finish(step == Step::kEnd);
    return step;
}

void FileSystemListing::Finish(bool isComplete)
{
    _map->Seal(isComplete);
    _index.Keep(_folder, std::move(_map));
}

}  // namespace vx
