// The volume's interface as other makers' libraries must find it: the record and the table.
#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "IVolume.h"

namespace {

// The place of an operation in the table; a pointer to a virtual operation holds it (Itanium
// C++ ABI, 2.3 "Member Function Pointers": 1 + the offset in the table).
template <class Operation>
size_t PlaceOf(Operation operation)
{
    ptrdiff_t word = 0;
    memcpy(&word, &operation, sizeof(word));
    return static_cast<size_t>(word - 1) / sizeof(void *);
}

}  // namespace

TEST(VolumeInterface, TheFourteenOperationsStandInTheLibrarysOrder)
{
    EXPECT_EQ(PlaceOf(&IVolume::Reserved1), 0u);
    EXPECT_EQ(PlaceOf(&IVolume::Reserved2), 1u);
    EXPECT_EQ(PlaceOf(&IVolume::Reserved3), 2u);
    EXPECT_EQ(PlaceOf(&IVolume::Reserved4), 3u);
    EXPECT_EQ(PlaceOf(&IVolume::FindFirstFile), 4u);
    EXPECT_EQ(PlaceOf(&IVolume::FindNextFile), 5u);
    EXPECT_EQ(PlaceOf(&IVolume::FindClose), 6u);
    EXPECT_EQ(PlaceOf(&IVolume::OpenFile), 7u);
    EXPECT_EQ(PlaceOf(&IVolume::Reserved5), 8u);
    EXPECT_EQ(PlaceOf(&IVolume::ReadFile), 9u);
    EXPECT_EQ(PlaceOf(&IVolume::WriteFile), 10u);
    EXPECT_EQ(PlaceOf(&IVolume::SetFilePosition), 11u);
    EXPECT_EQ(PlaceOf(&IVolume::QueryFileSize), 12u);
    EXPECT_EQ(PlaceOf(&IVolume::CloseHandle), 13u);
}

TEST(VolumeInterface, TheFirstWordOfAVolumePointsAtItsTable)
{
    EXPECT_EQ(sizeof(IVolume), sizeof(void *));
}

TEST(VolumeInterface, ARecordIs1128BytesWithItsFieldsAtTheirOffsets)
{
    EXPECT_EQ(sizeof(VolumeFindData), 1128u);
    EXPECT_EQ(offsetof(VolumeFindData, attributes), 0u);
    EXPECT_EQ(offsetof(VolumeFindData, creationTime), 8u);
    EXPECT_EQ(offsetof(VolumeFindData, lastAccessTime), 16u);
    EXPECT_EQ(offsetof(VolumeFindData, lastWriteTime), 24u);
    EXPECT_EQ(offsetof(VolumeFindData, sizeHigh), 32u);
    EXPECT_EQ(offsetof(VolumeFindData, sizeLow), 36u);
    EXPECT_EQ(offsetof(VolumeFindData, reserved), 40u);
    EXPECT_EQ(offsetof(VolumeFindData, name), 48u);
    EXPECT_EQ(sizeof(VolumeFindData::name), 1080u);
}
