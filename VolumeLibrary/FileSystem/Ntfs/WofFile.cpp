#include "WofFile.h"

#include "ByteReader.h"
#include "LzxDecoder.h"
#include "XpressDecoder.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

uint32_t ChunkBytesOf(WofPacking packing)
{
    switch (packing) {
    case WofPacking::kXpress4K:
        return 4096;
    case WofPacking::kXpress8K:
        return 8192;
    case WofPacking::kXpress16K:
        return 16384;
    case WofPacking::kLzx:
        break;
    }
    return LzxDecoder::kChunkBytes;
}

std::unique_ptr<ChunkDecoder> DecoderOf(WofPacking packing)
{
    if (packing == WofPacking::kLzx)
        return std::make_unique<LzxDecoder>();
    return std::make_unique<XpressDecoder>();
}

uint32_t EntryBytesOf(uint64_t size)
{
    return size >> 32 == 0 ? 4 : 8;
}

// What is left of the stream after its table.
uint64_t PackedBytesOf(const VolumeFile &packed, uint64_t tableBytes)
{
    const auto bytes = static_cast<uint64_t>(packed.Size().value_or(0));
    return bytes - std::min(bytes, tableBytes);
}

bool IsWithin(const ByteRange &part, const ByteRange &whole)
{
    return part.offset >= whole.offset && part.offset + part.length <= whole.offset + whole.length;
}

}  // namespace

WofFile::WofFile(std::unique_ptr<VolumeFile> packed, uint64_t size, WofPacking packing)
    : _packed(std::move(packed)),
      _size(size),
      _chunkBytes(ChunkBytesOf(packing)),
      _chunks(size / _chunkBytes + (size % _chunkBytes != 0 ? 1 : 0)),
      _entryBytes(EntryBytesOf(size)),
      _tableBytes((_chunks - std::min<uint64_t>(_chunks, 1)) * _entryBytes),
      _packedBytes(PackedBytesOf(*_packed, _tableBytes)),
      _decoder(DecoderOf(packing))
{
}

uint32_t WofFile::BytesOf(uint64_t chunk) const
{
    return static_cast<uint32_t>(std::min<uint64_t>(_chunkBytes, _size - chunk * _chunkBytes));
}

uint32_t WofFile::ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread)
{
    const auto start = static_cast<uint64_t>(position);
    if (start >= _size || count == 0)
        return 0;
    count = static_cast<uint32_t>(std::min<uint64_t>(count, _size - start));
    const uint64_t last = (start + count - 1) / _chunkBytes;
    for (uint32_t done = 0; done < count;) {
        const uint64_t at = start + done;
        const uint64_t chunk = at / _chunkBytes;
        const auto skip = static_cast<uint32_t>(at % _chunkBytes);
        const uint32_t piece = std::min(count - done, BytesOf(chunk) - skip);
        if (piece == BytesOf(chunk)) {
            Unpack(chunk, last, reinterpret_cast<uint8_t *>(buffer + done), unread);
        } else {
            LoadChunk(chunk);
            std::memcpy(buffer + done, _chunk.data() + skip, piece);
            AddWithin(_unread, {at, piece}, unread);
        }
        done += piece;
    }
    return count;
}

void WofFile::LoadChunk(uint64_t chunk)
{
    if (chunk == _loaded)
        return;
    _loaded = kNothing;
    _unread.clear();
    _chunk.resize(_chunkBytes);
    Unpack(chunk, chunk, _chunk.data(), &_unread);
    _loaded = chunk;
}

// last: the last chunk that will be wanted after this one.
void WofFile::Unpack(uint64_t chunk, uint64_t last, uint8_t *bytes, ByteRanges *unread)
{
    const uint32_t count = BytesOf(chunk);
    const uint64_t position = chunk * _chunkBytes;
    const auto place = PlaceOf(chunk);
    if (place) {
        LoadWindow(*place, last);
        const uint8_t *packed = _window.data() + (place->offset - _windowPlace.offset);
        ByteRanges gaps;
        AddWithin(_windowGaps, *place, &gaps);
        if (place->length == count) {
            std::memcpy(bytes, packed, count);
            AddMoved(gaps, place->offset, position, unread);
            return;
        }
        if (gaps.empty() && _decoder->Decode({packed, place->length}, bytes, count))
            return;
    }
    std::memset(bytes, 0, count);
    AddRange(position, count, unread);
}

// Where the chunk lies after the table; nothing if that cannot be.
std::optional<ByteRange> WofFile::PlaceOf(uint64_t chunk)
{
    const uint64_t begin = BeginOf(chunk);
    const uint64_t end = BeginOf(chunk + 1);
    if (begin >= end || end > _packedBytes || end - begin > BytesOf(chunk))
        return std::nullopt;
    return ByteRange{begin, end - begin};
}

// kNothing if it is not known.
uint64_t WofFile::BeginOf(uint64_t chunk)
{
    if (chunk == 0)
        return 0;
    if (chunk == _chunks)
        return _packedBytes;
    const uint64_t entry = chunk - 1;
    LoadEntries(entry / kEntriesAtATime * kEntriesAtATime);
    return _entries[static_cast<size_t>(entry % kEntriesAtATime)];
}

void WofFile::LoadEntries(uint64_t first)
{
    if (first == _firstEntry)
        return;
    _firstEntry = kNothing;
    const uint64_t count = std::min(kEntriesAtATime, _chunks - 1 - first);
    std::vector<uint8_t> bytes(static_cast<size_t>(count * _entryBytes));
    ByteRanges gaps;
    ReadPacked(first * _entryBytes, bytes.data(), bytes.size(), &gaps);
    _entries.assign(static_cast<size_t>(count), kNothing);
    for (size_t i = 0; i < _entries.size(); ++i) {
        ByteRanges lost;
        AddWithin(gaps, {(first + i) * _entryBytes, _entryBytes}, &lost);
        if (lost.empty())
            _entries[i] = _entryBytes == 4 ? U32At(bytes, 4 * i) : U64At(bytes, 8 * i);
    }
    _firstEntry = first;
}

// Reads the packed bytes of the chunk, and of those after it as far as they are wanted and fit.
void WofFile::LoadWindow(const ByteRange &place, uint64_t last)
{
    if (IsWithin(place, _windowPlace))
        return;
    const uint64_t known = _firstEntry == kNothing ? last : _firstEntry + _entries.size() - 1;
    const auto end = PlaceOf(std::min(last, known));
    ByteRange wanted = place;
    if (end && end->offset > place.offset)
        wanted.length = std::max(place.length,
                                 std::min(end->offset + end->length - place.offset, kWindowBytes));
    _windowPlace = {};
    _windowGaps.clear();
    _window.resize(static_cast<size_t>(wanted.length));
    ByteRanges gaps;
    ReadPacked(_tableBytes + wanted.offset, _window.data(), wanted.length, &gaps);
    AddMoved(gaps, _tableBytes, 0, &_windowGaps);
    _windowPlace = wanted;
}

// gaps receives what is not there as well.
void WofFile::ReadPacked(uint64_t position, uint8_t *bytes, uint64_t count, ByteRanges *gaps)
{
    constexpr auto kStart = static_cast<uint32_t>(Origin::kStart);
    const auto size = static_cast<uint64_t>(_packed->Size().value_or(0));
    const uint64_t there = std::min(count, size - std::min(size, position));
    uint32_t done = 0;
    if (there > 0 && (!_packed->Move(static_cast<int64_t>(position), kStart) ||
                      !_packed->Read(bytes, static_cast<uint32_t>(there), &done)))
        AddWithin(_packed->UnreadRanges(), {position, there}, gaps);
    AddRange(position + there, count - there, gaps);
}

}  // namespace vx
