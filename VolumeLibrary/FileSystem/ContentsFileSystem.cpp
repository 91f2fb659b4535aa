#include "ContentsFileSystem.h"

#include "ExtentFile.h"
#include "VolumeOpeningOptions.h"

#include <string_view>
#include <utility>

namespace vx {
namespace {

enum Place : uint64_t { kRootPlace, kFilePlace };

constexpr uint32_t kAttributeNormal = 0x80;

// Its path without the slash; ASCII.
constexpr std::u16string_view kName = std::u16string_view(kVolumeContentsPath).substr(1);

class ContentsFolder final : public FolderReader {
public:
    explicit ContentsFolder(uint64_t size) : _size(size) {}

    VolumeListing::Step Next(FolderEntry *entry) override
    {
        if (std::exchange(_isAtEnd, true))
            return VolumeListing::Step::kEnd;
        entry->name = std::string(kName.begin(), kName.end());
        entry->node = {kFilePlace, _size, _size};
        return VolumeListing::Step::kEntry;
    }

    void Describe(VolumeFindData *record) const override
    {
        record->attributes = kAttributeNormal;
        record->creationTime = record->lastAccessTime = record->lastWriteTime = 0;
        record->sizeHigh = static_cast<uint32_t>(_size >> 32);
        record->sizeLow = static_cast<uint32_t>(_size);
        record->reserved = 0;
    }

private:
    const uint64_t _size;
    bool _isAtEnd = false;
};

}  // namespace

ContentsFileSystem::ContentsFileSystem(std::shared_ptr<const ByteSource> volume)
    : _volume(std::move(volume))
{
}

Node ContentsFileSystem::Root() const
{
    return {kRootPlace, 0, 0};
}

std::unique_ptr<FolderReader> ContentsFileSystem::OpenFolder(const Node &folder, const Way &) const
{
    return folder.place == kRootPlace ? std::make_unique<ContentsFolder>(_volume->Size()) : nullptr;
}

std::unique_ptr<VolumeFile> ContentsFileSystem::OpenFile(const Node &file) const
{
    if (file.place != kFilePlace)
        return nullptr;
    const uint64_t size = _volume->Size();
    FileExtents extents = {size, size, {}};
    AppendRun({0, size, 0, FileRun::Kind::kStored}, &extents.runs);
    return std::make_unique<ExtentFile>(_volume, std::move(extents));
}

}  // namespace vx
