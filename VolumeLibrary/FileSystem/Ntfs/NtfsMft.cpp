#include "NtfsMft.h"

#include "NtfsStream.h"

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;

Error Damaged(const char *what)
{
    return {Status::kDamagedFileSystem, what};
}

uint64_t CoveredBytes(const FileExtents &extents)
{
    uint64_t bytes = 0;
    for (const FileRun &run : extents.runs)
        bytes += run.length;
    return bytes;
}

}  // namespace

NtfsMft::NtfsMft(Source source, const NtfsGeometry &geometry)
    : _source(std::move(source)), _geometry(geometry)
{
}

Result<std::unique_ptr<NtfsMft>> NtfsMft::Open(const Source &source,
                                               std::vector<std::string> *notes)
{
    auto mft = OpenBy(0, source, notes);
    const auto backup = mft ? std::nullopt : FindNtfsBackupBoot(*source);
    if (!backup)
        return mft;
    auto mftOfBackup = OpenBy(*backup, source, notes);
    if (!mftOfBackup)
        return mft;
    notes->push_back("the boot sector of the file system is damaged; its backup in the last "
                     "sector of the volume is used");
    return mftOfBackup;
}

Result<std::unique_ptr<NtfsMft>> NtfsMft::OpenBy(uint64_t bootOffset, const Source &source,
                                                 std::vector<std::string> *notes)
{
    const auto boot = ReadNtfsBoot(*source, bootOffset);
    if (!boot)
        return boot.Failure();
    std::unique_ptr<NtfsMft> mft(new NtfsMft(source, boot->geometry));
    if (!mft->FindTable(*boot, boot->mftOffset)) {
        if (boot->mirrorOffset == 0 || !mft->FindTable(*boot, boot->mirrorOffset))
            return Damaged("the first record of its table of files is damaged");
        notes->push_back("the first record of the table of files is damaged; its mirror is used");
    }
    return mft;
}

// The first record is that of the table itself, which begins where the boot sector says. If the
// table lies in many pieces, that record names further ones, which lie in the pieces that are known
// already, so the search for the table is repeated as long as more of it is found.
bool NtfsMft::FindTable(const NtfsBoot &boot, uint64_t firstRecordAt)
{
    constexpr int kMostRounds = 16;
    const uint64_t recordBytes = _geometry.recordBytes;
    const FileExtents front = {
        recordBytes, recordBytes, {{0, recordBytes, firstRecordAt, FileRun::Kind::kStored}}};
    const auto first = Read(front, 0, nullptr);
    if (!first)
        return false;
    _table = {};
    for (int round = 0; round < kMostRounds; ++round) {
        NtfsStream data = FindStream(*this, _source, *first, 0, NtfsType::kData, {});
        const bool isLonger = CoveredBytes(data.extents) > CoveredBytes(_table);
        if (data.extents.runs.size() > kMostRunsOfTables)
            return false;
        if (isLonger)
            _table = std::move(data.extents);
        if (data.trouble == VolumeObstacle::kNone || !isLonger)
            break;
    }
    return !_table.runs.empty() && _table.runs.front().position == 0 &&
           _table.runs.front().offset == boot.mftOffset;
}

std::optional<NtfsRecord> NtfsMft::Read(const FileExtents &table, uint64_t position,
                                        VolumeObstacle *trouble) const
{
    auto bytes = ReadExtentBytes(_source, table, position, _geometry.recordBytes);
    if (!bytes && trouble != nullptr)
        *trouble = VolumeObstacle::kUnreadable;
    if (!bytes || !ApplyNtfsFixups(&*bytes))
        return std::nullopt;
    return NtfsRecord::Parse(std::move(*bytes));
}

std::optional<NtfsRecord> NtfsMft::Load(NtfsReference reference, VolumeObstacle *trouble) const
{
    if (trouble != nullptr)
        *trouble = VolumeObstacle::kDamaged;
    const uint64_t number = NtfsNumber(reference);
    if (number >= _table.size / _geometry.recordBytes)
        return std::nullopt;
    auto record = Read(_table, number * _geometry.recordBytes, trouble);
    const bool same =
        record && (NtfsSequence(reference) == 0 || record->Sequence() == NtfsSequence(reference));
    return same ? std::move(record) : std::nullopt;
}

}  // namespace vx
