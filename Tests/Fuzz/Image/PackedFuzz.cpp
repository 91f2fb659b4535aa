// Fuzz target: packed files and their chunks. The first byte of an input says the form, and
// whether the rest is one chunk or a whole stream; the next three are the size of what is unpacked.
// Where libwim is installed, what unpacks here is what it unpacks.
#include "../HeapLimit.h"
#include "../Require.h"
#include "LzxDecoder.h"
#include "ResidentFile.h"
#include "WofFile.h"
#include "XpressDecoder.h"

#ifdef VX_WIM
#include "WimChunks.h"
#endif

#include <algorithm>
#include <string>

using namespace vx;

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kChunkBytes[] = {4096, 32768, 8192, 16384};  // by WofPacking
constexpr size_t kMostBytes = size_t{1} << 18;

#ifdef VX_WIM
void ExpectSame(WofPacking packing, ByteView packed, const Bytes &found)
{
    static const WimChunks kForms[] = {
        WimChunks({WofPacking::kXpress4K, 4096}), WimChunks({WofPacking::kLzx, 32768}),
        WimChunks({WofPacking::kXpress8K, 8192}), WimChunks({WofPacking::kXpress16K, 16384})};
    const auto elsewhere = kForms[static_cast<size_t>(packing)].Unpack(packed, found.size());
    Require(elsewhere && *elsewhere == found, "the chunk unpacks alike elsewhere");
}
#else
void ExpectSame(WofPacking, ByteView, const Bytes &) {}
#endif

// Both buffers end where they say, so that a sanitizer sees what goes beyond.
void UnpackChunk(WofPacking packing, const Bytes &packed, size_t size)
{
    static XpressDecoder xpress;
    static LzxDecoder lzx;
    ChunkDecoder &decoder = packing == WofPacking::kLzx ? static_cast<ChunkDecoder &>(lzx) : xpress;
    Bytes bytes(std::min(size, kChunkBytes[static_cast<size_t>(packing)]));
    if (!bytes.empty() && decoder.Decode(packed, bytes.data(), bytes.size()))
        ExpectSame(packing, packed, bytes);
}

std::string ReadPieces(VolumeFile *file, size_t size, size_t atATime)
{
    std::string bytes(size, '?');
    uint64_t lost = 0;
    for (size_t at = 0; at < size; at += atATime) {
        const auto count = static_cast<uint32_t>(std::min(atATime, size - at));
        uint32_t done = 0;
        const bool isWhole = file->Read(&bytes[at], count, &done);
        Require(isWhole == (done == count), "a whole read reads all");
        lost += count - done;
    }
    uint64_t reported = 0;
    for (const ByteRange &range : file->UnreadRanges()) {
        reported += range.length;
        for (uint64_t i = 0; i < range.length; ++i)
            Require(bytes[range.offset + i] == 0, "what is lost is zeros");
    }
    Require(lost == reported, "what is lost is reported");
    return bytes;
}

void ReadStream(WofPacking packing, const Bytes &stream, size_t size)
{
    size = std::min(size, kMostBytes);
    WofFile whole(std::make_unique<ResidentFile>(stream), size, packing);
    WofFile pieces(std::make_unique<ResidentFile>(stream), size, packing);
    Require(ReadPieces(&whole, size, kMostBytes) == ReadPieces(&pieces, size, 3001),
            "pieces read alike");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    constexpr size_t kHeaderBytes = 4;
    if (size < kHeaderBytes)
        return 0;
    const HeapLimit limit;
    const auto packing = static_cast<WofPacking>(data[0] % 4);
    const size_t unpacked = U32At(ByteView(data, size), 0) >> 8;
    const Bytes rest(data + kHeaderBytes, data + size);
    if (data[0] / 4 % 2 == 0)
        UnpackChunk(packing, rest, unpacked);
    else
        ReadStream(packing, rest, unpacked);
    return 0;
}
