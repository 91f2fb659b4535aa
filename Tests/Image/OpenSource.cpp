#include "OpenSource.h"

#include "Image/FatFileSystem.h"
#include "Image/FileSystemVolume.h"
#include "Image/NtfsFileSystem.h"

#include "Bitlocker/MemoryByteSource.h"

namespace vx {
namespace {

using Open = OpenError (*)(std::shared_ptr<const bitlocker::ByteSource> volume,
                           std::unique_ptr<FileSystem> *fileSystem);

std::unique_ptr<OwnedVolume> VolumeOf(const Source &source, Open open)
{
    const auto disk = std::make_shared<CarefulSource>(source);
    std::unique_ptr<FileSystem> fileSystem;
    if (open(disk, &fileSystem))
        return nullptr;
    auto volume = std::make_unique<FileSystemVolume>(std::move(fileSystem));
    volume->SetDisk(disk);
    return volume;
}

}  // namespace

Source SourceOf(const std::string &bytes)
{
    return std::make_shared<bitlocker::MemoryByteSource>(
        std::vector<uint8_t>(bytes.begin(), bytes.end()));
}

std::unique_ptr<OwnedVolume> NtfsVolumeOf(const Source &source)
{
    return VolumeOf(source, [](auto disk, auto *opened) {
        std::vector<std::string> notes;
        return NtfsFileSystem::Open(std::move(disk), &notes, opened);
    });
}

std::unique_ptr<OwnedVolume> FatVolumeOf(const Source &source)
{
    return VolumeOf(source, [](auto disk, auto *opened) {
        std::vector<std::string> notes;
        return FatFileSystem::Open(disk, &notes, opened);
    });
}

}  // namespace vx
