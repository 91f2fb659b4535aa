#include "NtfsSummary.h"

#include "ByteReader.h"
#include "FreeClusters.h"
#include "NtfsJournal.h"
#include "NtfsLabel.h"
#include "SerialText.h"
#include "TextField.h"

namespace vx {
namespace {

using State = VolumeFileSystemState;

constexpr uint64_t kJournalFile = 2;
constexpr uint64_t kBitmapFile = 6;

class Summary {
public:
    Summary(const ByteSource &volume, const ByteSource &tables, const NtfsMft &mft)
        : _volume(volume), _tables(tables), _mft(mft)
    {
    }

    void Take(VolumeFileSystemReport *report) const
    {
        const NtfsGeometry &geometry = _mft.Geometry();
        report->clusterBytes = geometry.clusterBytes;
        report->totalBytes = geometry.clusters * geometry.clusterBytes;
        PutText("NTFS", report->name);
        if (const auto boot = FindNtfsBoot(_tables))
            PutText(SerialText(static_cast<uint32_t>(boot->serial)), report->serial);
        if (const auto free = CountFree(geometry.clusters))
            report->freeBytes = *free * geometry.clusterBytes;
        if (const auto record = _mft.Load(kNtfsVolumeFile))
            TakeVolumeFile(*record, report);
    }

private:
    void TakeVolumeFile(const NtfsRecord &record, VolumeFileSystemReport *report) const
    {
        constexpr uint16_t kIsDirty = 1;
        constexpr size_t kBytes = 12;
        PutText(NtfsLabelIn(record), report->label);
        const auto information = record.Find(NtfsType::kVolumeInformation, {});
        if (!information || !information->isResident || information->value.size < kBytes)
            return;
        const ByteView value = information->value;
        PutText("NTFS " + std::to_string(U8At(value, 8)) + "." + std::to_string(U8At(value, 9)),
                report->name);
        const bool isDirty = (U16At(value, 10) & kIsDirty) != 0;
        report->state = isDirty ? State::kInUse : StateOfNtfsJournal(_volume, Find(kJournalFile));
    }

    NtfsStream Find(uint64_t number) const
    {
        const auto record = _mft.Load(number);
        return record ? FindStream(_mft, _tables, *record, number, NtfsType::kData, {})
                      : NtfsStream();
    }

    std::optional<uint64_t> CountFree(uint64_t clusters) const
    {
        constexpr uint16_t kNotPlain = NtfsAttribute::kCompressed | NtfsAttribute::kEncrypted;
        const NtfsStream bitmap = Find(kBitmapFile);
        const bool isPlain = bitmap.found == NtfsFound::kYes && !bitmap.isResident &&
                             (bitmap.flags & kNotPlain) == 0;
        return isPlain ? CountClearBits(_volume, bitmap.extents, clusters) : std::nullopt;
    }

    const ByteSource &_volume;
    const ByteSource &_tables;
    const NtfsMft &_mft;
};

}  // namespace

void SummariseNtfs(const ByteSource &volume, const ByteSource &tables, const NtfsMft &mft,
                   VolumeFileSystemReport *report)
{
    Summary(volume, tables, mft).Take(report);
}

}  // namespace vx
