#include "ConversionMapReader.h"

#include "ByteReader.h"
#include "Crc32.h"

#include <algorithm>
#include <cstring>

namespace vx::bitlocker {

namespace {

constexpr size_t kInformationHeader = 0x38;
constexpr size_t kInformationChecksumAt = 36;
constexpr size_t kBlockHeader = 0x3c;
constexpr size_t kBlockChecksumAt = 56;
constexpr size_t kRecordHeader = 0x24;
constexpr size_t kRecordChecksumAt = 32;
constexpr size_t kLongestRecord = 64 * 1024;
constexpr size_t kLogRecord = 32;
constexpr size_t kLogRecordSector = 512;
constexpr size_t kSavedBytes = 16;
constexpr uint32_t kLongestSlot = 4 * 1024 * 1024;
constexpr uint32_t kLargestChunk = 1U << 30;

Error Damage(const std::string &detail)
{
    return {Status::kDamagedConversionMap, detail};
}

// signature with its final zero, at the beginning
bool HasSignature(ByteView bytes, const char *signature)
{
    const size_t length = std::strlen(signature) + 1;
    return bytes.size >= length && std::memcmp(bytes.data, signature, length) == 0;
}

bool IsChecksumRight(ByteView bytes, size_t field)
{
    return ByteReader(bytes, field).U32() == Crc32WithoutField(bytes, field);
}

// What counts in a record of bits.
struct Record {
    uint64_t sequence = 0;
    ConversionMap::Direction direction = ConversionMap::Direction::kIdle;
    ByteView bits;
};

ConversionMap::Direction DirectionOf(uint32_t stored)
{
    switch (stored) {
    case 1:
        return ConversionMap::Direction::kEncrypting;
    case 2:
        return ConversionMap::Direction::kDecrypting;
    default:
        return ConversionMap::Direction::kIdle;
    }
}

// False for a record that is damaged.
bool ParseRecord(ByteView bytes, uint64_t bitCount, Record &record)
{
    if (bytes.size < kRecordHeader || !HasSignature(bytes, "FVE-EOWBR"))
        return false;
    ByteReader reader(bytes, 10);
    const size_t headerSize = reader.U16();
    const size_t length = reader.U32();
    const uint64_t storedCount = reader.U32();
    record.sequence = reader.U64();
    record.direction = DirectionOf(reader.U32());
    record.bits = bytes.From(kRecordHeader);
    return headerSize == kRecordHeader && length == bytes.size && storedCount == bitCount &&
           (bitCount + 7) / 8 <= record.bits.size && IsChecksumRight(bytes, kRecordChecksumAt);
}

}  // namespace

ConversionMapReader::ConversionMapReader(const ByteSource &source, uint32_t sectorSize)
    : _source(source), _sectorSize(sectorSize)
{
}

Result<std::vector<uint8_t>> ConversionMapReader::ReadBytes(uint64_t offset, size_t count)
{
    if (count > kMostRead - _read)
        return Damage("it is too large");
    _read += count;
    std::vector<uint8_t> bytes(count);
    Error error = _source.ReadAt(offset, bytes.data(), count);
    if (error.status == Status::kTruncatedImage)
        return Damage("a part of it lies beyond the end of the image");
    if (error)
        return error;
    return bytes;
}

Result<ConversionMapReader::Information> ConversionMapReader::ReadInformation(uint64_t offset)
{
    Result<std::vector<uint8_t>> header = ReadBytes(offset, kInformationHeader);
    if (!header)
        return header.Failure();
    ByteReader reader(*header, 8);
    const size_t headerSize = reader.U16();
    const size_t size = reader.U16();
    const uint32_t sectorSize = reader.U32();
    reader.Skip(4);
    Information information;
    information.chunkSize = reader.U32();
    reader.Skip(4);
    information.slotLength = reader.U32();
    const size_t regions = reader.U32();
    if (!HasSignature(*header, "FVE-EOW") || headerSize != kInformationHeader || regions == 0 ||
        size != kInformationHeader + 8 * regions)
        return Damage("its first part is not where it should be");
    Result<std::vector<uint8_t>> whole = ReadBytes(offset, size);
    if (!whole)
        return whole.Failure();
    if (!IsChecksumRight(*whole, kInformationChecksumAt))
        return Damage("a checksum is wrong");
    if (sectorSize != _sectorSize || information.chunkSize == 0 ||
        information.chunkSize % _sectorSize != 0 || information.chunkSize > kLargestChunk)
        return Damage("the size of its chunks is impossible");
    ByteReader blocks(*whole, kInformationHeader);
    for (size_t region = 0; region < regions; ++region)
        information.blocks.push_back(blocks.U64());
    if (NamesBlockTwice(information))
        return Damage("a block is named for two regions");
    return information;
}

bool ConversionMapReader::NamesBlockTwice(const Information &information)
{
    std::vector<uint64_t> blocks = information.blocks;
    std::sort(blocks.begin(), blocks.end());
    return std::adjacent_find(blocks.begin(), blocks.end()) != blocks.end();
}

// The newer of the two records counts.
Error ConversionMapReader::ReadBits(ByteView block, ConversionMap::Region &region)
{
    ByteReader reader(block, 44);
    const size_t begins[] = {reader.U32(), reader.U32()};
    const size_t length = reader.U32();
    Record newest;
    bool found = false;
    for (size_t begin : begins) {
        Record record;
        const ByteView bytes = block.From(begin).First(length);
        if (bytes.size != length || !ParseRecord(bytes, region.ChunkCount(), record))
            continue;
        if (!found || record.sequence > newest.sequence)
            newest = record;
        found = true;
    }
    if (!found)
        return Damage("both records of a region are damaged");
    region.direction = newest.direction;
    region.bits = newest.bits.First((region.ChunkCount() + 7) / 8).Copy();
    return {};
}

Result<ConversionMap::Region> ConversionMapReader::ReadRegion(const Information &information,
                                                              uint64_t block)
{
    Result<std::vector<uint8_t>> header = ReadBytes(block, kBlockHeader);
    if (!header)
        return header.Failure();
    ByteReader reader(*header, 10);
    const size_t headerSize = reader.U16();
    const uint64_t size = reader.U32();
    reader.Skip(4);
    ConversionMap::Region region;
    region.offset = reader.U64();
    region.length = reader.U64();
    region.chunkSize = information.chunkSize;
    const uint64_t log = reader.U64();
    reader.Skip(8);
    const uint64_t length = reader.U32();
    if (!HasSignature(*header, "FVE-EOWBM") || headerSize != kBlockHeader ||
        length < kBlockHeader || length > kLongestRecord || size != 3 * length)
        return Damage("the block of a region is damaged");
    if (region.length == 0 || region.offset > UINT64_MAX - region.length ||
        region.offset % _sectorSize != 0 || region.length / region.chunkSize > 8 * kLongestRecord)
        return Damage("a region has an impossible place");
    Result<std::vector<uint8_t>> whole = ReadBytes(block, static_cast<size_t>(size));
    if (!whole)
        return whole.Failure();
    if (!IsChecksumRight(ByteView(*whole).First(length), kBlockChecksumAt))
        return Damage("a checksum is wrong");
    if (Error error = ReadBits(*whole, region))
        return error;
    if (Error error = ReadLog(information, log, region))
        return error;
    return region;
}

// A slot that was not written to its end is left out: the conversion that it announces had not
// begun then.
Error ConversionMapReader::ReadSlot(const Information &information, uint64_t offset,
                                    std::vector<LogSlot> &slots)
{
    Result<std::vector<uint8_t>> bytes = ReadBytes(offset, information.slotLength);
    if (!bytes)
        return bytes.Failure();
    ByteReader reader(*bytes);
    const bool isRecord = reader.U16() == kLogRecord && reader.U16() == 1;
    LogSlot slot;
    slot.sequence = reader.U64();
    slot.chunk = reader.U64();
    const size_t length = reader.U32();
    const uint32_t dataChecksum = reader.U32();
    const uint32_t recordChecksum = reader.U32();
    const ByteView saved = ByteView(*bytes).From(kLogRecordSector).First(length);
    if (!isRecord || recordChecksum != Crc32().Add(ByteView(*bytes).First(28)).Value())
        return {};
    if (slot.chunk != 0) {
        if (saved.size != length || dataChecksum != Crc32().Add(saved).Value())
            return {};
        slot.saved = saved.Copy();
    }
    slots.push_back(std::move(slot));
    return {};
}

Error ConversionMapReader::ReadLog(const Information &information, uint64_t log,
                                   ConversionMap::Region &region)
{
    Result<std::vector<uint8_t>> header = ReadBytes(log, _sectorSize);
    if (!header)
        return header.Failure();
    if (!HasSignature(*header, "OLRDHEVF2"))
        return {};  // nothing was ever logged
    if (information.slotLength < kLogRecordSector || information.slotLength > kLongestSlot)
        return Damage("the length of its log is impossible");
    std::vector<LogSlot> slots;
    for (uint64_t k = 0; k < 2; ++k) {
        const uint64_t offset = log + _sectorSize + k * information.slotLength;
        if (Error error = ReadSlot(information, offset, slots))
            return error;
    }
    if (slots.empty())
        return Damage("both records of a log are damaged");
    const auto older = [](const LogSlot &a, const LogSlot &b) { return a.sequence < b.sequence; };
    return AddInterrupted(*std::max_element(slots.begin(), slots.end(), older), region);
}

Error ConversionMapReader::AddInterrupted(const LogSlot &slot, ConversionMap::Region &region) const
{
    if (slot.chunk == 0)
        return {};
    const uint64_t inside = slot.chunk - region.offset;
    if (slot.chunk < region.offset || inside >= region.length || inside % region.chunkSize != 0)
        return Damage("the log names a chunk that does not exist");
    ConversionMap::InterruptedChunk chunk;
    chunk.offset = slot.chunk;
    chunk.length = std::min(region.chunkSize, region.length - inside);
    if (slot.saved.size() < (chunk.length + _sectorSize - 1) / _sectorSize * kSavedBytes)
        return Damage("the log is too short for its chunk");
    chunk.saved = slot.saved;
    region.interrupted.push_back(std::move(chunk));
    return {};
}

Error ConversionMapReader::CheckOrder(std::vector<ConversionMap::Region> &regions) const
{
    std::sort(regions.begin(), regions.end(),
              [](const ConversionMap::Region &a, const ConversionMap::Region &b) {
                  return a.offset < b.offset;
              });
    for (size_t next = 1; next < regions.size(); ++next)
        if (regions[next - 1].offset + regions[next - 1].length > regions[next].offset)
            return Damage("regions overlap");
    return {};
}

Result<ConversionMap> ConversionMapReader::Read(std::array<uint64_t, 2> offsets)
{
    Result<Information> information = Damage("the boot sector does not say where it is");
    for (uint64_t offset : offsets)
        if (!information && offset != 0)
            information = ReadInformation(offset);
    if (!information)
        return information.Failure();
    ConversionMap map;
    for (uint64_t block : information->blocks) {
        Result<ConversionMap::Region> region = ReadRegion(*information, block);
        if (!region)
            return region.Failure();
        _memory += region->bits.size() + sizeof *region;
        for (const ConversionMap::InterruptedChunk &chunk : region->interrupted)
            _memory += chunk.saved.size();
        if (_memory > kMostMemory)
            return Damage("it is too large");
        map._regions.push_back(std::move(*region));
    }
    if (Error error = CheckOrder(map._regions))
        return error;
    return map;
}

}  // namespace vx::bitlocker
