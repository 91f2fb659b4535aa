#include "ReportingVolume.h"

#include "NameMapping.h"

#include <algorithm>
#include <new>
#include <utility>

namespace vx {
namespace {

constexpr std::u16string_view kPatternEnd = u"/*";

// Of what does not open. A link has nothing of its own, and that the disk is gone is reported once.
// Only what was listed is opened, so what is not there was lost; kNone: the volume cannot say why.
bool IsLack(VolumeObstacle obstacle)
{
    return obstacle != VolumeObstacle::kLink && obstacle != VolumeObstacle::kDeviceGone;
}

// Of an open file: not all of its data is right.
bool IsOfData(VolumeObstacle obstacle)
{
    return obstacle == VolumeObstacle::kDamaged || obstacle == VolumeObstacle::kUnreadable;
}

void TakeRange(void *context, uint64_t offset, uint64_t length)
{
    static_cast<ByteRanges *>(context)->push_back({offset, length});
}

// The entry's name as the disk has it, so that none is confused with another one.
std::string DiskPath(const std::u16string &path)
{
    std::string bytes;
    (void)AppendNameBytes(path.data(), path.size(), &bytes);
    return bytes.empty() ? "/" : bytes;
}

}  // namespace

struct ReportingVolume::Listing {
    VolumeHandle below;
    std::u16string folder;
};

struct ReportingVolume::File {
    VolumeHandle below;
    std::u16string path;
    bool isStream = false;
    bool hasFailed = false;  // a read or a question for the size
};

ReportingVolume::ReportingVolume(std::unique_ptr<OwnedVolume> volume,
                                 std::shared_ptr<ChildChannel> channel)
    : _volume(std::move(volume)), _channel(std::move(channel))
{
}

VolumeHandle ReportingVolume::Below(const Listing *listing)
{
    return listing != nullptr ? listing->below : nullptr;
}

VolumeHandle ReportingVolume::Below(const File *file)
{
    return file != nullptr ? file->below : nullptr;
}

VolumeHandle ReportingVolume::FindFirstFile(const char16_t *pattern, VolumeFindData *record)
{
    VolumeHandle below = nullptr;
    try {
        const std::u16string text = pattern != nullptr ? pattern : u"";
        const size_t length = text.size() - std::min(text.size(), kPatternEnd.size());
        auto listing = std::make_unique<Listing>(Listing{nullptr, text.substr(0, length)});
        below = _volume->FindFirstFile(pattern, record);
        listing->below = below;
        if (below != nullptr)
            return listing.release();
        if (record != nullptr && text.substr(length) == kPatternEnd)
            ReportUnlisted(listing->folder);
    } catch (const std::bad_alloc &) {
        _channel->Report(ChannelLoss{1});
    }
    return nullptr;
}

bool ReportingVolume::FindNextFile(VolumeHandle search, VolumeFindData *record)
{
    return _volume->FindNextFile(Below(static_cast<Listing *>(search)), record);
}

bool ReportingVolume::FindClose(VolumeHandle search)
{
    const std::unique_ptr<Listing> listing(static_cast<Listing *>(search));
    if (listing != nullptr)
        ReportListing(*listing);
    return _volume->FindClose(Below(listing.get()));
}

VolumeHandle ReportingVolume::OpenFile(const char16_t *path, uint32_t mode1, uint32_t mode2,
                                       uint32_t mode3)
{
    try {
        auto file = std::make_unique<File>(File{nullptr, path != nullptr ? path : u""});
        file->below = _volume->OpenFile(path, mode1, mode2, mode3);
        if (file->below != nullptr)
            return file.release();
        ReportUnopened(file->path);
    } catch (const std::bad_alloc &) {
        _channel->Report(ChannelLoss{1});
    }
    return nullptr;
}

bool ReportingVolume::ReadFile(VolumeHandle file, void *buffer, uint32_t count, uint32_t *done)
{
    auto *opened = static_cast<File *>(file);
    const bool isRead = _volume->ReadFile(Below(opened), buffer, count, done);
    if (opened != nullptr && !isRead && done != nullptr)
        NoteFailure(opened);
    return isRead;
}

bool ReportingVolume::WriteFile(VolumeHandle file, const void *buffer, uint32_t count,
                                uint32_t *done)
{
    return _volume->WriteFile(Below(static_cast<File *>(file)), buffer, count, done);
}

bool ReportingVolume::SetFilePosition(VolumeHandle file, uint32_t *low, uint32_t *high,
                                      uint32_t origin)
{
    return _volume->SetFilePosition(Below(static_cast<File *>(file)), low, high, origin);
}

bool ReportingVolume::QueryFileSize(VolumeHandle file, uint32_t *low, uint32_t *high)
{
    auto *opened = static_cast<File *>(file);
    const bool isKnown = _volume->QueryFileSize(Below(opened), low, high);
    if (opened != nullptr && !isKnown && low != nullptr && high != nullptr)
        NoteFailure(opened);
    return isKnown;
}

bool ReportingVolume::CloseHandle(VolumeHandle file)
{
    const std::unique_ptr<File> opened(static_cast<File *>(file));
    if (opened != nullptr)
        ReportFile(*opened);
    _ofOpenFiles->Forget(opened.get());
    return _volume->CloseHandle(Below(opened.get()));
}

bool ReportingVolume::DescribeEntry(const char16_t *path, VolumeEntryReport *report)
{
    return _volume->DescribeEntry(path, report);
}

bool ReportingVolume::DescribeListing(VolumeHandle search, VolumeListingReport *report)
{
    return _volume->DescribeListing(Below(static_cast<Listing *>(search)), report);
}

bool ReportingVolume::VisitUnreadRanges(VolumeHandle file, VolumeRangeFunction range, void *context)
{
    return _volume->VisitUnreadRanges(Below(static_cast<File *>(file)), range, context);
}

bool ReportingVolume::VisitPlaces(VolumeHandle file, VolumePlaceFunction place, void *context)
{
    return _volume->VisitPlaces(Below(static_cast<File *>(file)), place, context);
}

bool ReportingVolume::VisitTablesRead(VolumeRangeFunction range, void *context)
{
    return _volume->VisitTablesRead(range, context);
}

bool ReportingVolume::IsGone()
{
    return _volume->IsGone();
}

bool ReportingVolume::VisitStreams(const char16_t *path, VolumeStreamFunction stream, void *context)
{
    return _volume->VisitStreams(path, stream, context);
}

bool ReportingVolume::OpenStream(const char16_t *path, const char16_t *stream, VolumeHandle *handle)
{
    if (path == nullptr || stream == nullptr || handle == nullptr)
        return false;
    try {
        auto file =
            std::make_unique<File>(File{nullptr, path + std::u16string(u":") + stream, true});
        if (!_volume->OpenStream(path, stream, &file->below))
            return false;
        *handle = file.release();
        return true;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

bool ReportingVolume::DescribeFileSystem(VolumeFileSystemReport *report)
{
    return _volume->DescribeFileSystem(report);
}

bool ReportingVolume::DescribeUnlocking(VolumeUnlockingReport *report)
{
    return _volume->DescribeUnlocking(report);
}

bool ReportingVolume::VisitRecoveryPasswords(VolumeRecoveryPasswordFunction password, void *context)
{
    return _volume->VisitRecoveryPasswords(password, context);
}

bool ReportingVolume::VisitMasterKey(VolumeMasterKeyFunction key, void *context)
{
    return _volume->VisitMasterKey(key, context);
}

VolumeObstacle ReportingVolume::ObstacleAt(const std::u16string &path)
{
    VolumeEntryReport report;
    (void)_volume->DescribeEntry(path.c_str(), &report);
    return _volume->IsGone() ? VolumeObstacle::kDeviceGone : report.obstacle;
}

template <typename Make>
void ReportingVolume::TryToReport(Make make) noexcept
{
    try {
        make();
    } catch (const std::bad_alloc &) {
        _channel->Report(ChannelLoss{1});
    }
    ReportIfGone();
    (void)_channel->SendKept();
}

void ReportingVolume::ReportUnlisted(const std::u16string &folder)
{
    TryToReport([&] {
        const VolumeObstacle obstacle = ObstacleAt(folder);
        if (IsLack(obstacle))
            Report(ChannelDamageKind::kFolder, obstacle, folder);
    });
}

void ReportingVolume::ReportListing(const Listing &listing)
{
    TryToReport([&] {
        VolumeListingReport report;
        if (_volume->DescribeListing(listing.below, &report) && !report.isWhole)
            Report(ChannelDamageKind::kFolder, report.reason, listing.folder, {},
                   report.missingEntries);
    });
}

void ReportingVolume::ReportUnopened(const std::u16string &path)
{
    TryToReport([&] {
        const VolumeObstacle obstacle = ObstacleAt(path);
        if (IsLack(obstacle))
            Report(ChannelDamageKind::kFileClosed, obstacle, path);
    });
}

// Until the file is closed. Why it failed is left open: to ask the disk takes time.
void ReportingVolume::NoteFailure(File *file)
{
    file->hasFailed = true;
    TryToReport([&] {
        ChannelDamage known;
        known.path = DiskPath(file->path);
        (void)_volume->VisitUnreadRanges(file->below, TakeRange, &known.ranges);
        _ofOpenFiles->Note(file, std::move(known));
    });
}

void ReportingVolume::ReportFile(const File &file)
{
    TryToReport([&] {
        ByteRanges unread;
        (void)_volume->VisitUnreadRanges(file.below, TakeRange, &unread);
        VolumeObstacle obstacle = file.isStream ? VolumeObstacle::kNone : ObstacleAt(file.path);
        if (unread.empty() && !file.hasFailed && !IsOfData(obstacle))
            return;
        if (!unread.empty() && obstacle == VolumeObstacle::kNone)
            obstacle = VolumeObstacle::kUnreadable;
        Report(ChannelDamageKind::kFileData, obstacle, file.path, std::move(unread));
    });
}

void ReportingVolume::Report(ChannelDamageKind kind, VolumeObstacle obstacle,
                             const std::u16string &path, ByteRanges ranges, uint64_t more)
{
    _channel->Report(ChannelDamage{kind, static_cast<uint32_t>(obstacle), DiskPath(path),
                                   std::move(ranges), more});
}

void ReportingVolume::ReportIfGone()
{
    if (_volume->IsGone() && !_isGoneReported.exchange(true))
        _channel->Report(ChannelDamage{ChannelDamageKind::kDiskGone,
                                       static_cast<uint32_t>(VolumeObstacle::kDeviceGone),
                                       "",
                                       {},
                                       0});
}

}  // namespace vx
