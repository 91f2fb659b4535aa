#include "NtfsLabel.h"

#include "NtfsBoot.h"
#include "Wtf8.h"

#include <optional>
#include <utility>
#include <vector>

namespace vx {
namespace {

// By the boot sector at the offset. The record lies in the first extent of the table on any volume.
std::optional<NtfsRecord> ReadVolumeRecord(const ByteSource &volume, uint64_t bootOffset)
{
    const auto boot = ReadNtfsBoot(volume, bootOffset);
    if (!boot)
        return std::nullopt;
    std::vector<uint8_t> record(boot->geometry.recordBytes);
    if (volume.ReadAt(boot->mftOffset + kNtfsVolumeFile * record.size(), record.data(),
                      record.size()) ||
        !ApplyNtfsFixups(&record))
        return std::nullopt;
    return NtfsRecord::Parse(std::move(record));
}

}  // namespace

std::string NtfsLabelIn(const NtfsRecord &record)
{
    const auto name = record.Find(NtfsType::kVolumeName, {});
    return name && name->isResident ? Wtf8FromUtf16(name->value) : "";
}

std::string NtfsLabel(const ByteSource &volume)
{
    auto record = ReadVolumeRecord(volume, 0);
    const auto backup = record ? std::nullopt : FindNtfsBackupBoot(volume);
    if (backup)
        record = ReadVolumeRecord(volume, *backup);
    return record ? NtfsLabelIn(*record) : "";
}

}  // namespace vx
