#include "HandleVolume.h"

#include "NameMapping.h"

#include <cstring>
#include <iterator>
#include <string_view>

namespace vx {
namespace {

// The result of call, or of failure if it throws, which happens only when memory runs out.
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

// A stream's name takes 255 units on the disk, and three for a surrogate without its partner.
constexpr size_t kStreamNameUnits = 3 * 255 + 1;

// A file or a folder, which may be the root.
std::optional<VolumePath> EntryPath(const char16_t *path)
{
    const bool isRoot = path != nullptr && std::u16string_view(path) == u"/";
    return isRoot ? VolumePath::FromPattern(u"/*") : VolumePath::FromFile(path);
}

int64_t JoinHalves(uint32_t low, uint32_t high)
{
    return static_cast<int64_t>(static_cast<uint64_t>(high) << 32 | low);
}

}  // namespace

VolumeHandle HandleVolume::FindFirstFile(const char16_t *pattern, VolumeFindData *record)
{
    return OrIfThrown<VolumeHandle>(nullptr, [&]() -> VolumeHandle {
        const auto path = VolumePath::FromPattern(pattern);
        if (!path || record == nullptr || IsGone())
            return nullptr;
        auto listing = OpenListing(*path);
        if (!listing || listing->Next(record) == VolumeListing::Step::kError)
            return nullptr;
        return listing.release();
    });
}

bool HandleVolume::FindNextFile(VolumeHandle search, VolumeFindData *record)
{
    if (search == nullptr || record == nullptr)
        return false;
    auto *listing = static_cast<VolumeListing *>(search);
    if (IsGone())
        listing->Stop(VolumeObstacle::kDeviceGone);
    if (listing->StopReason() != VolumeObstacle::kNone)
        return false;
    try {
        return listing->Next(record) == VolumeListing::Step::kEntry;
    } catch (...) {  // memory ran out; the present entry is missing
        listing->Stop(VolumeObstacle::kOutOfMemory);
        return false;
    }
}

bool HandleVolume::FindClose(VolumeHandle search)
{
    delete static_cast<VolumeListing *>(search);
    return search != nullptr;
}

VolumeHandle HandleVolume::OpenFile(const char16_t *path, uint32_t, uint32_t, uint32_t)
{
    return OrIfThrown<VolumeHandle>(nullptr, [&]() -> VolumeHandle {
        const auto checked = VolumePath::FromFile(path);
        return checked && !IsGone() ? OpenVolumeFile(*checked).release() : nullptr;
    });
}

bool HandleVolume::ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done)
{
    if (done != nullptr)
        *done = 0;
    if (buffer == nullptr && count > 0)
        return false;
    if (file == nullptr || done == nullptr) {
        if (count > 0)
            std::memset(buffer, 0, count);
        return false;
    }
    auto *opened = static_cast<VolumeFile *>(file);
    const bool isLost = IsGone() && !opened->IsAhead();
    return isLost ? opened->GiveUp(buffer, count, done) : opened->Read(buffer, count, done);
}

bool HandleVolume::WriteFile(VolumeHandle, const void *, uint32_t, uint32_t *done)
{
    if (done != nullptr)
        *done = 0;
    return false;
}

bool HandleVolume::SetFilePosition(VolumeHandle file, uint32_t *low, uint32_t *high,
                                   uint32_t origin)
{
    if (file == nullptr || low == nullptr || high == nullptr)
        return false;
    auto *opened = static_cast<VolumeFile *>(file);
    const bool moved = opened->Move(JoinHalves(*low, *high), origin);
    SplitHalves(opened->Position(), low, high);
    return moved;
}

bool HandleVolume::QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high)
{
    if (file == nullptr || low == nullptr || high == nullptr)
        return false;
    const auto size = static_cast<VolumeFile *>(file)->Size();
    if (size)
        SplitHalves(*size, low, high);
    return size.has_value();
}

bool HandleVolume::CloseHandle(VolumeHandle file)
{
    delete static_cast<VolumeFile *>(file);
    return file != nullptr;
}

bool HandleVolume::DescribeEntry(const char16_t *path, VolumeEntryReport *report)
{
    return OrIfThrown(false, [&] {
        const auto checked = VolumePath::FromFile(path);
        if (!checked || report == nullptr)
            return false;
        VolumeEntryReport described = IsGone() ? VolumeEntryReport() : Describe(*checked);
        if (IsGone())
            described.obstacle = VolumeObstacle::kDeviceGone;
        *report = described;
        return true;
    });
}

bool HandleVolume::DescribeListing(VolumeHandle search, VolumeListingReport *report)
{
    if (search == nullptr || report == nullptr)
        return false;
    const auto *listing = static_cast<VolumeListing *>(search);
    *report = listing->Report();
    VolumeObstacle reason = listing->StopReason();
    if (!report->isWhole && IsGone())
        reason = VolumeObstacle::kDeviceGone;
    if (reason != VolumeObstacle::kNone) {
        report->isWhole = false;
        report->reason = reason;
    }
    return true;
}

bool HandleVolume::VisitStreams(const char16_t *path, VolumeStreamFunction stream, void *context)
{
    return OrIfThrown(false, [&] {
        const auto checked = EntryPath(path);
        if (!checked || stream == nullptr || IsGone())
            return false;
        return VisitEntryStreams(*checked, [&](const std::string &name, uint64_t size) {
            char16_t units[kStreamNameUnits];
            NameToUtf16(name.c_str(), units, std::size(units));
            stream(context, units, size);
        });
    });
}

bool HandleVolume::OpenStream(const char16_t *path, const char16_t *stream, VolumeHandle *handle)
{
    return OrIfThrown(false, [&] {
        const auto checked = EntryPath(path);
        std::string name;
        if (!checked || stream == nullptr || handle == nullptr || IsGone() ||
            !AppendNameBytes(stream, std::u16string_view(stream).size(), &name))
            return false;
        auto opened = OpenEntryStream(*checked, name);
        if (!opened)
            return false;
        *handle = opened.release();
        return true;
    });
}

bool HandleVolume::DescribeFileSystem(VolumeFileSystemReport *report)
{
    return OrIfThrown(false, [&] {
        VolumeFileSystemReport described;
        if (report == nullptr || report->bytes != described.bytes || IsGone() ||
            !DescribeWhole(&described))
            return false;
        *report = described;
        return true;
    });
}

bool HandleVolume::DescribeUnlocking(VolumeUnlockingReport *report)
{
    if (report == nullptr || report->bytes != sizeof *report || _unlocking == nullptr)
        return false;
    _unlocking->Describe(report);
    return true;
}

bool HandleVolume::VisitRecoveryPasswords(VolumeRecoveryPasswordFunction password, void *context)
{
    return OrIfThrown(false, [&] {
        return password != nullptr && _unlocking != nullptr &&
               _unlocking->VisitRecoveryPasswords(password, context);
    });
}

bool HandleVolume::VisitMasterKey(VolumeMasterKeyFunction key, void *context)
{
    return key != nullptr && _unlocking != nullptr && _unlocking->VisitMasterKey(key, context);
}

bool HandleVolume::VisitUnreadRanges(VolumeHandle file, VolumeRangeFunction range, void *context)
{
    if (file == nullptr || range == nullptr)
        return false;
    for (const ByteRange &unread : static_cast<VolumeFile *>(file)->UnreadRanges())
        range(context, unread.offset, unread.length);
    return true;
}

bool HandleVolume::VisitPlaces(VolumeHandle file, VolumePlaceFunction place, void *context)
{
    if (file == nullptr || place == nullptr)
        return false;
    return OrIfThrown(false, [&] {
        static_cast<VolumeFile *>(file)->VisitPlaces([&](const StoredPlace &stored) {
            place(context, stored.position, stored.offset, stored.length);
        });
        return true;
    });
}

}  // namespace vx
