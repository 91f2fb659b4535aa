#include "VolumeMaker.h"

#include "ByteWriter.h"
#include "ConversionMapWriter.h"
#include "SectorEncryptor.h"

#include "Bitlocker/ByteReader.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace vx::bitlocker::maker {

namespace {

constexpr size_t kPiece = 1024 * 1024;
constexpr size_t kBootSize = 512;
constexpr size_t kMirrorAt = 56;
constexpr uint64_t kVistaPlainSectors = 16;

}  // namespace

// One making of a volume.
class VolumeMaker::Run {
public:
    Run(const VolumeRecipe &recipe, const ByteSource &plain, VolumeSink &sink);

    const VolumePlan &plan() const { return _plan; }
    void writeAll();

private:
    std::vector<uint8_t> read(uint64_t offset, size_t count) const;
    bool isHidden(uint64_t offset) const;
    bool isEncrypted(uint64_t offset, uint64_t stored) const;
    void writeSectors();
    void writeVisible(uint64_t begin, ByteView piece);
    void writeSector(uint64_t offset, uint8_t *sector);
    void keepSaved(uint64_t stored, const uint8_t *sector);
    void writeBootSector();
    std::vector<uint8_t> newerBootSector() const;
    std::vector<uint8_t> vistaBootSector() const;

    const VolumeRecipe &_recipe;
    const ByteSource &_plain;
    VolumeSink &_sink;
    const VolumePlan _plan;
    const MetadataWriter _metadata;
    const SectorEncryptor _encryptor;
    std::optional<ConversionMapWriter> _conversion;
    std::vector<uint8_t> _saved;
};

VolumeMaker::Run::Run(const VolumeRecipe &recipe, const ByteSource &plain, VolumeSink &sink)
    : _recipe(recipe),
      _plain(plain),
      _sink(sink),
      _plan(VolumePlan::make(recipe, plain.size())),
      _metadata(recipe, _plan, ByteReader(read(0, kBootSize), kMirrorAt).u64()),
      _encryptor(recipe.method, _metadata.sectorKey(), recipe.sectorSize)
{
    if (plain.size() % recipe.sectorSize != 0)
        throw std::runtime_error("the plain image ends within a sector");
    if (recipe.conversion)
        _conversion.emplace(_recipe, _plan);
}

// Zeros behind the end of the plain image.
std::vector<uint8_t> VolumeMaker::Run::read(uint64_t offset, size_t count) const
{
    std::vector<uint8_t> bytes(count);
    if (offset >= _plain.size())
        return bytes;
    const auto stored = static_cast<size_t>(std::min<uint64_t>(count, _plain.size() - offset));
    if (Error error = _plain.readAt(offset, bytes.data(), stored))
        throw std::runtime_error(describe(error));
    return bytes;
}

bool VolumeMaker::Run::isHidden(uint64_t offset) const
{
    const uint64_t relocated = static_cast<uint64_t>(_plan.relocatedSectors) * _recipe.sectorSize;
    for (uint64_t copy : _plan.copies)
        if (offset >= copy && offset - copy < _plan.areaSize)
            return true;
    return offset >= _plan.relocationOffset && offset - _plan.relocationOffset < relocated;
}

bool VolumeMaker::Run::isEncrypted(uint64_t offset, uint64_t stored) const
{
    if (_recipe.layout == Layout::Vista)
        return offset >= kVistaPlainSectors * _recipe.sectorSize;
    if (_conversion)
        return _conversion->isEncrypted(stored);
    return (stored < _plan.encryptedSize) != (stored != offset && _recipe.relocatedOtherwise);
}

// Notes what the log keeps of a sector, in its encrypted form.
void VolumeMaker::Run::keepSaved(uint64_t stored, const uint8_t *sector)
{
    const bool inChunk =
        _conversion && _recipe.conversion->interruptedChunk &&
        stored >= *_recipe.conversion->interruptedChunk &&
        stored - *_recipe.conversion->interruptedChunk < _recipe.conversion->chunkSize;
    if (!inChunk)
        return;
    std::vector<uint8_t> copy(sector, sector + _recipe.sectorSize);
    _encryptor.encrypt(stored, copy.data());
    _saved.insert(_saved.end(), copy.begin(), copy.begin() + 16);
}

void VolumeMaker::Run::writeSector(uint64_t offset, uint8_t *sector)
{
    const uint64_t relocated = static_cast<uint64_t>(_plan.relocatedSectors) * _recipe.sectorSize;
    const uint64_t stored = offset < relocated ? _plan.relocationOffset + offset : offset;
    keepSaved(stored, sector);
    if (isEncrypted(offset, stored))
        _encryptor.encrypt(stored, sector);
    if (offset < relocated)
        _sink.write(stored, {sector, _recipe.sectorSize});
}

// The hidden areas are written on their own; the relocated sectors may be there already.
void VolumeMaker::Run::writeVisible(uint64_t begin, ByteView piece)
{
    for (size_t at = 0; at < piece.size;) {
        const bool hidden = isHidden(begin + at);
        size_t end = at;
        while (end < piece.size && isHidden(begin + end) == hidden)
            end += _recipe.sectorSize;
        if (!hidden)
            _sink.write(begin + at, piece.from(at).first(end - at));
        at = end;
    }
}

void VolumeMaker::Run::writeSectors()
{
    const uint64_t relocated = static_cast<uint64_t>(_plan.relocatedSectors) * _recipe.sectorSize;
    const std::vector<uint8_t> noise = MadeUpBytes(_recipe.seed).bytes("noise", 32);
    for (uint64_t begin = 0; begin < _plan.size; begin += kPiece) {
        const auto count = static_cast<size_t>(std::min<uint64_t>(kPiece, _plan.size - begin));
        std::vector<uint8_t> piece = read(begin, count);
        for (size_t at = 0; at < count; at += _recipe.sectorSize) {
            if (!isHidden(begin + at))
                writeSector(begin + at, piece.data() + at);
            if (begin + at < relocated)  // what lies there is nobody's business
                for (size_t i = 0; i < _recipe.sectorSize; ++i)
                    piece[at + i] = noise[i % noise.size()];
        }
        writeVisible(begin, piece);
    }
}

std::vector<uint8_t> VolumeMaker::Run::newerBootSector() const
{
    const bool toGo = _recipe.layout == Layout::ToGo;
    const Guid &identifier = _conversion ? kConvertingVolume : kOrdinaryVolume;
    std::vector<uint8_t> boot = ByteWriter().u16(0x58eb).bytes(std::vector<uint8_t>{0x90}).result();
    boot.resize(kBootSize);
    putBytes(boot, 3, ByteWriter().text(toGo ? "MSWIN4.1" : "-FVE-FS-").result());
    if (_recipe.sectorSizeInBootSector)
        putU16(boot, 11, static_cast<uint16_t>(_recipe.sectorSize));
    boot[13] = 8;
    ByteWriter pointers;
    pointers.guid(identifier).u64(_plan.copies[0]).u64(_plan.copies[1]).u64(_plan.copies[2]);
    putBytes(boot, toGo ? 424 : 160, pointers.result());
    if (_conversion && !toGo) {
        putU64(boot, 200, _plan.conversionOffsets[0]);
        putU64(boot, 208, _plan.conversionOffsets[1]);
    }
    putU16(boot, 510, 0xaa55);
    return boot;
}

std::vector<uint8_t> VolumeMaker::Run::vistaBootSector() const
{
    std::vector<uint8_t> boot = read(0, kBootSize);
    const uint64_t cluster =
        static_cast<uint64_t>(ByteReader(boot, 11).u16()) * ByteReader(boot, 13).u8();
    if (cluster == 0 || _plan.copies[0] % cluster != 0)
        throw std::runtime_error("a Vista volume needs an NTFS boot sector");
    putBytes(boot, 0, ByteWriter().u16(0x52eb).bytes(std::vector<uint8_t>{0x90}).result());
    putBytes(boot, 3, ByteWriter().text("-FVE-FS-").result());
    putU64(boot, kMirrorAt, _plan.copies[0] / cluster);
    return boot;
}

void VolumeMaker::Run::writeBootSector()
{
    _sink.write(0, _recipe.layout == Layout::Vista ? vistaBootSector() : newerBootSector());
}

void VolumeMaker::Run::writeAll()
{
    writeSectors();
    writeBootSector();
    for (size_t copy = 0; copy < _plan.copies.size(); ++copy)
        _sink.write(_plan.copies[copy], _metadata.area(copy));
    if (!_conversion)
        return;
    for (uint64_t offset : _plan.conversionOffsets)
        _sink.write(offset, _conversion->information());
    _sink.write(_plan.bitmapsOffset, _conversion->bitmaps());
    _sink.write(_plan.logsOffset, _conversion->logs(_saved));
}

VolumePlan VolumeMaker::make(const ByteSource &plain, VolumeSink &sink) const
{
    Run run(_recipe, plain, sink);
    run.writeAll();
    return run.plan();
}

}  // namespace vx::bitlocker::maker
