#include "NtfsAttributes.h"

#include "ByteReader.h"
#include "NtfsReparsePoint.h"

namespace vx {
namespace {

constexpr uint32_t kAttributeNormal = 0x80;

// The standard information: three times, the attributes and other fields. Empty if it is damaged.
ByteView StandardInformation(const NtfsRecord &file)
{
    constexpr size_t kLeastBytes = 36;
    const auto attribute = file.Find(NtfsType::kStandardInformation, {});
    const bool good = attribute && attribute->isResident && attribute->value.size >= kLeastBytes;
    return good ? attribute->value : ByteView();
}

void SetSize(uint64_t size, VolumeFindData *record)
{
    record->sizeHigh = static_cast<uint32_t>(size >> 32);
    record->sizeLow = static_cast<uint32_t>(size);
}

void SetAttributes(uint32_t stored, bool isFolder, VolumeFindData *record)
{
    constexpr uint32_t kOfTheIndexOnly = 0xF0000000;
    stored &= ~(kOfTheIndexOnly | kAttributeNormal | kVolumeAttributeDirectory);
    if (isFolder)
        stored |= kVolumeAttributeDirectory;
    record->attributes = stored != 0 ? stored : kAttributeNormal;
}

}  // namespace

void DescribeNtfsFile(const NtfsMft &mft, const ByteSource &volume, const NtfsRecord &file,
                      uint64_t number, VolumeFindData *record)
{
    const ByteView information = StandardInformation(file);
    record->creationTime = U64At(information, 0);
    record->lastWriteTime = U64At(information, 8);
    record->lastAccessTime = U64At(information, 24);
    SetAttributes(U32At(information, 32), file.IsFolder(), record);
    record->reserved = NtfsReparsePoint::Read(mft, volume, file, number).Tag();
    SetSize(file.IsFolder() ? 0 : StreamSize(mft, volume, file, number, NtfsType::kData), record);
}

void DescribeNtfsName(const NtfsIndexName &name, VolumeFindData *record)
{
    const bool isFolder = (name.flags & NtfsIndexName::kFolder) != 0;
    record->creationTime = name.created;
    record->lastWriteTime = name.written;
    record->lastAccessTime = name.accessed;
    SetAttributes(name.flags, isFolder, record);
    record->reserved = name.reparseTag;
    SetSize(isFolder ? 0 : name.size, record);
}

}  // namespace vx
