#include "MetadataBlock.h"

#include "ByteReader.h"
#include "Crc32.h"
#include "FirstSector.h"
#include "Wtf8.h"

#include <algorithm>
#include <cstring>

namespace vx::bitlocker {

namespace {

constexpr char kSignature[] = "-FVE-FS-";
constexpr size_t kMetadataHeaderSize = 48;
constexpr size_t kCopiesAt = 32;
constexpr size_t kMethodAt = 36;  // in the metadata header
constexpr size_t kValidationHeaderSize = 8;

Error Damage(const std::string &detail)
{
    return {Status::kDamagedMetadata, detail};
}

// The covered length, which the two versions count in different units.
size_t CoveredLength(uint16_t stored, uint16_t version)
{
    return version == 1 ? stored : static_cast<size_t>(stored) * 16;
}

void ParseBlockHeader(ByteView area, MetadataBlock &block)
{
    ByteReader reader(area, 10);
    block.version = reader.U16();
    block.state = reader.U16();
    block.nextState = reader.U16();
    const uint64_t encryptedSize = reader.U64();
    reader.Skip(4);
    const uint32_t relocatedSectors = reader.U32();
    for (uint64_t &copy : block.copies)
        copy = reader.U64();
    const uint64_t last = reader.U64();
    if (block.version == 1) {
        block.mirrorCluster = last;
        return;
    }
    block.encryptedSize = encryptedSize;
    block.relocatedSectors = relocatedSectors;
    block.relocationOffset = last;
}

// Returns the length of the metadata: this header and the entries.
Result<size_t> ParseMetadataHeader(ByteView covered, MetadataBlock &block)
{
    ByteReader reader(covered, MetadataBlock::kHeaderSize);
    const size_t size = reader.U32();
    reader.Skip(4);
    const uint32_t headerSize = reader.U32();
    const size_t sizeAgain = reader.U32();
    block.volume = reader.TakeGuid();
    block.nonceCounter = reader.U32();
    block.method = reader.U16();
    reader.Skip(2);  // the method again
    block.created = reader.U64();
    if (!reader.Good() || headerSize != kMetadataHeaderSize || size != sizeAgain)
        return Damage("the header of the metadata is damaged");
    if (size < kMetadataHeaderSize || size > covered.size - MetadataBlock::kHeaderSize)
        return Damage("the size of the metadata is impossible");
    return size;
}

MetadataBlock::VolumeHeader ParseVolumeHeader(ByteView data)
{
    ByteReader reader(data);
    MetadataBlock::VolumeHeader header;
    header.offset = reader.U64();
    header.length = reader.U64();
    const uint32_t sectorSize = U32At(data, 44);
    header.sectorSize = IsSectorSize(sectorSize) ? sectorSize : 0;
    header.flags = U64At(data, 24);
    return header;
}

void TakeEntry(MetadataBlock &block, const MetadataEntry &entry)
{
    if (entry.type == EntryType::kProtector && entry.valueType == ValueType::kProtector)
        block.protectors.push_back(Protector::Parse(entry));
    if (entry.type == EntryType::kWrappedSectorKey && entry.valueType == ValueType::kWrapped &&
        !block.wrappedSectorKey)
        block.wrappedSectorKey = WrappedKey::Parse(entry.data);
    if (entry.type == EntryType::kVolumeHeader && entry.valueType == ValueType::kOffsetAndSize &&
        entry.data.size >= 16)
        block.volumeHeader = ParseVolumeHeader(entry.data);
    if (entry.type == EntryType::kDescription && entry.valueType == ValueType::kText)
        block.description = Utf8FromUtf16(entry.data);
}

// The validation block's digest. A block without one passes: its checksum was right.
void ParseDigest(ByteView validation, MetadataBlock &block)
{
    const Result<std::vector<MetadataEntry>> entries =
        ParseEntries(validation.From(kValidationHeaderSize));
    if (!entries || entries->empty())
        return;
    const MetadataEntry &entry = entries->front();
    if (entry.valueType == ValueType::kWrapped)
        block.wrappedDigest = WrappedKey::Parse(entry.data);
    if (entry.valueType == ValueType::kKey)
        block.plainDigest = entry.data.From(4).Copy();
}

Error CheckChecksum(ByteView covered, ByteView validation)
{
    if (U32At(validation, 4) != Crc32().Add(covered).Value())
        return Damage("the checksum is wrong");
    return {};
}

}  // namespace

uint16_t MetadataBlock::VersionOf(ByteView area)
{
    if (area.size < kHeaderSize || std::memcmp(area.data, kSignature, 8) != 0)
        return 0;
    const uint16_t version = U16At(area, 10);
    return version == 1 || version == 2 ? version : 0;
}

std::optional<MetadataBlock> MetadataBlock::HeaderOf(ByteView area, uint64_t offset)
{
    if (VersionOf(area) == 0)
        return std::nullopt;
    MetadataBlock block;
    block.offset = offset;
    ParseBlockHeader(area, block);
    block.method = U16At(area, kHeaderSize + kMethodAt);
    return block;
}

std::vector<uint64_t> MetadataBlock::NamedCopies(ByteView area)
{
    if (VersionOf(area) == 0)
        return {};
    ByteReader reader(area, kCopiesAt);
    return {reader.U64(), reader.U64(), reader.U64()};
}

Result<MetadataBlock> MetadataBlock::Parse(ByteView area, uint64_t offset)
{
    if (VersionOf(area) == 0)
        return Damage("no signature or an unknown version");
    MetadataBlock block;
    block.offset = offset;
    ParseBlockHeader(area, block);
    area = area.First(block.AreaSize());
    const size_t length = CoveredLength(U16At(area, 8), block.version);
    if (length < kHeaderSize + kMetadataHeaderSize || length + kValidationHeaderSize > area.size)
        return Damage("the covered length is impossible");
    const ByteView covered = area.First(length);
    const ByteView validation = area.From(length);
    Result<size_t> size = ParseMetadataHeader(covered, block);
    if (!size)
        return size.Failure();
    if (std::find(block.copies.begin(), block.copies.end(), offset) == block.copies.end())
        return Damage("it is not where it says it is");
    if (Error error = CheckChecksum(covered, validation))
        return error;
    const ByteView entryBytes = covered.First(kHeaderSize + *size);
    Result<std::vector<MetadataEntry>> entries =
        ParseEntries(entryBytes.From(kHeaderSize + kMetadataHeaderSize));
    if (!entries)
        return entries.Failure();
    for (const MetadataEntry &entry : *entries)
        TakeEntry(block, entry);
    block.digest = Sha256(covered);
    ParseDigest(validation, block);
    return block;
}

}  // namespace vx::bitlocker
