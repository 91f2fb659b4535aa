#include "ExfatTreeWriter.h"

#include "TestImage.h"

namespace vx {
namespace {

constexpr uint16_t kFolder = 0x10;
constexpr uint16_t kFile = 0x20;

std::u16string NameOf(const std::string &path)
{
    return Utf16(path.substr(path.rfind('/') + 1));
}

std::string ParentOf(const std::string &path)
{
    return path.substr(0, path.rfind('/'));
}

}  // namespace

ExfatTreeWriter::ExfatTreeWriter(const std::string &made) : _image(made)
{
    _folders[""] = _image.root;
}

uint32_t ExfatTreeWriter::FolderAt(const std::string &path)
{
    const auto known = _folders.find(path);
    if (known != _folders.end())
        return known->second;
    const uint32_t parent = FolderAt(ParentOf(path));
    const uint32_t cluster = _next++;
    _image.Add(parent,
               {NameOf(path), kFolder, true, cluster, _image.clusterBytes, _image.clusterBytes});
    return _folders[path] = cluster;
}

void ExfatTreeWriter::Add(const std::string &path, const std::string &contents, bool inPieces)
{
    const uint32_t folder = FolderAt(ParentOf(path));
    const uint32_t step = inPieces ? 2 : 1;
    const size_t size = _image.clusterBytes;
    std::vector<uint32_t> clusters;
    for (size_t at = 0; at < contents.size(); at += size, _next += step) {
        _image.Write(_next, contents.substr(at, size));
        clusters.push_back(_next);
    }
    if (inPieces)
        _image.Chain(clusters);
    _image.Add(folder, {NameOf(path), kFile, !inPieces, clusters.empty() ? 0 : clusters[0],
                        contents.size(), contents.size()});
}

}  // namespace vx
