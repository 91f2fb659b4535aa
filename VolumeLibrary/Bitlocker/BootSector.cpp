#include "BootSector.h"

#include "BitlockerMark.h"
#include "ByteReader.h"
#include "FirstSector.h"

#include <algorithm>
#include <cstring>

namespace vx::bitlocker {

namespace {

constexpr std::string_view kSignature = "-FVE-FS-";
constexpr std::string_view kToGoSignature = "MSWIN4.1";
constexpr size_t kSectorSizeAt = 11;
constexpr size_t kClusterSectorsAt = 13;
constexpr size_t kVistaClusterAt = 56;
constexpr size_t kIdentifierAt = 160;
constexpr size_t kConversionAt = 200;
constexpr size_t kToGoIdentifierAt = 424;

bool BeginsWithJump(ByteView bytes, const char (&jump)[4])
{
    return std::memcmp(bytes.data, jump, 3) == 0;
}

Error UnknownVolume(const char *why)
{
    return {Status::kNotBitlocker, why};
}

bool IsIdentifier(const Guid &identifier)
{
    return identifier == kOrdinaryVolume || identifier == kConvertingVolume;
}

Result<BootSector> ParseVista(ByteView bytes, BootSector boot)
{
    boot.layout = Layout::kVista;
    const uint64_t clusterSize = uint64_t{U8At(bytes, kClusterSectorsAt)} *
                                 (boot.sectorSize != 0 ? boot.sectorSize : BootSector::kSize);
    const uint64_t cluster = U64At(bytes, kVistaClusterAt);
    if (clusterSize == 0 || cluster > UINT64_MAX / clusterSize)
        return Error{Status::kDamagedMetadata, "the boot sector does not say where it is"};
    boot.metadataOffsets = {cluster * clusterSize};
    return boot;
}

Result<BootSector> ParseNewer(ByteView bytes, BootSector boot, size_t identifierAt)
{
    ByteReader reader(bytes, identifierAt);
    const Guid identifier = reader.TakeGuid();
    if (!IsIdentifier(identifier))
        return UnknownVolume("the identifier in the boot sector is not known");
    boot.converting = identifier == kConvertingVolume;
    for (int copy = 0; copy < 3; ++copy)
        boot.metadataOffsets.push_back(reader.U64());
    return boot;
}

}  // namespace

Result<BootSector> BootSector::Read(const ByteSource &volume)
{
    uint8_t sector[kSize];
    if (volume.Size() < sizeof sector)
        return UnknownVolume("shorter than one sector");
    if (Error error = volume.ReadAt(0, sector, sizeof sector))
        return error;
    return Parse({sector, sizeof sector});
}

bool BootSector::Resembles(ByteView bytes)
{
    constexpr size_t kSignatureAt = 3;
    constexpr size_t kMost = 6;  // of eight letters
    if (bytes.size < kSize)
        return false;
    size_t right = 0;
    for (size_t i = 0; i < kSignature.size(); ++i)
        right += static_cast<char>(bytes.data[kSignatureAt + i]) == kSignature[i] ? 1 : 0;
    return right >= kMost || IsIdentifier(ByteReader(bytes, kIdentifierAt).TakeGuid()) ||
           IsIdentifier(ByteReader(bytes, kToGoIdentifierAt).TakeGuid());
}

bool BootSector::NamesEveryCopy() const
{
    return std::find(metadataOffsets.begin(), metadataOffsets.end(), 0) == metadataOffsets.end();
}

Result<BootSector> BootSector::Parse(ByteView bytes)
{
    if (bytes.size < kSize)
        return UnknownVolume("shorter than one sector");
    BootSector boot;
    const uint32_t sectorSize = U16At(bytes, kSectorSizeAt);
    boot.sectorSize = IsSectorSize(sectorSize) ? sectorSize : 0;
    const bool signature = HasName(bytes, kSignature);
    if (signature && BeginsWithJump(bytes, "\xEB\x52\x90"))
        return ParseVista(bytes, boot);
    if (!BeginsWithJump(bytes, "\xEB\x58\x90"))
        return UnknownVolume("the boot sector has no signature of BitLocker");
    if (signature) {
        ByteReader reader(bytes, kConversionAt);
        boot.conversionOffsets = {reader.U64(), reader.U64()};
        return ParseNewer(bytes, boot, kIdentifierAt);
    }
    if (!HasName(bytes, kToGoSignature))
        return UnknownVolume("the boot sector has no signature of BitLocker");
    boot.layout = Layout::kToGo;
    return ParseNewer(bytes, boot, kToGoIdentifierAt);
}

}  // namespace vx::bitlocker
