#include "BootSector.h"

#include "ByteReader.h"

#include <cstring>

namespace vx::bitlocker {

namespace {

constexpr char kSignature[] = "-FVE-FS-";
constexpr char kToGoSignature[] = "MSWIN4.1";
constexpr size_t kVistaClusterAt = 56;
constexpr size_t kConversionAt = 200;

bool textAt(ByteView bytes, size_t offset, const char *text)
{
    return std::memcmp(bytes.data + offset, text, std::strlen(text)) == 0;
}

Error unknownVolume(const char *why)
{
    return {Status::NotBitlocker, why};
}

Result<BootSector> parseVista(ByteView bytes, BootSector boot)
{
    boot.layout = Layout::Vista;
    const uint64_t clusterSize = static_cast<uint64_t>(bytes.data[13]) *
                                 (boot.sectorSize != 0 ? boot.sectorSize : BootSector::kSize);
    const uint64_t cluster = ByteReader(bytes, kVistaClusterAt).u64();
    if (clusterSize == 0 || cluster > UINT64_MAX / clusterSize)
        return Error{Status::DamagedMetadata, "the boot sector does not say where it is"};
    boot.metadataOffsets = {cluster * clusterSize};
    return boot;
}

Result<BootSector> parseNewer(ByteView bytes, BootSector boot, size_t identifierAt)
{
    ByteReader reader(bytes, identifierAt);
    const Guid identifier = reader.guid();
    if (identifier != kOrdinaryVolume && identifier != kConvertingVolume)
        return unknownVolume("the identifier in the boot sector is not known");
    boot.converting = identifier == kConvertingVolume;
    for (int copy = 0; copy < 3; ++copy)
        boot.metadataOffsets.push_back(reader.u64());
    return boot;
}

}  // namespace

bool isSectorSize(uint32_t bytes)
{
    return bytes == 512 || bytes == 1024 || bytes == 2048 || bytes == 4096;
}

Result<BootSector> BootSector::parse(ByteView bytes)
{
    if (bytes.size < kSize)
        return unknownVolume("shorter than one sector");
    BootSector boot;
    const uint32_t sectorSize = ByteReader(bytes, 11).u16();
    boot.sectorSize = isSectorSize(sectorSize) ? sectorSize : 0;
    const bool signature = textAt(bytes, 3, kSignature);
    if (signature && textAt(bytes, 0, "\xEB\x52\x90"))
        return parseVista(bytes, boot);
    if (!textAt(bytes, 0, "\xEB\x58\x90"))
        return unknownVolume("the boot sector has no signature of BitLocker");
    if (signature) {
        ByteReader reader(bytes, kConversionAt);
        boot.conversionOffsets = {reader.u64(), reader.u64()};
        return parseNewer(bytes, boot, 160);
    }
    if (!textAt(bytes, 3, kToGoSignature))
        return unknownVolume("the boot sector has no signature of BitLocker");
    boot.layout = Layout::ToGo;
    return parseNewer(bytes, boot, 424);
}

}  // namespace vx::bitlocker
