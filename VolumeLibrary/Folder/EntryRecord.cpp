#include "EntryRecord.h"

#include "FileTime.h"
#include "NameMapping.h"
#include "VolumeReport.h"

#include <iterator>

namespace vx {
namespace {

constexpr uint32_t kAttributeReadOnly = 0x1;
constexpr uint32_t kAttributeHidden = 0x2;
constexpr uint32_t kAttributeNormal = 0x80;
constexpr uint32_t kAttributeLink = 0x400;
constexpr mode_t kAnyWriter = S_IWUSR | S_IWGRP | S_IWOTH;

uint32_t AttributesOf(const char *name, mode_t mode, EntryForm form)
{
    uint32_t attributes = 0;
    if (S_ISDIR(mode))
        attributes |= kVolumeAttributeDirectory;
    if ((mode & kAnyWriter) == 0)
        attributes |= kAttributeReadOnly;
    if (name[0] == '.')
        attributes |= kAttributeHidden;
    if (form == EntryForm::kLink)
        attributes |= kAttributeLink;
    return attributes != 0 ? attributes : kAttributeNormal;
}

}  // namespace

void FillRecord(const char *name, const EntryStat &stat, EntryForm form, VolumeFindData *record)
{
    const uint64_t size = S_ISDIR(stat.mode) ? 0 : stat.size;
    record->attributes = AttributesOf(name, stat.mode, form);
    record->creationTime = FileTimeFromTimespec(stat.created);
    record->lastAccessTime = FileTimeFromTimespec(stat.accessed);
    record->lastWriteTime = FileTimeFromTimespec(stat.modified);
    record->sizeHigh = static_cast<uint32_t>(size >> 32);
    record->sizeLow = static_cast<uint32_t>(size);
    record->reserved = form == EntryForm::kLink ? kReparseTagSymlink : 0;
    NameToUtf16(name, record->name, std::size(record->name));
}

}  // namespace vx
