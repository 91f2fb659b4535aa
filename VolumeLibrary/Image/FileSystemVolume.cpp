#include "FileSystemVolume.h"

#include "FileSystemListing.h"

#include <algorithm>

namespace vx {

FileSystemVolume::FileSystemVolume(std::unique_ptr<FileSystem> fileSystem)
    : _fileSystem(std::move(fileSystem))
{
}

std::unique_ptr<VolumeListing> FileSystemVolume::OpenListing(const VolumePath &folder)
{
    const std::optional<Node> node = Resolve(folder.Relative(), Wanted::kFolder);
    if (!node)
        return nullptr;
    auto reader = _fileSystem->OpenFolder(*node);
    if (!reader)
        return nullptr;
    return std::make_unique<FileSystemListing>(&_index, node->place, std::move(reader));
}

std::unique_ptr<VolumeFile> FileSystemVolume::OpenVolumeFile(const VolumePath &file)
{
    const std::optional<Node> node = Resolve(file.Relative(), Wanted::kFile);
    return node ? _fileSystem->OpenFile(*node) : nullptr;
}

std::optional<Node> FileSystemVolume::Resolve(std::string_view relative, Wanted wanted)
{
    Node node = _fileSystem->Root();
    std::vector<uint64_t> ancestors;
    const auto isAncestor = [&] {
        return std::find(ancestors.begin(), ancestors.end(), node.place) != ancestors.end();
    };
    while (!relative.empty()) {
        if (isAncestor())
            return std::nullopt;
        ancestors.push_back(node.place);
        const size_t slash = relative.find('/');
        const auto next = Find(node, relative.substr(0, slash));
        if (!next)
            return std::nullopt;
        node = *next;
        relative = slash == relative.npos ? std::string_view() : relative.substr(slash + 1);
    }
    if (wanted == Wanted::kFolder && isAncestor())
        return std::nullopt;
    return node;
}

std::optional<Node> FileSystemVolume::Find(const Node &folder, std::string_view name)
{
    if (const auto known = _index.Find(folder.place)) {
        const auto node = known->Find(name);
        if (node || known->IsComplete())
            return node;
    }
    auto reader = _fileSystem->OpenFolder(folder);
    if (!reader)
        return std::nullopt;
    return FileSystemListing(&_index, folder.place, std::move(reader)).ReadToEnd(name);
}

}  // namespace vx
