#include "VhdxHeader.h"

#include "ByteReader.h"
#include "Crc32.h"
#include "FirstSector.h"

#include <array>

namespace vx {
namespace {

constexpr uint64_t kPlaces[] = {uint64_t{64} << 10, uint64_t{128} << 10};
constexpr size_t kHeaderBytes = 4096;

using HeaderBytes = std::array<uint8_t, kHeaderBytes>;

bool IsSound(const HeaderBytes &bytes)
{
    constexpr size_t kChecksumAt = 4;
    return ByteReader(bytes).TakeMark("head") &&
           U32At(bytes, kChecksumAt) ==
               Crc32WithoutField(bytes, kChecksumAt, Crc32::Kind::kCastagnoli);
}

VhdxHeader Parse(const HeaderBytes &bytes)
{
    constexpr size_t kSequenceAt = 8;
    VhdxHeader header;
    ByteReader reader(bytes, kSequenceAt);
    header.sequence = reader.U64();
    reader.TakeGuid();  // of the file
    header.dataWrite = reader.TakeGuid();
    header.log = reader.TakeGuid();
    header.logVersion = reader.U16();
    header.version = reader.U16();
    header.logBytes = reader.U32();
    header.logAt = reader.U64();
    return header;
}

Result<VhdxHeader> ReadAt(const ByteSource &file, uint64_t place)
{
    HeaderBytes bytes;
    if (Error error = file.ReadAt(place, bytes.data(), bytes.size()))
        return error.status == Status::kTruncatedImage ? CutVhdx() : error;
    if (!IsSound(bytes))
        return DamagedVhdx("its headers are not valid");
    return Parse(bytes);
}

Result<VhdxHeader> NewestOf(const ByteSource &file)
{
    auto first = ReadAt(file, kPlaces[0]);
    auto second = ReadAt(file, kPlaces[1]);
    if (first && second) {
        const bool isSame = first->sequence == second->sequence;
        if (isSame && (first->log != second->log || first->logAt != second->logAt))
            return DamagedVhdx("its two headers contradict each other");
        return first->sequence >= second->sequence ? first : second;
    }
    auto &only = first ? first : second;
    if (only)
        only->isOnlyOne = true;
    return only ? only : first;
}

// Such a file is a disk, whatever lies at the places of the headers.
bool BeginsWithBootSector(const ByteSource &file)
{
    std::array<uint8_t, kFirstSectorBytes> sector = {};
    return !file.ReadAt(0, sector.data(), sector.size()) && EndsAsBootSector(sector);
}

}  // namespace

bool IsVhdxImage(const ByteSource &file)
{
    std::array<uint8_t, 8> bytes = {};
    if (file.Size() >= bytes.size() && !file.ReadAt(0, bytes.data(), bytes.size()) &&
        ByteReader(bytes).TakeMark("vhdxfile"))
        return true;
    return !BeginsWithBootSector(file) && (ReadAt(file, kPlaces[0]) || ReadAt(file, kPlaces[1]));
}

Result<VhdxHeader> ReadVhdxHeader(const ByteSource &file)
{
    constexpr uint16_t kVersion = 1;
    auto header = NewestOf(file);
    if (header && header->version != kVersion)
        return Error{Status::kUnsupportedContainer, "it is a VHDX image of the unknown version " +
                                                        std::to_string(header->version)};
    return header;
}

Error DamagedVhdx(std::string_view what)
{
    return {Status::kDamagedContainer, "the VHDX image is damaged: " + std::string(what)};
}

Error CutVhdx()
{
    return {Status::kTruncatedImage, "the VHDX image ends early"};
}

}  // namespace vx
