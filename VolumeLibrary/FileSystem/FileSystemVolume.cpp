#include "FileSystemVolume.h"

#include "FileSystemListing.h"

namespace vx {

FileSystemVolume::FileSystemVolume(std::unique_ptr<FileSystem> fileSystem)
    : _fileSystem(std::move(fileSystem))
{
}

std::unique_ptr<VolumeListing> FileSystemVolume::OpenListing(const VolumePath &folder)
{
    const auto found = Resolve(folder.Relative());
    if (!found)
        return nullptr;
    auto reader = _fileSystem->OpenFolder(found->node, found->way);
    if (!reader)
        return nullptr;
    return std::make_unique<FileSystemListing>(&_index, found->node.place, found->way,
                                               std::move(reader));
}

std::unique_ptr<VolumeFile> FileSystemVolume::OpenVolumeFile(const VolumePath &file)
{
    const auto found = Resolve(file.Relative());
    return found ? WithReadAhead(_fileSystem->OpenFile(found->node)) : nullptr;
}

std::unique_ptr<VolumeFile> FileSystemVolume::WithReadAhead(std::unique_ptr<VolumeFile> file)
{
    if (file == nullptr || file->Size() <= ReadAheadFile::kShortestFile ||
        (_disk != nullptr && _disk->HasFaults()))
        return file;
    return std::make_unique<ReadAheadFile>(std::move(file), &_room);
}

VolumeEntryReport FileSystemVolume::Describe(const VolumePath &entry)
{
    VolumeEntryReport report;
    if (const auto found = Resolve(entry.Relative()))
        _fileSystem->Describe(found->node, &report);
    else
        report.obstacle = VolumeObstacle::kNotThere;
    return report;
}

bool FileSystemVolume::VisitTablesRead(VolumeRangeFunction range, void *context)
{
    if (_record == nullptr || _disk == nullptr || range == nullptr)
        return false;
    ByteRanges tables = _record->All();
    CutRanges(_disk->Size(), &tables);
    for (const ByteRange &table : tables)
        range(context, table.offset, table.length);
    return true;
}

bool FileSystemVolume::VisitEntryStreams(const VolumePath &entry, const StreamVisitor &visit)
{
    const auto found = Resolve(entry.Relative());
    return found && _fileSystem->VisitStreams(found->node, visit);
}

std::unique_ptr<VolumeFile> FileSystemVolume::OpenEntryStream(const VolumePath &entry,
                                                              const std::string &name)
{
    const auto found = Resolve(entry.Relative());
    return found ? WithReadAhead(_fileSystem->OpenStream(found->node, name)) : nullptr;
}

std::optional<FileSystemVolume::Found> FileSystemVolume::Resolve(std::string_view relative)
{
    Found found = {_fileSystem->Root(), {}};
    while (!relative.empty()) {
        const size_t slash = relative.find('/');
        const std::string_view name = relative.substr(0, slash);
        const auto next = Find(found, name);
        if (!next)
            return std::nullopt;
        found = {*next, {found.node.place, HashOfName(name)}};
        relative = slash == relative.npos ? std::string_view() : relative.substr(slash + 1);
    }
    return found;
}

std::optional<Node> FileSystemVolume::Find(const Found &folder, std::string_view name)
{
    const uint64_t place = folder.node.place;
    if (const auto known = _index.Find(place, folder.way)) {
        const auto node = known->Find(name);
        if (node || known->IsComplete())
            return node;
    }
    auto reader = _fileSystem->OpenFolder(folder.node, folder.way);
    if (!reader)
        return std::nullopt;
    return FileSystemListing(&_index, place, folder.way, std::move(reader)).ReadToEnd(name);
}

}  // namespace vx
