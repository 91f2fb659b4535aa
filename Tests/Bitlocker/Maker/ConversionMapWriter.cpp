#include "ConversionMapWriter.h"

#include "ByteWriter.h"

#include "Crc32.h"

namespace vx::bitlocker::maker {

namespace {

void SetChecksum(std::vector<uint8_t> &bytes, size_t covered, size_t field)
{
    PutU32(bytes, field, Crc32WithoutField(ByteView(bytes).First(covered), field));
}

}  // namespace

ConversionMapWriter::ConversionMapWriter(const VolumeRecipe &recipe, const VolumePlan &plan)
    : _recipe(recipe), _plan(plan), _conversion(*recipe.conversion)
{
}

ConversionMapWriter::Region ConversionMapWriter::RegionAt(size_t index) const
{
    const uint64_t relocated = static_cast<uint64_t>(_plan.relocatedSectors) * _recipe.sectorSize;
    const uint64_t chunk = _conversion.chunkSize;
    const uint64_t middle = relocated + (_plan.plainSize / 2 + chunk - 1) / chunk * chunk;
    if (index == 0)
        return {relocated, middle - relocated};
    if (index == 1)
        return {middle, _plan.relocationOffset - middle};
    return {_plan.relocationOffset, _plan.size - _plan.relocationOffset};
}

size_t ConversionMapWriter::RegionOf(uint64_t offset) const
{
    for (size_t index = kRegions - 1; index > 0; --index)
        if (offset >= RegionAt(index).offset)
            return index;
    return 0;
}

bool ConversionMapWriter::IsEncrypted(uint64_t offset) const
{
    const Region place = RegionAt(RegionOf(offset));
    const uint64_t chunk =
        place.offset + (offset - place.offset) / _conversion.chunkSize * _conversion.chunkSize;
    if (_conversion.interruptedChunk == chunk)
        return (offset - chunk) / _recipe.sectorSize < _conversion.interruptedSectors;
    return _conversion.isEncrypted(chunk);
}

std::vector<uint8_t> ConversionMapWriter::Information() const
{
    const size_t size = 0x38 + 8 * kRegions;
    ByteWriter writer;
    writer.Text("FVE-EOW", true).U16(0x38).U16(static_cast<uint16_t>(size));
    writer.U32(_recipe.sectorSize).U32(_recipe.sectorSize).U32(_conversion.chunkSize);
    writer.U32(static_cast<uint32_t>(LogLength(_recipe))).U32(SlotLength(_recipe));
    writer.U32(kRegions).U32(0).U64(_plan.conversionOffsets[0]).U64(_plan.conversionOffsets[1]);
    for (size_t index = 0; index < kRegions; ++index)
        writer.U64(_plan.bitmapsOffset + index * kBitmapBlockLength);
    std::vector<uint8_t> bytes = writer.Result();
    SetChecksum(bytes, size, 36);
    return bytes;
}

// stale: with every bit the other way, to see that the newer record counts.
std::vector<uint8_t> ConversionMapWriter::Record(size_t index, uint64_t sequence, bool stale) const
{
    const Region place = RegionAt(index);
    const uint64_t count = (place.length + _conversion.chunkSize - 1) / _conversion.chunkSize;
    ByteWriter writer;
    writer.Text("FVE-EOWBR", true).U16(0x24).U32(kRecordLength).U32(static_cast<uint32_t>(count));
    writer.U64(sequence).U32(_conversion.direction).U32(0).Zeros(kRecordLength - 0x24);
    std::vector<uint8_t> bytes = writer.Result();
    for (uint64_t chunk = 0; chunk < count; ++chunk)
        if (_conversion.isEncrypted(place.offset + chunk * _conversion.chunkSize) != stale)
            bytes.at(0x24 + chunk / 8) |= static_cast<uint8_t>(1 << (chunk % 8));
    SetChecksum(bytes, kRecordLength, 32);
    return bytes;
}

std::vector<uint8_t> ConversionMapWriter::BitmapBlock(size_t index) const
{
    const Region place = RegionAt(index);
    ByteWriter writer;
    writer.Text("FVE-EOWBM", true).U16(0x3c).U32(kBitmapBlockLength);
    writer.U32(static_cast<uint32_t>(index)).U64(place.offset).U64(place.length);
    writer.U64(_plan.logsOffset + index * LogLength(_recipe));
    writer.U32(kRecordLength).U32(2 * kRecordLength).U32(kRecordLength).U32(0).Pad(kRecordLength);
    std::vector<uint8_t> bytes = writer.Result();
    SetChecksum(bytes, kRecordLength, 56);
    // Which of the two is newer differs from region to region.
    const bool firstIsNewer = index % 2 == 0;
    const std::vector<uint8_t> newer = Record(index, 8, false);
    const std::vector<uint8_t> older = Record(index, 7, true);
    PutBytes(bytes, kRecordLength, firstIsNewer ? newer : older);
    PutBytes(bytes, 2 * kRecordLength, firstIsNewer ? older : newer);
    return bytes;
}

std::vector<uint8_t> ConversionMapWriter::Bitmaps() const
{
    ByteWriter writer;
    for (size_t index = 0; index < kRegions; ++index)
        writer.Bytes(BitmapBlock(index));
    return writer.Result();
}

std::vector<uint8_t> ConversionMapWriter::Slot(uint64_t sequence, uint64_t chunk,
                                               ByteView saved) const
{
    ByteWriter record;
    record.U16(0x20).U16(1).U64(sequence).U64(chunk).U32(static_cast<uint32_t>(saved.size));
    record.U32(Crc32().Add(saved).Value());
    record.U32(Crc32().Add(record.Result()).Value());
    ByteWriter writer;
    writer.Bytes(record.Result()).Pad(512).Bytes(saved);
    writer.Zeros(SlotLength(_recipe) - 512 - writer.Size()).Bytes(record.Result()).Pad(512);
    return writer.Result();
}

std::vector<uint8_t> ConversionMapWriter::Log(size_t index, ByteView saved) const
{
    ByteWriter writer;
    if (!_conversion.withLog)
        return writer.Zeros(LogLength(_recipe)).Result();
    const bool here =
        _conversion.interruptedChunk && RegionOf(*_conversion.interruptedChunk) == index;
    writer.Text("OLRDHEVF2", true).Pad(_recipe.sectorSize);
    writer.Bytes(Slot(3, 0, {}));
    return writer
        .Bytes(Slot(4, here ? *_conversion.interruptedChunk : 0, here ? saved : ByteView()))
        .Result();
}

std::vector<uint8_t> ConversionMapWriter::Logs(ByteView saved) const
{
    ByteWriter writer;
    for (size_t index = 0; index < kRegions; ++index)
        writer.Bytes(Log(index, saved));
    return writer.Result();
}

}  // namespace vx::bitlocker::maker
