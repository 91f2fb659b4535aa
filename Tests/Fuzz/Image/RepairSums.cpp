#include "RepairSums.h"

#include "ByteReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <zlib.h>

namespace vx {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kSector = 512;

bool Holds(const Bytes &bytes, uint64_t at, uint64_t count)
{
    return at <= bytes.size() && count <= bytes.size() - at;
}

void PutLittle(Bytes *bytes, uint64_t at, uint32_t value)
{
    for (size_t i = 0; i < 4; ++i)
        (*bytes)[at + i] = static_cast<uint8_t>(value >> 8 * i);
}

void PutBig(Bytes *bytes, uint64_t at, uint32_t value)
{
    for (size_t i = 0; i < 4; ++i)
        (*bytes)[at + i] = static_cast<uint8_t>(value >> 8 * (3 - i));
}

// Writes the Adler-32 of a range after it.
void PutSumAfter(Bytes *bytes, uint64_t at, uint64_t count)
{
    if (Holds(*bytes, at, count + 4))
        PutLittle(bytes, at + count,
                  static_cast<uint32_t>(adler32_z(1, bytes->data() + at, count)));
}

// Repairs that of a zlib stream, whose end is found by unpacking it.
void RepairStream(Bytes *bytes, uint64_t at)
{
    constexpr size_t kHeaderBytes = 2;
    if (!Holds(*bytes, at, kHeaderBytes + 4))
        return;
    std::array<uint8_t, size_t{128} << 10> unpacked;
    z_stream stream = {};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK)
        return;
    stream.next_in = bytes->data() + at + kHeaderBytes;
    stream.avail_in = static_cast<uInt>(bytes->size() - at - kHeaderBytes);
    stream.next_out = unpacked.data();
    stream.avail_out = static_cast<uInt>(unpacked.size());
    const int result = inflate(&stream, Z_FINISH);
    const uint64_t end = at + kHeaderBytes + stream.total_in;
    const size_t count = stream.total_out;
    inflateEnd(&stream);
    if (result == Z_STREAM_END && Holds(*bytes, end, 4))
        PutBig(bytes, end, static_cast<uint32_t>(adler32_z(1, unpacked.data(), count)));
}

// What the sections so far say about the tables that follow.
struct EwfState {
    uint64_t chunkBytes = 0;
    bool hasSums = false;
};

void RepairChunks(Bytes *image, uint64_t table, uint64_t count, uint64_t chunkBytes)
{
    constexpr uint32_t kPacked = uint32_t{1} << 31;
    const uint64_t base = U64At(*image, table + 8);
    for (uint64_t number = 0; number < count; ++number) {
        const uint32_t entry = U32At(*image, table + 24 + 4 * number);
        const uint64_t at = base + (entry & ~kPacked);
        if ((entry & kPacked) != 0)
            RepairStream(image, at);
        else
            PutSumAfter(image, at, chunkBytes);
    }
}

void RepairTable(Bytes *image, uint64_t at, const EwfState &state)
{
    constexpr uint64_t kMostEntries = 64;
    if (!Holds(*image, at, 24))
        return;
    const uint64_t count = std::min<uint64_t>(U32At(*image, at), kMostEntries);
    if (Holds(*image, at + 24, 4 * count)) {
        RepairChunks(image, at, count, state.chunkBytes);
        if (state.hasSums)
            PutSumAfter(image, at + 24, 4 * count);
    }
    PutSumAfter(image, at, 20);
}

void RepairDisk(Bytes *image, uint64_t at, uint64_t count, EwfState *state)
{
    constexpr uint64_t kLong = 1052;
    constexpr uint64_t kShort = 94;
    if (!Holds(*image, at, kShort))
        return;
    state->hasSums = count >= kLong;
    state->chunkBytes = uint64_t{U32At(*image, at + 8)} * U32At(*image, at + 12);
    PutSumAfter(image, at, (count >= kLong ? kLong : kShort) - 4);
}

void RepairFooter(Bytes *image, uint64_t at, size_t count, size_t sumAt)
{
    if (!Holds(*image, at, count))
        return;
    uint32_t sum = 0;
    PutBig(image, at + sumAt, 0);
    for (size_t i = 0; i < count; ++i)
        sum += (*image)[at + i];
    PutBig(image, at + sumAt, ~sum);
}

}  // namespace

void RepairEwf(Bytes *image)
{
    constexpr uint64_t kHeader = 76;
    constexpr int kMostSections = 100;
    EwfState state;
    uint64_t at = 13;
    for (int section = 0; section < kMostSections && Holds(*image, at, kHeader); ++section) {
        const auto *type = reinterpret_cast<const char *>(image->data() + at);
        const uint64_t next = U64At(*image, at + 16);
        const uint64_t data = at + kHeader;
        const bool isDisk = std::strncmp(type, "volume", 16) == 0 ||
                            std::strncmp(type, "disk", 16) == 0 ||
                            std::strncmp(type, "data", 16) == 0;
        if (isDisk)
            RepairDisk(image, data, next - data, &state);
        else if (std::strncmp(type, "table", 5) == 0)
            RepairTable(image, data, state);
        else if (std::strncmp(type, "error2", 16) == 0)
            PutSumAfter(image, data, 516);
        PutSumAfter(image, at, kHeader - 4);
        if (next <= at)
            return;
        at = next;
    }
}

void RepairVhd(Bytes *image)
{
    constexpr size_t kHeaderBytes = 1024;
    if (image->size() < kSector)
        return;
    RepairFooter(image, ByteReader(*image, 16).BigU64(), kHeaderBytes, 36);
    RepairFooter(image, 0, kSector, 64);
    RepairFooter(image, image->size() - kSector, kSector, 64);
}

void RepairVmdk(Bytes *image)
{
    constexpr size_t kMarkerBytes = 12;
    constexpr uint8_t kDeflate = 0x78;
    for (size_t at = 0; Holds(*image, at, kMarkerBytes + 1); at += kSector) {
        if ((*image)[at + kMarkerBytes] == kDeflate)
            RepairStream(image, at + kMarkerBytes);
    }
}

void RepairQcow(Bytes *image)
{
    constexpr uint32_t kMark = 0x514649FB;
    constexpr uint64_t kKnownFeatures = 31;
    if (!Holds(*image, 0, 112))
        return;
    const auto numberAt = [&](size_t at) { return ByteReader(*image, at).BigU32(); };
    PutBig(image, 0, kMark);
    PutBig(image, 4, 2 + numberAt(4) % 2);
    PutBig(image, 20, 9 + numberAt(20) % 13);
    PutBig(image, 24, numberAt(24) % 0x80000000);
    PutBig(image, 32, 0);
    PutBig(image, 36, numberAt(36) % 1024);
    PutBig(image, 72, 0);
    PutBig(image, 76, numberAt(76) & kKnownFeatures);
    PutBig(image, 100, 104 + numberAt(100) % 2 * 8);
    (*image)[104] %= 2;
}

void RepairVdi(Bytes *image)
{
    constexpr uint32_t kMark = 0xBEDA107F;
    constexpr uint32_t kVersion = 0x00010001;
    constexpr size_t kBlockBytesAt = 0x178;
    if (!Holds(*image, 0, kSector))
        return;
    PutLittle(image, 64, kMark);
    PutLittle(image, 68, kVersion);
    PutLittle(image, 76, 1 + U32At(*image, 76) % 2);
    PutLittle(image, kBlockBytesAt, 1u << (9 + U32At(*image, kBlockBytesAt) / 512 % 4));
}

}  // namespace vx
