#include "ConversionMapWriter.h"

#include "ByteWriter.h"

#include "Bitlocker/Crc32.h"

namespace vx::bitlocker::maker {

namespace {

void setChecksum(std::vector<uint8_t> &bytes, size_t covered, size_t field)
{
    putU32(bytes, field, crc32WithoutField(ByteView(bytes).first(covered), field));
}

}  // namespace

ConversionMapWriter::ConversionMapWriter(const VolumeRecipe &recipe, const VolumePlan &plan)
    : _recipe(recipe), _plan(plan), _conversion(*recipe.conversion)
{
}

ConversionMapWriter::Region ConversionMapWriter::region(size_t index) const
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

size_t ConversionMapWriter::regionOf(uint64_t offset) const
{
    for (size_t index = kRegions - 1; index > 0; --index)
        if (offset >= region(index).offset)
            return index;
    return 0;
}

bool ConversionMapWriter::isEncrypted(uint64_t offset) const
{
    const Region place = region(regionOf(offset));
    const uint64_t chunk =
        place.offset + (offset - place.offset) / _conversion.chunkSize * _conversion.chunkSize;
    if (_conversion.interruptedChunk == chunk)
        return (offset - chunk) / _recipe.sectorSize < _conversion.interruptedSectors;
    return _conversion.isEncrypted(chunk);
}

std::vector<uint8_t> ConversionMapWriter::information() const
{
    const size_t size = 0x38 + 8 * kRegions;
    ByteWriter writer;
    writer.text("FVE-EOW", true).u16(0x38).u16(static_cast<uint16_t>(size));
    writer.u32(_recipe.sectorSize).u32(_recipe.sectorSize).u32(_conversion.chunkSize);
    writer.u32(static_cast<uint32_t>(logLength(_recipe))).u32(slotLength(_recipe));
    writer.u32(kRegions).u32(0).u64(_plan.conversionOffsets[0]).u64(_plan.conversionOffsets[1]);
    for (size_t index = 0; index < kRegions; ++index)
        writer.u64(_plan.bitmapsOffset + index * kBitmapBlockLength);
    std::vector<uint8_t> bytes = writer.result();
    setChecksum(bytes, size, 36);
    return bytes;
}

// stale: with every bit the other way, to see that the newer record counts.
std::vector<uint8_t> ConversionMapWriter::record(size_t index, uint64_t sequence, bool stale) const
{
    const Region place = region(index);
    const uint64_t count = (place.length + _conversion.chunkSize - 1) / _conversion.chunkSize;
    ByteWriter writer;
    writer.text("FVE-EOWBR", true).u16(0x24).u32(kRecordLength).u32(static_cast<uint32_t>(count));
    writer.u64(sequence).u32(1).u32(0).zeros(kRecordLength - 0x24);
    std::vector<uint8_t> bytes = writer.result();
    for (uint64_t chunk = 0; chunk < count; ++chunk)
        if (_conversion.isEncrypted(place.offset + chunk * _conversion.chunkSize) != stale)
            bytes.at(0x24 + chunk / 8) |= static_cast<uint8_t>(1 << (chunk % 8));
    setChecksum(bytes, kRecordLength, 32);
    return bytes;
}

std::vector<uint8_t> ConversionMapWriter::bitmapBlock(size_t index) const
{
    const Region place = region(index);
    ByteWriter writer;
    writer.text("FVE-EOWBM", true).u16(0x3c).u32(kBitmapBlockLength);
    writer.u32(static_cast<uint32_t>(index)).u64(place.offset).u64(place.length);
    writer.u64(_plan.logsOffset + index * logLength(_recipe));
    writer.u32(kRecordLength).u32(2 * kRecordLength).u32(kRecordLength).u32(0).pad(kRecordLength);
    std::vector<uint8_t> bytes = writer.result();
    setChecksum(bytes, kRecordLength, 56);
    // Which of the two is newer differs from region to region.
    const bool firstIsNewer = index % 2 == 0;
    const std::vector<uint8_t> newer = record(index, 8, false);
    const std::vector<uint8_t> older = record(index, 7, true);
    putBytes(bytes, kRecordLength, firstIsNewer ? newer : older);
    putBytes(bytes, 2 * kRecordLength, firstIsNewer ? older : newer);
    return bytes;
}

std::vector<uint8_t> ConversionMapWriter::bitmaps() const
{
    ByteWriter writer;
    for (size_t index = 0; index < kRegions; ++index)
        writer.bytes(bitmapBlock(index));
    return writer.result();
}

std::vector<uint8_t> ConversionMapWriter::slot(uint64_t sequence, uint64_t chunk,
                                               ByteView saved) const
{
    ByteWriter record;
    record.u16(0x20).u16(1).u64(sequence).u64(chunk).u32(static_cast<uint32_t>(saved.size));
    record.u32(Crc32().add(saved).value());
    record.u32(Crc32().add(record.result()).value());
    ByteWriter writer;
    writer.bytes(record.result()).pad(512).bytes(saved);
    writer.zeros(slotLength(_recipe) - 512 - writer.size()).bytes(record.result()).pad(512);
    return writer.result();
}

std::vector<uint8_t> ConversionMapWriter::log(size_t index, ByteView saved) const
{
    ByteWriter writer;
    if (!_conversion.withLog)
        return writer.zeros(logLength(_recipe)).result();
    const bool here =
        _conversion.interruptedChunk && regionOf(*_conversion.interruptedChunk) == index;
    writer.text("OLRDHEVF2", true).pad(_recipe.sectorSize);
    writer.bytes(slot(3, 0, {}));
    return writer
        .bytes(slot(4, here ? *_conversion.interruptedChunk : 0, here ? saved : ByteView()))
        .result();
}

std::vector<uint8_t> ConversionMapWriter::logs(ByteView saved) const
{
    ByteWriter writer;
    for (size_t index = 0; index < kRegions; ++index)
        writer.bytes(log(index, saved));
    return writer.result();
}

}  // namespace vx::bitlocker::maker
