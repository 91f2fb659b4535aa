// A file that Windows packed as a whole (compact /exe): chunks of one size, each packed for itself,
// in a stream that begins with the places of all chunks but the first.
//
// A chunk that is damaged, or of which anything cannot be read, is lost whole; one that is stored
// as it is loses what cannot be read. Nothing in the stream says whether a chunk is right, so what
// unpacks to the size of a chunk is taken for it, as Windows takes it.
// Ownership: owns the packed stream. Threads: as VolumeFile; takes no lock. Memory: kWindowBytes, a
// part of the table and two chunks, whatever the stream says.
// Sources of the format: Microsoft Learn, "FSCTL_SET_EXTERNAL_BACKING" with WOF_EXTERNAL_INFO and
// FILE_PROVIDER_EXTERNAL_INFO_V1 (wofapi.h); Microsoft, "Windows Imaging File Format" (2007), whose
// table of chunks is the same.
#pragma once

#include "ChunkDecoder.h"
#include "VolumeFile.h"

#include <memory>
#include <string_view>

namespace vx {

// The packed stream of such a file.
constexpr std::u16string_view kWofStreamName = u"WofCompressedData";

// The numbers are those of FILE_PROVIDER_COMPRESSION in wofapi.h.
enum class WofPacking : uint32_t { kXpress4K = 0, kLzx = 1, kXpress8K = 2, kXpress16K = 3 };

class WofFile final : public VolumeFile {
public:
    // packed: the whole stream; size: bytes of the file, less than 2^63.
    WofFile(std::unique_ptr<VolumeFile> packed, uint64_t size, WofPacking packing);

    std::optional<int64_t> Size() const override { return KnownSize(); }
    // Of the packed stream; positions are those in it.
    void VisitPlaces(const StoredPlaceVisitor &visit) const override
    {
        _packed->VisitPlaces(visit);
    }

protected:
    int64_t KnownSize() const override { return static_cast<int64_t>(_size); }
    uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread) override;

private:
    static constexpr uint64_t kWindowBytes = uint64_t{256} << 10;
    static constexpr uint64_t kEntriesAtATime = 1024;
    static constexpr uint64_t kNothing = ~uint64_t{0};

    uint32_t BytesOf(uint64_t chunk) const;
    void LoadChunk(uint64_t chunk);
    void Unpack(uint64_t chunk, uint64_t last, uint8_t *bytes, ByteRanges *unread);
    std::optional<ByteRange> PlaceOf(uint64_t chunk);
    uint64_t BeginOf(uint64_t chunk);
    void LoadEntries(uint64_t first);
    void LoadWindow(const ByteRange &place, uint64_t last);
    void ReadPacked(uint64_t position, uint8_t *bytes, uint64_t count, ByteRanges *gaps);

    const std::unique_ptr<VolumeFile> _packed;
    const uint64_t _size;
    const uint32_t _chunkBytes;
    const uint64_t _chunks;
    const uint32_t _entryBytes;
    const uint64_t _tableBytes;
    const uint64_t _packedBytes;  // 0 if the stream ends before the first chunk
    const std::unique_ptr<ChunkDecoder> _decoder;

    uint64_t _firstEntry = kNothing;
    std::vector<uint64_t> _entries;  // of a part of the table; kNothing if it cannot be read
    ByteRange _windowPlace;
    std::vector<uint8_t> _window;  // of the packed stream
    ByteRanges _windowGaps;
    uint64_t _loaded = kNothing;
    std::vector<uint8_t> _chunk;
    ByteRanges _unread;  // of the chunk, with places in the file
};

}  // namespace vx
