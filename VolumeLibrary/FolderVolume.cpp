#include "FolderVolume.h"

#include "FolderFile.h"
#include "FolderListing.h"
#include "VolumePath.h"

namespace vx {
namespace {

// The result of call, or of failure if it throws, which only happens for want of memory.
template <typename Result, typename Call>
Result OrIfThrown(Result failure, Call call) noexcept
{
    try {
        return call();
    } catch (...) {
        return failure;
    }
}

void SplitHalves(int64_t value, uint32_t *low, uint32_t *high)
{
    *low = static_cast<uint32_t>(value);
    *high = static_cast<uint32_t>(static_cast<uint64_t>(value) >> 32);
}

int64_t JoinHalves(uint32_t low, uint32_t high)
{
    return static_cast<int64_t>(static_cast<uint64_t>(high) << 32 | low);
}

}  // namespace

VolumeLibraryStatus FolderVolume::Open(const char *path, std::unique_ptr<OwnedVolume> *volume)
{
    std::optional<FolderRoot> root;
    const VolumeLibraryStatus status = FolderRoot::Open(path, &root);
    if (status == VolumeLibraryStatus::kSuccess)
        *volume = std::make_unique<FolderVolume>(std::move(*root));
    return status;
}

VolumeHandle FolderVolume::FindFirstFile(const char16_t *pattern, VolumeFindData *record)
{
    return OrIfThrown<VolumeHandle>(nullptr, [&]() -> VolumeHandle {
        const auto path = VolumePath::FromPattern(pattern);
        if (!path || record == nullptr)
            return nullptr;
        auto listing = FolderListing::Open(_root, path->Relative());
        if (!listing || listing->Next(record) == FolderListing::Step::kError)
            return nullptr;
        return listing.release();
    });
}

bool FolderVolume::FindNextFile(VolumeHandle search, VolumeFindData *record)
{
    if (search == nullptr || record == nullptr)
        return false;
    return OrIfThrown(false, [&] {
        return static_cast<FolderListing *>(search)->Next(record) == FolderListing::Step::kEntry;
    });
}

bool FolderVolume::FindClose(VolumeHandle search)
{
    delete static_cast<FolderListing *>(search);
    return search != nullptr;
}

VolumeHandle FolderVolume::OpenFile(const char16_t *path, uint32_t, uint32_t, uint32_t)
{
    return OrIfThrown<VolumeHandle>(nullptr, [&]() -> VolumeHandle {
        const auto checked = VolumePath::FromFile(path);
        if (!checked)
            return nullptr;
        UniqueFd file = _root.OpenFile(checked->Relative());
        return file ? new FolderFile(std::move(file)) : nullptr;
    });
}

bool FolderVolume::ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done)
{
    if (done != nullptr)
        *done = 0;
    if (file == nullptr || done == nullptr || (buffer == nullptr && count > 0))
        return false;
    return static_cast<FolderFile *>(file)->Read(buffer, count, done);
}

bool FolderVolume::WriteFile(VolumeHandle, const void *, uint32_t, uint32_t *done)
{
    if (done != nullptr)
        *done = 0;
    return false;
}

bool FolderVolume::SetFilePosition(VolumeHandle file, uint32_t *low, uint32_t *high,
                                   uint32_t origin)
{
    if (file == nullptr || low == nullptr || high == nullptr)
        return false;
    auto *opened = static_cast<FolderFile *>(file);
    const bool moved = opened->Move(JoinHalves(*low, *high), origin);
    SplitHalves(opened->Position(), low, high);
    return moved;
}

bool FolderVolume::QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high)
{
    if (file == nullptr || low == nullptr || high == nullptr)
        return false;
    const auto size = static_cast<FolderFile *>(file)->Size();
    if (size)
        SplitHalves(*size, low, high);
    return size.has_value();
}

bool FolderVolume::CloseHandle(VolumeHandle file)
{
    delete static_cast<FolderFile *>(file);
    return file != nullptr;
}

}  // namespace vx
