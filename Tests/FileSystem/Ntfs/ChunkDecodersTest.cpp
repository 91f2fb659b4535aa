// The two ways of packing chunks, by published examples and by bits that are put together here.
#include "LzxDecoder.h"
#include "XpressDecoder.h"

#include <gtest/gtest.h>
#include <string>

namespace vx {
namespace {

using Bytes = std::vector<uint8_t>;

// Nothing if the chunk is damaged. Both buffers end where they say, so that a sanitizer sees what
// goes beyond.
std::optional<std::string> Unpacked(ChunkDecoder *decoder, const Bytes &packed, size_t size)
{
    Bytes bytes(size);
    if (!decoder->Decode(packed, bytes.data(), size))
        return std::nullopt;
    return std::string(bytes.begin(), bytes.end());
}

struct Nibbles {
    size_t at;
    uint8_t value;
};

// The lengths of the codes, then the packed bytes.
Bytes XpressChunk(const std::vector<Nibbles> &lengths, const Bytes &packed)
{
    Bytes chunk(256);
    for (const Nibbles &pair : lengths)
        chunk[pair.at] = pair.value;
    chunk.insert(chunk.end(), packed.begin(), packed.end());
    return chunk;
}

// The examples of [MS-XCA] 3.2.
Bytes Alphabet()
{
    std::vector<Nibbles> lengths = {{48, 0x50}, {59, 0x45}, {60, 0x44}, {61, 0x04}, {128, 0x04}};
    for (size_t at = 49; at < 59; ++at)
        lengths.push_back({at, 0x55});
    return XpressChunk(lengths, {0xd8, 0x52, 0x3e, 0xd7, 0x94, 0x11, 0x5b, 0xe9, 0x19, 0x5f,
                                 0xf9, 0xd6, 0x7c, 0xdf, 0x8d, 0x04, 0x00, 0x00, 0x00, 0x00});
}

Bytes Abc(const Bytes &packed = {0xa8, 0xdc, 0x00, 0x00, 0xff, 0x26, 0x01})
{
    return XpressChunk({{48, 0x30}, {49, 0x23}, {128, 0x02}, {143, 0x20}}, packed);
}

std::string AbcTimes100()
{
    std::string text;
    for (int i = 0; i < 100; ++i)
        text += "abc";
    return text;
}

// Appends bits to words, each from its highest bit on.
class BitWriter {
public:
    BitWriter &Put(uint32_t value, unsigned count)
    {
        for (unsigned bit = count; bit-- > 0;) {
            if (_used % 16 == 0)
                _bytes.resize(_bytes.size() + 2);
            const unsigned inWord = 15 - _used % 16;
            _bytes[_bytes.size() - 2 + inWord / 8] |=
                static_cast<uint8_t>((value >> bit & 1) << inWord % 8);
            ++_used;
        }
        return *this;
    }
    // To the next word; a whole word if one has just ended.
    BitWriter &LeaveWord() { return Put(0, 16 - _used % 16); }
    BitWriter &PutBytes(const std::string &bytes)
    {
        _bytes.insert(_bytes.end(), bytes.begin(), bytes.end());
        return *this;
    }
    const Bytes &All() const { return _bytes; }

private:
    Bytes _bytes;
    unsigned _used = 0;
};

// A block that is stored as it is, in a chunk of LZX; the three distances are those given.
void PutStored(const std::string &bytes, const std::string &distances, BitWriter *writer)
{
    writer->Put(3, 3).Put(0, 1).Put(static_cast<uint32_t>(bytes.size()), 16).LeaveWord();
    writer->PutBytes(distances).PutBytes(bytes).PutBytes(std::string(bytes.size() % 2, '\0'));
}

const std::string kOnes("\1\0\0\0\1\0\0\0\1\0\0\0", 12);

TEST(XpressDecoder, ThePublishedExamplesUnpack)
{
    XpressDecoder decoder;
    EXPECT_EQ(Unpacked(&decoder, Alphabet(), 26), "abcdefghijklmnopqrstuvwxyz");
    EXPECT_EQ(Unpacked(&decoder, Abc(), 300), AbcTimes100());
}

TEST(XpressDecoder, AChunkThatEndsEarlyIsDamaged)
{
    XpressDecoder decoder;
    // The last four bytes hold nothing of the alphabet.
    for (size_t missing = 5; missing < Alphabet().size(); ++missing) {
        Bytes chunk = Alphabet();
        chunk.resize(chunk.size() - missing);
        EXPECT_FALSE(Unpacked(&decoder, chunk, 26)) << missing;
    }
    for (size_t missing = 1; missing < Abc().size(); ++missing) {
        Bytes chunk = Abc();
        chunk.resize(chunk.size() - missing);
        EXPECT_FALSE(Unpacked(&decoder, chunk, 300)) << missing;
    }
}

TEST(XpressDecoder, ARepeatThatDoesNotFitIsDamaged)
{
    XpressDecoder decoder;
    EXPECT_FALSE(Unpacked(&decoder, Abc(), 299));
    EXPECT_FALSE(Unpacked(&decoder, Abc({0xa8, 0xdc, 0, 0, 0xff, 14, 0}), 17));  // too short
    EXPECT_FALSE(Unpacked(&decoder, Abc({0xff, 0xff, 0, 0, 0, 0}), 18));  // from before its start
}

TEST(XpressDecoder, ACodeThatIsNotCompleteIsDamaged)
{
    XpressDecoder decoder;
    EXPECT_FALSE(Unpacked(&decoder, Bytes(300), 10));
    Bytes chunk = Abc();
    chunk[48] = 0x40;
    EXPECT_FALSE(Unpacked(&decoder, chunk, 300));
    chunk[48] = 0x20;
    EXPECT_FALSE(Unpacked(&decoder, chunk, 300));
}

TEST(LzxDecoder, StoredBlocksUnpackWhereverAWordEnds)
{
    LzxDecoder decoder;
    BitWriter writer;
    PutStored("some", kOnes, &writer);
    PutStored("odd", kOnes, &writer);
    PutStored("more", kOnes, &writer);
    EXPECT_EQ(Unpacked(&decoder, writer.All(), 11), "someoddmore");
    Bytes cut = writer.All();
    cut.pop_back();
    EXPECT_FALSE(Unpacked(&decoder, cut, 11));
}

TEST(LzxDecoder, ABlockThatIsEmptyTooLongOrOfNoKindIsDamaged)
{
    LzxDecoder decoder;
    BitWriter tooLong;
    PutStored("four", kOnes, &tooLong);
    EXPECT_FALSE(Unpacked(&decoder, tooLong.All(), 3));
    BitWriter empty;
    PutStored("", kOnes, &empty);
    PutStored("four", kOnes, &empty);
    EXPECT_FALSE(Unpacked(&decoder, empty.All(), 4));
    for (const uint32_t kind : {0u, 4u, 7u})
        EXPECT_FALSE(Unpacked(&decoder, BitWriter().Put(kind, 3).Put(1, 1).Put(0, 28).All(), 4));
    EXPECT_FALSE(Unpacked(&decoder, {}, 4));
}

TEST(LzxDecoder, CallsAreMadeRelativeAgain)
{
    // At 2, a call of 0x1000; at 9, one of an address that is below zero by 4; at 16, one beyond
    // the file; near the end, one that is left alone.
    Bytes bytes(40);
    const auto put = [&bytes](size_t at, uint32_t target) {
        bytes[at] = 0xE8;
        for (size_t i = 0; i < 4; ++i)
            bytes[at + 1 + i] = static_cast<uint8_t>(target >> 8 * i);
    };
    const auto targetAt = [&bytes](size_t at) { return U32At(bytes, at + 1); };
    put(2, 0x1000);
    put(9, 0u - 4);
    put(16, 12000000);
    put(22, 0u - 23);
    put(29, 0x2000);
    put(34, 0x3000);
    RestoreCalls(bytes.data(), bytes.size());
    EXPECT_EQ(targetAt(2), 0x1000u - 2);
    EXPECT_EQ(targetAt(9), 12000000u - 4);
    EXPECT_EQ(targetAt(16), 12000000u);
    EXPECT_EQ(targetAt(22), 0u - 23);
    EXPECT_EQ(targetAt(29), 0x2000u - 29);
    EXPECT_EQ(targetAt(34), 0x3000u);
    put(0, 0u - 1);
    RestoreCalls(bytes.data(), 11);
    EXPECT_EQ(targetAt(0), 0u - 1);
    RestoreCalls(bytes.data(), 3);  // too small for a call
}

}  // namespace
}  // namespace vx
