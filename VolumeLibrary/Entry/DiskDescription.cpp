#include "DiskDescription.h"

#include "CarefulSource.h"
#include "Container.h"
#include "DiskVolumes.h"
#include "EncryptionReport.h"
#include "KnownContents.h"
#include "LostVolumes.h"
#include "RoundedSizeText.h"
#include "VolumeChoice.h"
#include "VolumeLabel.h"

#include <algorithm>

namespace vx {
namespace {

using bitlocker::EncryptionFacts;
using Source = std::shared_ptr<const ByteSource>;
using MapReading = EncryptionFacts::MapReading;

constexpr size_t kMostMaps = 16;

const char *KindForPrograms(FileSystemKind kind)
{
    switch (kind) {
    case FileSystemKind::kEncrypted:
        return "encrypted";
    case FileSystemKind::kNtfs:
        return "ntfs";
    case FileSystemKind::kExfat:
        return "exfat";
    case FileSystemKind::kFat:
        return "fat";
    case FileSystemKind::kUnreadable:
        return "unreadable";
    case FileSystemKind::kRefs:
    case FileSystemKind::kUnknown:
        break;
    }
    return "other";
}

const char *KindInWords(FileSystemKind kind)
{
    switch (kind) {
    case FileSystemKind::kEncrypted:
        return "an encrypted volume";
    case FileSystemKind::kNtfs:
        return "an NTFS file system";
    case FileSystemKind::kExfat:
        return "an exFAT file system";
    case FileSystemKind::kFat:
        return "a FAT file system";
    case FileSystemKind::kRefs:
        return "a ReFS file system";
    case FileSystemKind::kUnreadable:
        return "a volume whose first sector cannot be read";
    case FileSystemKind::kUnknown:
        break;
    }
    return "nothing that is recognised";
}

const char *NameOf(PartitionTable::Kind kind)
{
    switch (kind) {
    case PartitionTable::Kind::kGpt:
        return "gpt";
    case PartitionTable::Kind::kMbr:
        return "mbr";
    case PartitionTable::Kind::kNone:
        break;
    }
    return "";
}

// A volume on the way into the report.
struct FoundVolume {
    uint32_t number = 0;
    Source source;
    FileSystemKind kind = FileSystemKind::kUnknown;
    const KnownContents *known = nullptr;
    DiskVolume place;  // of a disk without partitions all of it
    bool isPartition = false;
};

class Description {
public:
    Description(const Container &container, const OpeningOptions &options)
        : _container(container),
          _disk(std::make_shared<CarefulSource>(container.source, container.files, options.limits)),
          _progress(options.progress),
          _report(std::make_unique<OwnedDiskReport>())
    {
        for (const std::string &note : container.notes)
            Warn("", note);
    }

    Result<DescribedDisk> Make(const VolumeChoice &choice)
    {
        constexpr uint64_t kSectorBytes = 512;
        if (_disk->Size() < kSectorBytes)
            return Error{Status::kTruncatedImage,
                         _disk->Size() == 0 ? "it is empty" : "it is shorter than a sector"};
        _report->table = "";
        _report->sectorBytes = _container.sectorBytes;
        Error error = choice.offset ? TakeAt(*choice.offset) : TakeDisk(choice.number);
        if (error)
            return error;
        Finish();
        return DescribedDisk(std::move(_report));
    }

private:
    ReportArena &Arena() { return _report->arena; }

    // subject: of several volumes the one that is meant.
    void Warn(const std::string &subject, const std::string &sentence)
    {
        _warnings.push_back(Arena().Text(subject.empty() ? sentence : subject + ": " + sentence));
    }

    static std::string SubjectOf(const FoundVolume &volume)
    {
        if (!volume.isPartition)
            return "";
        return volume.number > 0 ? "volume " + std::to_string(volume.number)
                                 : "the partition at " + std::to_string(volume.place.offset);
    }

    // The encrypted volume that begins there or has a copy of its metadata there, whatever the
    // tables say.
    Error TakeAt(uint64_t offset)
    {
        const auto found = LostVolumes(_disk, &_cancel, _progress).At(offset);
        if (!found)
            return found.Failure();
        const RegainedVolume &lost = found->front();
        FoundVolume volume;
        volume.source = lost.source;
        volume.kind = FileSystemKind::kEncrypted;
        volume.place.offset = lost.offset;
        volume.place.size = lost.source->Size();
        if (!lost.note.empty())
            Warn("", lost.note);
        Add(volume);
        return {};
    }

    Error TakeDisk(size_t number)
    {
        const auto kind = ProbeFileSystem(*_disk);
        if (kind && *kind != FileSystemKind::kUnknown)
            return TakeWhole(number, *kind);
        const DiskVolumes table = DiskVolumes::Read(_disk);
        if (table.volumes.empty() && table.others.empty())
            return TakeUnknown(number, kind, table.unread);
        if (number > table.volumes.size())
            return table.NotChosen(_disk, number);
        TakeTable(table);
        TakePartitions(table, number);
        return {};
    }

    Error TakeWhole(size_t number, FileSystemKind kind, const KnownContents *known = nullptr)
    {
        if (number > 1)
            return {Status::kNoSuchVolume, "it is one volume, without partitions"};
        FoundVolume volume;
        volume.number = kind == FileSystemKind::kUnknown ? 0 : 1;
        volume.source = _disk;
        volume.kind = kind;
        volume.known = known;
        volume.place.size = _disk->Size();
        Add(volume);
        return {};
    }

    // Neither a volume nor a table.
    Error TakeUnknown(size_t number, const Result<FileSystemKind> &kind, const Error &unread)
    {
        if (_disk->IsGone() && !kind)
            return kind.Failure();
        if (!kind || unread)
            Warn("", (kind ? unread : kind.Failure()).detail);
        if (!_container.firstPart.empty())
            Warn("", "it seems to be a later part of an image; give the first one, " +
                         _container.firstPart);
        if (!kind)
            return TakeWhole(number, FileSystemKind::kUnreadable);
        return TakeWhole(number, *kind, KnownContents::Find(*_disk));
    }

    void TakeTable(const DiskVolumes &table)
    {
        _report->table = NameOf(table.kind);
        if (_report->sectorBytes == 0)
            _report->sectorBytes = table.sectorBytes;
        if (!table.note.empty())
            Warn("", table.note);
        if (table.unread)
            Warn("", (table.unread.status == Status::kTruncatedImage
                          ? "the image or device ends early: "
                          : "a part of the table of partitions cannot be read: ") +
                         table.unread.detail);
        if (table.isCut)
            Warn("", "the table has more partitions than are listed");
    }

    // number: of the only one that is wanted; 0 for all.
    void TakePartitions(const DiskVolumes &table, size_t number)
    {
        std::vector<FoundVolume> found;
        for (size_t i = 0; i < table.volumes.size(); ++i) {
            if (number == 0 || number == i + 1)
                found.push_back(Partitioned(table.volumes[i], i + 1));
        }
        for (const DiskVolume &other : table.others) {
            if (number == 0)
                found.push_back(Partitioned(other, 0));
        }
        std::stable_sort(found.begin(), found.end(),
                         [](const FoundVolume &a, const FoundVolume &b) {
                             return a.place.offset < b.place.offset;
                         });
        for (const FoundVolume &volume : found)
            Add(volume);
    }

    FoundVolume Partitioned(const DiskVolume &partition, size_t number) const
    {
        FoundVolume volume;
        volume.number = static_cast<uint32_t>(number);
        volume.source = partition.In(_disk);
        volume.kind = partition.kind;
        volume.place = partition;
        volume.isPartition = true;
        if (partition.kind == FileSystemKind::kUnknown)
            volume.known = DiskVolumes::ContentsOf(partition, _disk);
        return volume;
    }

    // An encrypted volume whose first sector is damaged, but not beyond recognition.
    void Regain(FoundVolume *volume)
    {
        if (volume->kind != FileSystemKind::kUnknown || !ResemblesEncrypted(*volume->source))
            return;
        const auto lost = LostVolumes(_disk, &_cancel, _progress).AtFrontOf(volume->place);
        if (!lost || !lost->has_value())
            return;
        volume->source = (*lost)->source;
        volume->kind = FileSystemKind::kEncrypted;
        volume->known = nullptr;
        volume->number = volume->isPartition ? 0 : 1;
        Warn(SubjectOf(*volume), (*lost)->note);
    }

    void Add(FoundVolume volume)
    {
        Regain(&volume);
        const bool isEncrypted = volume.kind == FileSystemKind::kEncrypted;
        DiskVolumeReport report = {};
        report.number = volume.number;
        report.offset = volume.place.offset;
        report.bytes = volume.place.size;
        report.kind = KindForPrograms(volume.kind);
        report.kindText = volume.known != nullptr ? volume.known->name : KindInWords(volume.kind);
        report.nextStep = NextStepOf(volume);
        report.label = isEncrypted ? "" : Arena().Text(VolumeLabel(*volume.source, volume.kind));
        report.partitionName = Arena().Text(volume.place.name);
        report.partitionType = Arena().Text(volume.place.type);
        uint64_t stated = 0;
        if (isEncrypted)
            report.encryption = DescribeEncryption(volume, &stated);
        else
            stated = FileSystemBytes(*volume.source, volume.kind);
        WarnOfCut(volume, stated);
        _volumes.push_back(report);
    }

    static const char *NextStepOf(const FoundVolume &volume)
    {
        if (volume.known != nullptr)
            return volume.known->nextStep;
        return volume.kind == FileSystemKind::kRefs ? "open it on a Windows computer" : "";
    }

    // stated: the size that the volume itself has.
    void WarnOfCut(const FoundVolume &volume, uint64_t stated)
    {
        const uint64_t size = volume.place.size;
        const uint64_t stored = std::min(size, _disk->Size() - volume.place.offset);
        const uint64_t needed = std::max(size, stated);
        if (needed > stored)
            Warn(SubjectOf(volume), CutText(needed - stored));
    }

    // Null if nothing can be said.
    const DiskEncryptionReport *DescribeEncryption(const FoundVolume &volume, uint64_t *stated)
    {
        const std::string subject = SubjectOf(volume);
        const auto facts = EncryptionFacts::Read(
            *volume.source, _maps < kMostMaps ? MapReading::kAllowed : MapReading::kForbidden);
        if (!facts) {
            Warn(subject, facts.Failure().detail);
            return nullptr;
        }
        _maps += facts->isConverting ? 1 : 0;
        *stated = facts->statedBytes;
        for (const std::string &warning : facts->warnings)
            Warn(subject, warning);
        if (!facts->copy)
            Warn(
                subject,
                "no copy of the metadata that is named can be used; volume-info --search looks for "
                "others on the whole disk");
        else if (facts->copy->protectors.size() > kMostProtectors)
            Warn(subject, "it has more protectors than are listed");
        return Arena().List(
            std::vector<DiskEncryptionReport>{MakeEncryptionReport(*facts, &Arena())});
    }

    void Finish()
    {
        _report->container = _container.kind;
        _report->containerText = Arena().Text(_container.description);
        _report->bytes = _disk->Size();
        _report->volumes = Arena().List(_volumes);
        _report->volumeCount = _volumes.size();
        _report->warnings = Arena().List(_warnings);
        _report->warningCount = _warnings.size();
    }

    const Container &_container;
    const std::shared_ptr<const CarefulSource> _disk;
    const CancelFlag _cancel;
    const ProgressReceiver _progress;
    std::unique_ptr<OwnedDiskReport> _report;
    std::vector<DiskVolumeReport> _volumes;
    std::vector<const char *> _warnings;
    size_t _maps = 0;  // that were read
};

}  // namespace

Result<DescribedDisk> DescribeDisk(const std::string &device, const OpeningOptions &options)
{
    const VolumeChoice choice = VolumeChoice::Parse(device);
    const auto container = OpenContainer(choice.path, options.limits.retries);
    if (!container)
        return container.Failure();
    if (options.NamesPlaces() && container->form != nullptr)
        return Error{Status::kPlacesNotKept, "it is " + std::string(container->form)};
    return DescribeDiskContents(*container, choice, options);
}

Result<DescribedDisk> DescribeDiskContents(const Container &container, const VolumeChoice &choice,
                                           const OpeningOptions &options)
{
    return Description(container, options).Make(choice);
}

}  // namespace vx
