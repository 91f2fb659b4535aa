#include "FirstSector.h"

#include <cstring>
#include <gtest/gtest.h>

namespace vx {
namespace {

// The first sector of a FAT16 volume of 512-byte sectors.
std::vector<uint8_t> FatSector()
{
    std::vector<uint8_t> sector(kFirstSectorBytes);
    const uint8_t start[] = {0xEB, 0x3C, 0x90, 'm',  'k', 'f',  's', '.',  'f', 'a', 't',
                             0x00, 0x02, 0x04, 0x01, 0,   0x02, 0,   0x02, 0,   0,   0xF8};
    std::memcpy(sector.data(), start, sizeof start);
    sector[510] = 0x55;
    sector[511] = 0xAA;
    return sector;
}

TEST(FirstSector, TheSizesOfSectorsArePowersOfTwoFrom512To4096)
{
    for (uint32_t bytes = 0; bytes <= 10000; ++bytes) {
        const bool isOne = bytes == 512 || bytes == 1024 || bytes == 2048 || bytes == 4096;
        ASSERT_EQ(IsSectorSize(bytes), isOne) << bytes;
    }
}

TEST(FirstSector, ExfatStatesItsSectorSizeAsAPowerOfTwoInAPlaceOfItsOwn)
{
    std::vector<uint8_t> sector = FatSector();
    EXPECT_EQ(StatedSectorSize(sector), 512u);
    sector[12] = 0x10;
    EXPECT_EQ(StatedSectorSize(sector), 4096u);
    std::memcpy(&sector[3], kExfatName.data(), kExfatName.size());
    sector[108] = 10;
    EXPECT_EQ(StatedSectorSize(sector), 1024u);
    for (const uint8_t shift : {0, 8, 13, 16, 64, 255}) {
        sector[108] = shift;
        EXPECT_EQ(StatedSectorSize(sector), 0u);
    }
}

TEST(FirstSector, FatIsRecognisedByNumbersThatMakeSense)
{
    const std::vector<uint8_t> sound = FatSector();
    EXPECT_TRUE(LooksLikeFat(sound));
    for (const size_t place : {0, 12, 13, 14, 16, 21, 510, 511}) {
        std::vector<uint8_t> damaged = sound;
        damaged[place] = 0;
        EXPECT_FALSE(LooksLikeFat(damaged)) << place;
    }
}

TEST(FirstSector, OfASectorThatIsCutShortNothingIsTrue)
{
    std::vector<uint8_t> sector = FatSector();
    std::memcpy(&sector[3], kNtfsName.data(), kNtfsName.size());
    EXPECT_TRUE(HasName(sector, kNtfsName));
    EXPECT_TRUE(EndsAsBootSector(sector));
    const ByteView cut = ByteView(sector).First(kFirstSectorBytes - 1);
    EXPECT_FALSE(HasName(cut, kNtfsName));
    EXPECT_FALSE(EndsAsBootSector(cut));
    EXPECT_FALSE(LooksLikeFat(cut));
    EXPECT_EQ(StatedSectorSize(cut), 0u);
}

}  // namespace
}  // namespace vx
