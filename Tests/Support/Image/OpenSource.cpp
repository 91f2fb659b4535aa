#include "OpenSource.h"

#include "FatFileSystem.h"
#include "FileSystemVolume.h"
#include "MemoryByteSource.h"
#include "NtfsFileSystem.h"

namespace vx {
namespace {

template <typename Opener>
std::unique_ptr<OwnedVolume> VolumeOf(const Source &source, Opener open)
{
    const auto disk = std::make_shared<CarefulSource>(source);
    std::vector<std::string> notes;
    Result<std::unique_ptr<FileSystem>> fileSystem = open(disk, &notes);
    if (!fileSystem)
        return nullptr;
    auto volume = std::make_unique<FileSystemVolume>(std::move(*fileSystem));
    volume->SetDisk(disk);
    return volume;
}

}  // namespace

Source SourceOf(const std::string &bytes)
{
    return std::make_shared<MemoryByteSource>(std::vector<uint8_t>(bytes.begin(), bytes.end()));
}

std::unique_ptr<OwnedVolume> NtfsVolumeOf(const Source &source)
{
    return VolumeOf(source, NtfsFileSystem::Open);
}

std::unique_ptr<OwnedVolume> FatVolumeOf(const Source &source)
{
    return VolumeOf(source, FatFileSystem::Open);
}

}  // namespace vx
