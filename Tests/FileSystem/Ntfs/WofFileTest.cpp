// Packed files by what their tables of chunks say. Chunks are stored as they are here, so that
// every byte shows where it came from.
#include "WofFile.h"

#include "ExtentFile.h"
#include "PutNumber.h"
#include "ResidentFile.h"
#include "SourceWithHole.h"

#include <gtest/gtest.h>
#include <string>

namespace vx {
namespace {

using Bytes = std::vector<uint8_t>;
using Lost = std::vector<std::pair<uint64_t, uint64_t>>;  // places and lengths

struct Form {
    WofPacking packing;
    uint64_t chunkBytes;
};
constexpr Form kForms[] = {{WofPacking::kXpress4K, 4096},
                           {WofPacking::kXpress8K, 8192},
                           {WofPacking::kXpress16K, 16384},
                           {WofPacking::kLzx, 32768}};
constexpr uint64_t kChunk = 4096;

uint8_t ByteAt(uint64_t position)
{
    const uint64_t mixed = position * 0x9E3779B97F4A7C15;
    return static_cast<uint8_t>(mixed >> 56 | 1);  // never zero
}

std::string Contents(uint64_t size, uint64_t from = 0)
{
    std::string bytes;
    for (uint64_t i = 0; i < size; ++i)
        bytes.push_back(static_cast<char>(ByteAt(from + i)));
    return bytes;
}

// All chunks as they are, after a table of entries with four bytes.
Bytes StoredStream(uint64_t size, uint64_t chunkBytes)
{
    Bytes stream;
    for (uint64_t end = chunkBytes; end < size; end += chunkBytes) {
        stream.resize(stream.size() + 4);
        PutNumber(&stream, stream.size() - 4, end, 4);
    }
    const std::string contents = Contents(size);
    stream.insert(stream.end(), contents.begin(), contents.end());
    return stream;
}

struct Found {
    std::string bytes;
    Lost lost;
    bool isGood = true;
};

Found ReadAll(VolumeFile *file, uint32_t atATime)
{
    Found found;
    const auto size = static_cast<size_t>(file->Size().value_or(0));
    while (found.bytes.size() < size) {
        std::string piece(std::min<size_t>(atATime, size - found.bytes.size()), '?');
        uint32_t done = 0;
        found.isGood &= file->Read(piece.data(), static_cast<uint32_t>(piece.size()), &done);
        found.bytes += piece;
    }
    for (const ByteRange &range : file->UnreadRanges())
        found.lost.emplace_back(range.offset, range.length);
    return found;
}

// What is lost is zeros and reported, and all else is right, however it is read.
void ExpectLost(const Bytes &stream, uint64_t size, const Lost &lost,
                WofPacking packing = WofPacking::kXpress4K)
{
    std::string expected = Contents(size);
    for (const auto &[at, length] : lost)
        expected.replace(at, length, length, '\0');
    for (const uint32_t atATime : {1u << 22, 5000u, 999u}) {
        WofFile file(std::make_unique<ResidentFile>(stream), size, packing);
        const Found found = ReadAll(&file, atATime);
        EXPECT_TRUE(found.bytes == expected) << atATime;
        EXPECT_EQ(found.lost, lost) << atATime;
        EXPECT_EQ(found.isGood, lost.empty());
    }
}

Bytes WithEntry(Bytes stream, size_t entry, uint64_t value)
{
    PutNumber(&stream, 4 * entry, value, 4);
    return stream;
}

TEST(WofFile, EveryByteOfAFileOfAnySizeIsRead)
{
    for (const Form &form : kForms) {
        const uint64_t c = form.chunkBytes;
        for (const uint64_t size : {uint64_t{0}, uint64_t{1}, c - 1, c, c + 1, 2 * c, 3 * c - 1,
                                    3 * c, 3 * c + 1, 20 * c + 7})
            ExpectLost(StoredStream(size, c), size, {}, form.packing);
    }
}

TEST(WofFile, AReadBeginsAndEndsAnywhere)
{
    const uint64_t size = 9 * kChunk + 5;
    WofFile file(std::make_unique<ResidentFile>(StoredStream(size, kChunk)), size,
                 WofPacking::kXpress4K);
    const std::string contents = Contents(size);
    for (uint64_t at = size; at < 10 * size; at += 3001) {
        const uint64_t begin = at * 7919 % size;
        const auto count = static_cast<uint32_t>(at % 9973);
        std::string piece(count, '?');
        uint32_t done = 0;
        ASSERT_TRUE(file.Move(static_cast<int64_t>(begin), 0));
        EXPECT_TRUE(file.Read(piece.data(), count, &done));
        const std::string there = contents.substr(begin, count);
        EXPECT_EQ(done, there.size());
        EXPECT_TRUE(piece == there + std::string(count - there.size(), '\0'));
    }
}

TEST(WofFile, ATableThatIsNotSortedLosesTheChunksOnBothSidesOfAWrongPlace)
{
    constexpr uint64_t kSize = 6 * kChunk + 9;
    const Bytes sound = StoredStream(kSize, kChunk);
    const Lost secondAndThird = {{kChunk, 2 * kChunk}};
    ExpectLost(WithEntry(sound, 1, 0), kSize, secondAndThird);
    ExpectLost(WithEntry(sound, 1, kChunk), kSize, secondAndThird);      // an empty chunk
    ExpectLost(WithEntry(sound, 1, 5 * kChunk), kSize, secondAndThird);  // one too long
    ExpectLost(WithEntry(sound, 1, 0xFFFFFFFF), kSize, secondAndThird);
    ExpectLost(WithEntry(sound, 1, kSize + 1), kSize, secondAndThird);
    ExpectLost(WithEntry(sound, 0, 0), kSize, {{0, 2 * kChunk}});
    ExpectLost(WithEntry(sound, 5, kSize), kSize, {{5 * kChunk, kChunk + 9}});
}

TEST(WofFile, AStreamThatEndsEarlyLosesWhatItDoesNotHold)
{
    constexpr uint64_t kSize = 3 * kChunk;
    Bytes stream = StoredStream(kSize, kChunk);
    stream.resize(stream.size() - 1);  // the last chunk is one byte too short to be stored
    ExpectLost(stream, kSize, {{2 * kChunk, kChunk}});
    stream.resize(8 + kChunk + 10);
    ExpectLost(stream, kSize, {{kChunk, 2 * kChunk}});
    stream.resize(6);  // in its table
    ExpectLost(stream, kSize, {{0, kSize}});
    ExpectLost({}, kSize, {{0, kSize}});
    ExpectLost({}, 1, {{0, 1}});
}

TEST(WofFile, BytesAfterTheLastChunkMakeItTooLong)
{
    constexpr uint64_t kSize = 2 * kChunk;
    Bytes stream = StoredStream(kSize, kChunk);
    stream.push_back('x');
    ExpectLost(stream, kSize, {{kChunk, kChunk}});
}

TEST(WofFile, AStoredChunkLosesOnlyTheBytesThatCannotBeRead)
{
    constexpr uint64_t kSize = 100 * kChunk;
    const Bytes stream = StoredStream(kSize, kChunk);
    const uint64_t table = stream.size() - kSize;
    const auto source = std::make_shared<SourceWithHole>(std::string(stream.begin(), stream.end()));
    const auto opened = [&] {
        const FileExtents extents = {
            stream.size(),
            stream.size(),
            {{0, table + 5 * kChunk + 100, 0, FileRun::Kind::kStored},
             {table + 5 * kChunk + 100, 50, table + 5 * kChunk + 100, FileRun::Kind::kStored},
             {table + 5 * kChunk + 150, stream.size() - table - 5 * kChunk - 150,
              table + 5 * kChunk + 150, FileRun::Kind::kStored}}};
        return WofFile(std::make_unique<ExtentFile>(source, extents), kSize, WofPacking::kXpress4K);
    };
    source->MoveHole(table + 5 * kChunk + 110, table + 5 * kChunk + 120);
    WofFile file = opened();
    const Found found = ReadAll(&file, 1 << 20);
    EXPECT_EQ(found.lost, (Lost{{5 * kChunk + 100, 50}}));
    std::string expected = Contents(kSize);
    expected.replace(5 * kChunk + 100, 50, 50, '\0');
    EXPECT_TRUE(found.bytes == expected);
}

TEST(WofFile, AnEntryThatCannotBeReadLosesTheChunksOnItsSides)
{
    constexpr uint64_t kSize = 100 * kChunk;
    const Bytes stream = StoredStream(kSize, kChunk);
    const auto source =
        std::make_shared<SourceWithHole>(std::string(stream.begin(), stream.end()), 41, 42);
    // The tenth entry lies in a run of its own.
    const FileExtents extents = {stream.size(),
                                 stream.size(),
                                 {{0, 40, 0, FileRun::Kind::kStored},
                                  {40, 4, 40, FileRun::Kind::kStored},
                                  {44, stream.size() - 44, 44, FileRun::Kind::kStored}}};
    WofFile file(std::make_unique<ExtentFile>(source, extents), kSize, WofPacking::kXpress4K);
    EXPECT_EQ(ReadAll(&file, 1 << 20).lost, (Lost{{10 * kChunk, 2 * kChunk}}));
}

// The stream of a large file with all chunks as they are, made as it is read.
class GeneratedStream final : public VolumeFile {
public:
    GeneratedStream(uint64_t size, uint64_t chunkBytes, uint32_t entryBytes)
        : _chunkBytes(chunkBytes),
          _entryBytes(entryBytes),
          _tableBytes(((size + chunkBytes - 1) / chunkBytes - 1) * entryBytes),
          _size(_tableBytes + size)
    {
    }
    std::optional<int64_t> Size() const override { return KnownSize(); }

protected:
    int64_t KnownSize() const override { return static_cast<int64_t>(_size); }
    uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *) override
    {
        for (uint32_t i = 0; i < count; ++i)
            buffer[i] = static_cast<char>(At(static_cast<uint64_t>(position) + i));
        return count;
    }

private:
    uint8_t At(uint64_t place) const
    {
        if (place >= _tableBytes)
            return ByteAt(place - _tableBytes);
        const uint64_t entry = (place / _entryBytes + 1) * _chunkBytes;
        return static_cast<uint8_t>(entry >> 8 * (place % _entryBytes));
    }

    const uint64_t _chunkBytes;
    const uint32_t _entryBytes;
    const uint64_t _tableBytes;
    const uint64_t _size;
};

TEST(WofFile, FromFourGibibytesOnTheEntriesHaveEightBytes)
{
    constexpr uint64_t k4GiB = uint64_t{1} << 32;
    constexpr uint32_t kCount = 70000;
    for (const Form &form : kForms) {
        for (const uint64_t size : {k4GiB - 1, k4GiB, k4GiB + 1, 3 * k4GiB + 12345}) {
            WofFile file(
                std::make_unique<GeneratedStream>(size, form.chunkBytes, size < k4GiB ? 4 : 8),
                size, form.packing);
            for (const uint64_t at : {uint64_t{0}, k4GiB - kCount / 2 - 1, size - kCount}) {
                const auto count = static_cast<uint32_t>(std::min<uint64_t>(kCount, size - at));
                std::string piece(count, '?');
                uint32_t done = 0;
                ASSERT_TRUE(file.Move(static_cast<int64_t>(at), 0));
                EXPECT_TRUE(file.Read(piece.data(), count, &done)) << size;
                EXPECT_TRUE(piece == Contents(count, at)) << size << " " << at;
            }
        }
    }
}

TEST(WofFile, AFileOfAnySizeTakesLittleMemoryAndTime)
{
    constexpr uint64_t kSize = (uint64_t{1} << 63) - 1;
    WofFile file(std::make_unique<ResidentFile>(Bytes(1000)), kSize, WofPacking::kXpress4K);
    std::string piece(5000, '?');
    uint32_t done = 0;
    for (const uint64_t at : {uint64_t{0}, kSize / 2, kSize - 5000}) {
        ASSERT_TRUE(file.Move(static_cast<int64_t>(at), 0));
        EXPECT_FALSE(file.Read(piece.data(), 5000, &done));
        EXPECT_EQ(done, 0u);
        EXPECT_EQ(piece, std::string(5000, '\0'));
    }
}

}  // namespace
}  // namespace vx
