// Every width in which the tweaks of XTS are made, against the definition.
#include "Maker/MadeUpBytes.h"

#include "XtsTweaks.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <functional>

namespace vx::bitlocker {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kBlock = 16;
constexpr size_t kGuard = 64;
constexpr uint8_t kUntouched = 0xa5;

// One bit to the left; the bit that falls out comes back as 0x87.
Bytes TimesX(const Bytes &tweak)
{
    Bytes next(kBlock);
    for (size_t i = 0; i < kBlock; ++i)
        next[i] = static_cast<uint8_t>(tweak[i] << 1 | (i > 0 ? tweak[i - 1] >> 7 : 0));
    if (tweak[kBlock - 1] >> 7 != 0)
        next[0] ^= 0x87;
    return next;
}

Bytes TweaksOfSectors(const Bytes &first, size_t sectorSize)
{
    Bytes all;
    for (auto sector = first.begin(); sector != first.end(); sector += kBlock) {
        Bytes tweak(sector, sector + kBlock);
        for (size_t at = 0; at < sectorSize; at += kBlock, tweak = TimesX(tweak))
            all.insert(all.end(), tweak.begin(), tweak.end());
    }
    return all;
}

Bytes Combined(const Bytes &a, const Bytes &b)
{
    Bytes result(a.size());
    std::transform(a.begin(), a.end(), b.begin(), result.begin(), std::bit_xor<>());
    return result;
}

// Bytes at a chosen distance from any boundary, with guards on both sides.
class GuardedBytes {
public:
    GuardedBytes(const Bytes &bytes, size_t distance)
        : _all(kGuard + distance + bytes.size() + kGuard, kUntouched),
          _begin(kGuard + distance),
          _size(bytes.size())
    {
        std::copy(bytes.begin(), bytes.end(), Data());
    }
    GuardedBytes(size_t size, size_t distance) : GuardedBytes(Bytes(size), distance) {}

    uint8_t *Data() { return _all.data() + _begin; }
    Bytes Copy() { return {Data(), Data() + _size}; }
    bool GuardsAreWhole() const
    {
        const auto begin = _all.begin() + static_cast<ptrdiff_t>(_begin);
        const auto untouched = [](uint8_t byte) { return byte == kUntouched; };
        return std::all_of(_all.begin(), begin, untouched) &&
               std::all_of(begin + static_cast<ptrdiff_t>(_size), _all.end(), untouched);
    }

private:
    Bytes _all;
    const size_t _begin;
    const size_t _size;
};

class XtsTweaksTest : public testing::TestWithParam<XtsTweaks> {
protected:
    void SetUp() override
    {
        if (!GetParam().supported)
            GTEST_SKIP() << "this processor has no " << GetParam().name;
    }

    static void ExpectDefinition(const Bytes &first, size_t sectorSize, size_t distance = 0)
    {
        const Bytes expected = TweaksOfSectors(first, sectorSize);
        const Bytes in = maker::MadeUpBytes(4).Bytes("in", expected.size());
        GuardedBytes source(in, distance);
        GuardedBytes tweaks(expected.size(), distance);
        GuardedBytes masked(expected.size(), distance / 2);
        GetParam().apply(first.data(), sectorSize, source.Data(), tweaks.Data(), masked.Data(),
                         expected.size());
        EXPECT_EQ(tweaks.Copy(), expected);
        EXPECT_EQ(masked.Copy(), Combined(in, expected));
        EXPECT_EQ(source.Copy(), in);
        EXPECT_TRUE(tweaks.GuardsAreWhole() && masked.GuardsAreWhole());
    }
};

TEST_P(XtsTweaksTest, EverySectorSizeGetsTheTweaksOfTheDefinition)
{
    for (size_t sectorSize : {512U, 1024U, 2048U, 4096U})
        for (size_t sectors : {1U, 2U, 5U}) {
            SCOPED_TRACE(sectorSize);
            ExpectDefinition(maker::MadeUpBytes(1).Bytes("first", sectors * kBlock), sectorSize);
        }
}

TEST_P(XtsTweaksTest, EveryBitOfTheFirstTweakTravelsThroughTheSector)
{
    for (size_t bit = 0; bit < 8 * kBlock; ++bit) {
        SCOPED_TRACE(bit);
        Bytes first(kBlock);
        first[bit / 8] = static_cast<uint8_t>(1U << bit % 8);
        ExpectDefinition(first, 512);
    }
    ExpectDefinition(Bytes(kBlock, 0), 512);
    ExpectDefinition(Bytes(kBlock, 0xff), 4096);
}

TEST_P(XtsTweaksTest, NoBufferNeedsToBeAligned)
{
    const Bytes first = maker::MadeUpBytes(2).Bytes("first", 2 * kBlock);
    for (size_t distance = 1; distance < 64; ++distance)
        ExpectDefinition(first, 512, distance);
}

TEST_P(XtsTweaksTest, RemovingCombinesEveryByteAndNoneBehind)
{
    for (size_t length = kXtsRow; length <= 8 * kXtsRow; length += kXtsRow) {
        const Bytes tweaks = maker::MadeUpBytes(5).Bytes("tweaks", length);
        const Bytes before = maker::MadeUpBytes(6).Bytes("data", length);
        GuardedBytes data(before, 3);
        GetParam().remove(tweaks.data(), data.Data(), length);
        EXPECT_EQ(data.Copy(), Combined(before, tweaks));
        EXPECT_TRUE(data.GuardsAreWhole());
    }
}

std::vector<XtsTweaks> AllWidths()
{
    std::vector<XtsTweaks> all = WideXtsTweaks();
    all.push_back(PlainXtsTweaks());
    return all;
}

std::string WidthName(const testing::TestParamInfo<XtsTweaks> &info)
{
    std::string name = info.param.name;
    name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
    return name;
}

INSTANTIATE_TEST_SUITE_P(Widths, XtsTweaksTest, testing::ValuesIn(AllWidths()), WidthName);

TEST(BestXtsTweaksTest, TheFirstWidthThatTheProcessorHasIsTaken)
{
    const std::vector<XtsTweaks> all = AllWidths();
    const auto first =
        std::find_if(all.begin(), all.end(), [](const XtsTweaks &each) { return each.supported; });
    EXPECT_STREQ(BestXtsTweaks().name, first->name);
}

}  // namespace
}  // namespace vx::bitlocker
