#include "BootSector.h"

#include "BitlockerMark.h"
#include "ByteReader.h"

#include <cstring>

namespace vx::bitlocker {

namespace {

constexpr char kSignature[] = "-FVE-FS-";
constexpr char kToGoSignature[] = "MSWIN4.1";
constexpr size_t kVistaClusterAt = 56;
constexpr size_t kConversionAt = 200;

bool TextAt(ByteView bytes, size_t offset, const char *text)
{
    return std::memcmp(bytes.data + offset, text, std::strlen(text)) == 0;
}

Error UnknownVolume(const char *why)
{
    return {Status::kNotBitlocker, why};
}

Result<BootSector> ParseVista(ByteView bytes, BootSector boot)
{
    boot.layout = Layout::kVista;
    const uint64_t clusterSize = static_cast<uint64_t>(bytes.data[13]) *
                                 (boot.sectorSize != 0 ? boot.sectorSize : BootSector::kSize);
    const uint64_t cluster = ByteReader(bytes, kVistaClusterAt).U64();
    if (clusterSize == 0 || cluster > UINT64_MAX / clusterSize)
        return Error{Status::kDamagedMetadata, "the boot sector does not say where it is"};
    boot.metadataOffsets = {cluster * clusterSize};
    return boot;
}

Result<BootSector> ParseNewer(ByteView bytes, BootSector boot, size_t identifierAt)
{
    ByteReader reader(bytes, identifierAt);
    const Guid identifier = reader.TakeGuid();
    if (identifier != kOrdinaryVolume && identifier != kConvertingVolume)
        return UnknownVolume("the identifier in the boot sector is not known");
    boot.converting = identifier == kConvertingVolume;
    for (int copy = 0; copy < 3; ++copy)
        boot.metadataOffsets.push_back(reader.U64());
    return boot;
}

}  // namespace

bool IsSectorSize(uint32_t bytes)
{
    return bytes == 512 || bytes == 1024 || bytes == 2048 || bytes == 4096;
}

Result<BootSector> BootSector::Parse(ByteView bytes)
{
    if (bytes.size < kSize)
        return UnknownVolume("shorter than one sector");
    BootSector boot;
    const uint32_t sectorSize = ByteReader(bytes, 11).U16();
    boot.sectorSize = IsSectorSize(sectorSize) ? sectorSize : 0;
    const bool signature = TextAt(bytes, 3, kSignature);
    if (signature && TextAt(bytes, 0, "\xEB\x52\x90"))
        return ParseVista(bytes, boot);
    if (!TextAt(bytes, 0, "\xEB\x58\x90"))
        return UnknownVolume("the boot sector has no signature of BitLocker");
    if (signature) {
        ByteReader reader(bytes, kConversionAt);
        boot.conversionOffsets = {reader.U64(), reader.U64()};
        return ParseNewer(bytes, boot, 160);
    }
    if (!TextAt(bytes, 3, kToGoSignature))
        return UnknownVolume("the boot sector has no signature of BitLocker");
    boot.layout = Layout::kToGo;
    return ParseNewer(bytes, boot, 424);
}

}  // namespace vx::bitlocker
