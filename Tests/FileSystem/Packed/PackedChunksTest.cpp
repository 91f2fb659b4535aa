// Chunks that libwim packs, and the same ones damaged: what is unpacked here is what libwim
// unpacks.
#include "LzxDecoder.h"
#include "PackedContents.h"
#include "WimChunks.h"
#include "XpressDecoder.h"

#include <gtest/gtest.h>
#include <random>

namespace vx {
namespace {

using Bytes = WimChunks::Bytes;

ByteView ViewOf(const std::string &bytes)
{
    return {reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()};
}

class PackedChunks : public testing::TestWithParam<PackedForm> {
protected:
    // Nothing if it is damaged.
    std::optional<Bytes> Unpacked(const Bytes &packed, size_t size)
    {
        Bytes bytes(size);
        ChunkDecoder &decoder = GetParam().packing == WofPacking::kLzx
                                    ? static_cast<ChunkDecoder &>(lzx)
                                    : static_cast<ChunkDecoder &>(xpress);
        return decoder.Decode(packed, bytes.data(), size) ? std::optional(std::move(bytes))
                                                          : std::nullopt;
    }

    // Whole chunks, packed; those that do not become smaller are left out.
    std::vector<Bytes> PackedSamples() const
    {
        std::vector<Bytes> samples;
        for (unsigned seed = 0; seed < 40; ++seed) {
            const auto kind = kAllContents[seed % std::size(kAllContents)];
            const auto packed = wim.Pack(ViewOf(ContentsOf(kind, GetParam().chunkBytes, seed)));
            if (packed)
                samples.push_back(*packed);
        }
        return samples;
    }

    const WimChunks wim{GetParam()};
    XpressDecoder xpress;
    LzxDecoder lzx;
};

// Flips bits, overwrites a byte or cuts the end off.
void Damage(std::mt19937 *random, Bytes *packed)
{
    for (unsigned times = 1 + (*random)() % 3; times > 0; --times) {
        uint8_t &byte = (*packed)[(*random)() % packed->size()];
        byte =
            static_cast<uint8_t>((*random)() % 2 == 0 ? (*random)() : byte ^ 1u << (*random)() % 8);
    }
    if ((*random)() % 4 == 0)
        packed->resize(1 + (*random)() % packed->size());
}

TEST_P(PackedChunks, EveryChunkOfEverySizeUnpacks)
{
    std::vector<size_t> sizes;
    for (size_t size = 1; size < GetParam().chunkBytes; size = size * 5 / 4 + 1)
        sizes.push_back(size);
    sizes.push_back(GetParam().chunkBytes - 1);
    sizes.push_back(GetParam().chunkBytes);
    size_t unpacked = 0;
    for (const ContentsKind kind : kAllContents) {
        for (const size_t size : sizes) {
            const std::string contents = ContentsOf(kind, size, static_cast<unsigned>(size));
            const auto packed = wim.Pack(ViewOf(contents));
            if (!packed)
                continue;
            ++unpacked;
            EXPECT_TRUE(Unpacked(*packed, size) == ViewOf(contents).Copy()) << size;
        }
    }
    EXPECT_GT(unpacked, sizes.size());
}

TEST_P(PackedChunks, OfADamagedChunkTheSameBytesAreGivenAsElsewhereOrNone)
{
    std::mt19937 random(4);
    const std::vector<Bytes> samples = PackedSamples();
    constexpr int kTimes = 3000;
    int alike = 0;
    int refused = 0;
    for (int i = 0; i < kTimes; ++i) {
        const size_t size =
            i % 3 == 0 ? 1 + random() % GetParam().chunkBytes : GetParam().chunkBytes;
        Bytes packed = samples[random() % samples.size()];
        Damage(&random, &packed);
        const auto found = Unpacked(packed, size);
        const auto elsewhere = wim.Unpack(packed, size);
        if (found)
            ASSERT_TRUE(elsewhere == found) << i;
        alike += found ? 1 : 0;
        refused += found ? 0 : 1;
    }
    EXPECT_GT(alike, kTimes / 50);
    EXPECT_GT(refused, kTimes / 4);
}

// Where the other library reads zeros beyond the end, the chunk is damaged here. So it is where the
// description of a code in LZX goes beyond the code, which the other library allows.
TEST_P(PackedChunks, WhatIsAcceptedElsewhereIsAcceptedHereWithTheZerosThatAreAssumedThere)
{
    std::mt19937 random(5);
    const std::vector<Bytes> samples = PackedSamples();
    int accepted = 0;
    int refused = 0;
    for (int i = 0; i < 1000; ++i) {
        Bytes packed = samples[random() % samples.size()];
        Damage(&random, &packed);
        const auto elsewhere = wim.Unpack(packed, GetParam().chunkBytes);
        if (!elsewhere)
            continue;
        packed.resize(packed.size() + 2 * GetParam().chunkBytes);
        const auto there = wim.Unpack(packed, GetParam().chunkBytes);
        if (there != elsewhere)
            continue;  // an odd byte at the end, which is now part of a word
        const auto found = Unpacked(packed, GetParam().chunkBytes);
        accepted += found ? 1 : 0;
        refused += found ? 0 : 1;
        EXPECT_TRUE(!found || found == elsewhere) << i;
    }
    EXPECT_GT(accepted, 100);
    EXPECT_LE(refused, GetParam().packing == WofPacking::kLzx ? accepted / 10 : 0);
}

TEST_P(PackedChunks, AChunkThatEndsEarlyIsRightOrDamaged)
{
    const size_t size = GetParam().chunkBytes;
    const std::string contents = ContentsOf(ContentsKind::kText, size);
    const Bytes packed = wim.Pack(ViewOf(contents)).value();
    for (size_t length = 0; length < packed.size(); ++length) {
        const auto found = Unpacked(ByteView(packed).First(length).Copy(), size);
        EXPECT_TRUE(!found || *found == ViewOf(contents).Copy()) << length;
        EXPECT_TRUE(!found || length + 6 > packed.size()) << length;
    }
}

std::string NameOf(const testing::TestParamInfo<PackedForm> &form)
{
    constexpr const char *kNames[] = {"Xpress4K", "Lzx", "Xpress8K", "Xpress16K"};
    return kNames[static_cast<size_t>(form.param.packing)];
}

INSTANTIATE_TEST_SUITE_P(Forms, PackedChunks, testing::ValuesIn(kPackedForms), NameOf);

}  // namespace
}  // namespace vx
