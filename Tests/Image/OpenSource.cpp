#include "OpenSource.h"

#include "Image/FatFileSystem.h"
#include "Image/FileSystemVolume.h"
#include "Image/NtfsFileSystem.h"

#include "Bitlocker/MemoryByteSource.h"

namespace vx {
namespace {

std::unique_ptr<OwnedVolume> VolumeOf(const OpenError &error, std::unique_ptr<FileSystem> opened)
{
    return error ? nullptr : std::make_unique<FileSystemVolume>(std::move(opened));
}

}  // namespace

Source SourceOf(const std::string &bytes)
{
    return std::make_shared<bitlocker::MemoryByteSource>(
        std::vector<uint8_t>(bytes.begin(), bytes.end()));
}

std::unique_ptr<OwnedVolume> NtfsVolumeOf(const Source &source)
{
    std::unique_ptr<FileSystem> fileSystem;
    const OpenError error = NtfsFileSystem::Open(source, &fileSystem);
    return VolumeOf(error, std::move(fileSystem));
}

std::unique_ptr<OwnedVolume> FatVolumeOf(const Source &source)
{
    std::unique_ptr<FileSystem> fileSystem;
    const OpenError error = FatFileSystem::Open(source, &fileSystem);
    return VolumeOf(error, std::move(fileSystem));
}

}  // namespace vx
