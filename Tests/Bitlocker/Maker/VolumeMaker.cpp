#include "VolumeMaker.h"

#include "BitlockerMark.h"
#include "ByteWriter.h"
#include "ConversionMapWriter.h"
#include "SectorEncryptor.h"

#include "ByteReader.h"

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

    const VolumePlan &Plan() const { return _plan; }
    void WriteAll();

private:
    std::vector<uint8_t> Read(uint64_t offset, size_t count) const;
    bool IsHidden(uint64_t offset) const;
    bool IsEncrypted(uint64_t offset, uint64_t stored) const;
    void WriteSectors();
    void WriteVisible(uint64_t begin, ByteView piece);
    void WriteSector(uint64_t offset, uint8_t *sector);
    void KeepSaved(uint64_t stored, const uint8_t *sector);
    void WriteBootSector();
    std::vector<uint8_t> NewerBootSector() const;
    std::vector<uint8_t> VistaBootSector() const;

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
      _plan(VolumePlan::Make(recipe, plain.Size())),
      _metadata(recipe, _plan, ByteReader(Read(0, kBootSize), kMirrorAt).U64()),
      _encryptor(recipe.method, _metadata.SectorKey(), recipe.sectorSize)
{
    if (plain.Size() % recipe.sectorSize != 0)
        throw std::runtime_error("the plain image ends within a sector");
    if (recipe.conversion)
        _conversion.emplace(_recipe, _plan);
}

// Zeros beyond the end of the plain image.
std::vector<uint8_t> VolumeMaker::Run::Read(uint64_t offset, size_t count) const
{
    std::vector<uint8_t> bytes(count);
    if (offset >= _plain.Size())
        return bytes;
    const auto stored = static_cast<size_t>(std::min<uint64_t>(count, _plain.Size() - offset));
    if (Error error = _plain.ReadAt(offset, bytes.data(), stored))
        throw std::runtime_error(error.detail);
    return bytes;
}

bool VolumeMaker::Run::IsHidden(uint64_t offset) const
{
    const uint64_t relocated = static_cast<uint64_t>(_plan.relocatedSectors) * _recipe.sectorSize;
    for (uint64_t copy : _plan.copies)
        if (offset >= copy && offset - copy < _plan.areaSize)
            return true;
    return offset >= _plan.relocationOffset && offset - _plan.relocationOffset < relocated;
}

bool VolumeMaker::Run::IsEncrypted(uint64_t offset, uint64_t stored) const
{
    if (_recipe.layout == Layout::kVista)
        return offset >= kVistaPlainSectors * _recipe.sectorSize;
    if (_conversion)
        return _conversion->IsEncrypted(stored);
    return (stored < _plan.encryptedSize) != (stored != offset && _recipe.relocatedOtherwise);
}

// Notes what the log keeps of a sector, in its encrypted form.
void VolumeMaker::Run::KeepSaved(uint64_t stored, const uint8_t *sector)
{
    const bool inChunk =
        _conversion && _recipe.conversion->interruptedChunk &&
        stored >= *_recipe.conversion->interruptedChunk &&
        stored - *_recipe.conversion->interruptedChunk < _recipe.conversion->chunkSize;
    if (!inChunk)
        return;
    std::vector<uint8_t> copy(sector, sector + _recipe.sectorSize);
    _encryptor.Encrypt(stored, copy.data());
    _saved.insert(_saved.end(), copy.begin(), copy.begin() + 16);
}

void VolumeMaker::Run::WriteSector(uint64_t offset, uint8_t *sector)
{
    const uint64_t relocated = static_cast<uint64_t>(_plan.relocatedSectors) * _recipe.sectorSize;
    const uint64_t stored = offset < relocated ? _plan.relocationOffset + offset : offset;
    KeepSaved(stored, sector);
    if (IsEncrypted(offset, stored))
        _encryptor.Encrypt(stored, sector);
    if (offset < relocated)
        _sink.Write(stored, {sector, _recipe.sectorSize});
}

// The hidden areas are written on their own; the relocated sectors may be there already.
void VolumeMaker::Run::WriteVisible(uint64_t begin, ByteView piece)
{
    for (size_t at = 0; at < piece.size;) {
        const bool hidden = IsHidden(begin + at);
        size_t end = at;
        while (end < piece.size && IsHidden(begin + end) == hidden)
            end += _recipe.sectorSize;
        if (!hidden)
            _sink.Write(begin + at, piece.From(at).First(end - at));
        at = end;
    }
}

void VolumeMaker::Run::WriteSectors()
{
    const uint64_t relocated = static_cast<uint64_t>(_plan.relocatedSectors) * _recipe.sectorSize;
    const std::vector<uint8_t> noise = MadeUpBytes(_recipe.seed).Bytes("noise", 32);
    for (uint64_t begin = 0; begin < _plan.size; begin += kPiece) {
        const auto count = static_cast<size_t>(std::min<uint64_t>(kPiece, _plan.size - begin));
        std::vector<uint8_t> piece = Read(begin, count);
        for (size_t at = 0; at < count; at += _recipe.sectorSize) {
            if (!IsHidden(begin + at))
                WriteSector(begin + at, piece.data() + at);
            if (begin + at < relocated)  // never read
                for (size_t i = 0; i < _recipe.sectorSize; ++i)
                    piece[at + i] = noise[i % noise.size()];
        }
        WriteVisible(begin, piece);
    }
}

std::vector<uint8_t> VolumeMaker::Run::NewerBootSector() const
{
    const bool toGo = _recipe.layout == Layout::kToGo;
    const Guid &identifier = _conversion ? kConvertingVolume : kOrdinaryVolume;
    std::vector<uint8_t> boot = ByteWriter().U16(0x58eb).Bytes(std::vector<uint8_t>{0x90}).Result();
    boot.resize(kBootSize);
    PutBytes(boot, 3, ByteWriter().Text(toGo ? "MSWIN4.1" : "-FVE-FS-").Result());
    if (_recipe.sectorSizeInBootSector)
        PutU16(boot, 11, static_cast<uint16_t>(_recipe.sectorSize));
    boot[13] = 8;
    ByteWriter pointers;
    pointers.Guid(identifier).U64(_plan.copies[0]).U64(_plan.copies[1]).U64(_plan.copies[2]);
    PutBytes(boot, toGo ? 424 : 160, pointers.Result());
    if (_conversion && !toGo) {
        PutU64(boot, 200, _plan.conversionOffsets[0]);
        PutU64(boot, 208, _plan.conversionOffsets[1]);
    }
    PutU16(boot, 510, 0xaa55);
    return boot;
}

std::vector<uint8_t> VolumeMaker::Run::VistaBootSector() const
{
    std::vector<uint8_t> boot = Read(0, kBootSize);
    const uint64_t cluster =
        static_cast<uint64_t>(ByteReader(boot, 11).U16()) * ByteReader(boot, 13).U8();
    if (cluster == 0 || _plan.copies[0] % cluster != 0)
        throw std::runtime_error("a Vista volume needs an NTFS boot sector");
    PutBytes(boot, 0, ByteWriter().U16(0x52eb).Bytes(std::vector<uint8_t>{0x90}).Result());
    PutBytes(boot, 3, ByteWriter().Text("-FVE-FS-").Result());
    PutU64(boot, kMirrorAt, _plan.copies[0] / cluster);
    return boot;
}

void VolumeMaker::Run::WriteBootSector()
{
    _sink.Write(0, _recipe.layout == Layout::kVista ? VistaBootSector() : NewerBootSector());
}

void VolumeMaker::Run::WriteAll()
{
    WriteSectors();
    WriteBootSector();
    for (size_t copy = 0; copy < _plan.copies.size(); ++copy)
        _sink.Write(_plan.copies[copy], _metadata.Area(copy));
    if (!_conversion)
        return;
    for (uint64_t offset : _plan.conversionOffsets)
        _sink.Write(offset, _conversion->Information());
    _sink.Write(_plan.bitmapsOffset, _conversion->Bitmaps());
    _sink.Write(_plan.logsOffset, _conversion->Logs(_saved));
}

VolumePlan VolumeMaker::Make(const ByteSource &plain, VolumeSink &sink) const
{
    Run run(_recipe, plain, sink);
    run.WriteAll();
    return run.Plan();
}

}  // namespace vx::bitlocker::maker
