#include "MetadataBlock.h"

#include "BootSector.h"
#include "ByteReader.h"
#include "Crc32.h"
#include "Utf16.h"

#include <algorithm>
#include <cstring>

namespace vx::bitlocker {

namespace {

constexpr char kSignature[] = "-FVE-FS-";
constexpr size_t kMetadataHeaderSize = 48;
constexpr size_t kCopiesAt = 32;
constexpr size_t kValidationHeaderSize = 8;

Error damage(const std::string &detail)
{
    return {Status::DamagedMetadata, detail};
}

// The covered length, which the two versions count in different units.
size_t coveredLength(uint16_t stored, uint16_t version)
{
    return version == 1 ? stored : static_cast<size_t>(stored) * 16;
}

void parseBlockHeader(ByteView area, MetadataBlock &block)
{
    ByteReader reader(area, 10);
    block.version = reader.u16();
    block.state = reader.u16();
    block.nextState = reader.u16();
    const uint64_t encryptedSize = reader.u64();
    reader.skip(4);
    const uint32_t relocatedSectors = reader.u32();
    for (uint64_t &copy : block.copies)
        copy = reader.u64();
    const uint64_t last = reader.u64();
    if (block.version == 1) {
        block.mirrorCluster = last;
        return;
    }
    block.encryptedSize = encryptedSize;
    block.relocatedSectors = relocatedSectors;
    block.relocationOffset = last;
}

// Returns the length of the metadata: this header and the entries.
Result<size_t> parseMetadataHeader(ByteView covered, MetadataBlock &block)
{
    ByteReader reader(covered, MetadataBlock::kHeaderSize);
    const size_t size = reader.u32();
    reader.skip(4);
    const uint32_t headerSize = reader.u32();
    const size_t sizeAgain = reader.u32();
    block.volume = reader.guid();
    block.nonceCounter = reader.u32();
    block.method = reader.u16();
    if (!reader.good() || headerSize != kMetadataHeaderSize || size != sizeAgain)
        return damage("the header of the metadata is damaged");
    if (size < kMetadataHeaderSize || size > covered.size - MetadataBlock::kHeaderSize)
        return damage("the size of the metadata is impossible");
    return size;
}

MetadataBlock::VolumeHeader parseVolumeHeader(ByteView data)
{
    ByteReader reader(data);
    MetadataBlock::VolumeHeader header;
    header.offset = reader.u64();
    header.length = reader.u64();
    const uint32_t sectorSize = ByteReader(data, 44).u32();
    header.sectorSize = isSectorSize(sectorSize) ? sectorSize : 0;
    return header;
}

void takeEntry(MetadataBlock &block, const MetadataEntry &entry)
{
    if (entry.type == EntryType::Protector && entry.valueType == ValueType::Protector)
        block.protectors.push_back(Protector::parse(entry));
    if (entry.type == EntryType::WrappedSectorKey && entry.valueType == ValueType::Wrapped &&
        !block.wrappedSectorKey)
        block.wrappedSectorKey = WrappedKey::parse(entry.data);
    if (entry.type == EntryType::VolumeHeader && entry.valueType == ValueType::OffsetAndSize &&
        entry.data.size >= 16)
        block.volumeHeader = parseVolumeHeader(entry.data);
    if (entry.type == EntryType::Description && entry.valueType == ValueType::Text)
        block.description = utf8FromUtf16(entry.data);
}

// The validation block's digest. A block without one passes: its checksum was right.
void parseDigest(ByteView validation, MetadataBlock &block)
{
    const Result<std::vector<MetadataEntry>> entries =
        parseEntries(validation.from(kValidationHeaderSize));
    if (!entries || entries->empty())
        return;
    const MetadataEntry &entry = entries->front();
    if (entry.valueType == ValueType::Wrapped)
        block.wrappedDigest = WrappedKey::parse(entry.data);
    if (entry.valueType == ValueType::Key)
        block.plainDigest = entry.data.from(4).copy();
}

Error checkChecksum(ByteView covered, ByteView validation)
{
    if (ByteReader(validation, 4).u32() != Crc32().add(covered).value())
        return damage("the checksum is wrong");
    return {};
}

}  // namespace

uint16_t MetadataBlock::versionOf(ByteView area)
{
    if (area.size < kHeaderSize || std::memcmp(area.data, kSignature, 8) != 0)
        return 0;
    const uint16_t version = ByteReader(area, 10).u16();
    return version == 1 || version == 2 ? version : 0;
}

std::vector<uint64_t> MetadataBlock::namedCopies(ByteView area)
{
    if (versionOf(area) == 0)
        return {};
    ByteReader reader(area, kCopiesAt);
    return {reader.u64(), reader.u64(), reader.u64()};
}

Result<MetadataBlock> MetadataBlock::parse(ByteView area, uint64_t offset)
{
    if (versionOf(area) == 0)
        return damage("no signature or an unknown version");
    MetadataBlock block;
    block.offset = offset;
    parseBlockHeader(area, block);
    area = area.first(block.areaSize());
    const size_t length = coveredLength(ByteReader(area, 8).u16(), block.version);
    if (length < kHeaderSize + kMetadataHeaderSize || length + kValidationHeaderSize > area.size)
        return damage("the covered length is impossible");
    const ByteView covered = area.first(length);
    const ByteView validation = area.from(length);
    Result<size_t> size = parseMetadataHeader(covered, block);
    if (!size)
        return size.error();
    if (std::find(block.copies.begin(), block.copies.end(), offset) == block.copies.end())
        return damage("it is not where it says it is");
    if (Error error = checkChecksum(covered, validation))
        return error;
    const ByteView entryBytes = covered.first(kHeaderSize + *size);
    Result<std::vector<MetadataEntry>> entries =
        parseEntries(entryBytes.from(kHeaderSize + kMetadataHeaderSize));
    if (!entries)
        return entries.error();
    for (const MetadataEntry &entry : *entries)
        takeEntry(block, entry);
    block.digest = sha256(covered);
    parseDigest(validation, block);
    return block;
}

}  // namespace vx::bitlocker
