#include "EntryRecord.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

namespace vx {
namespace {

VolumeFindData Record(const std::string &name, mode_t mode, uint64_t size = 0,
                      EntryForm form = EntryForm::kItself)
{
    EntryStat stat;
    stat.mode = mode;
    stat.size = size;
    VolumeFindData record;
    std::memset(static_cast<void *>(&record), 0xFF, sizeof record);
    FillRecord(name.c_str(), stat, form, &record);
    return record;
}

TEST(EntryRecord, AnEntryWhoseNameFillsTheRecordUpToItsLastUnitMustStillEndWithAZeroUnit)
{
    const VolumeFindData record = Record(std::string(539, 'n'), S_IFREG | 0644);
    EXPECT_EQ(std::u16string(record.name), std::u16string(539, u'n'));
    EXPECT_EQ(record.name[539], 0);
}

TEST(EntryRecord, ANameLongerThanTheRecordIsCutAtItsLastUnit)
{
    const VolumeFindData record = Record(std::string(600, 'n'), S_IFREG | 0644);
    EXPECT_EQ(std::u16string(record.name), std::u16string(539, u'n'));
}

TEST(EntryRecord, ASizeOf4GiBOrMoreIsReportedThroughTheHighHalf)
{
    const VolumeFindData record = Record("a", S_IFREG | 0644, (uint64_t(7) << 32) + 5);
    EXPECT_EQ(record.sizeHigh, 7u);
    EXPECT_EQ(record.sizeLow, 5u);
}

TEST(EntryRecord, TheReservedFieldIsZero)
{
    EXPECT_EQ(Record("a", S_IFREG | 0644).reserved, 0u);
}

TEST(EntryRecord, APlainFileIsNormal)
{
    EXPECT_EQ(Record("a", S_IFREG | 0644).attributes, 0x80u);
}

TEST(EntryRecord, AFolderHasTheFolderBitAndSizeZero)
{
    const VolumeFindData record = Record("a", S_IFDIR | 0755, 4096);
    EXPECT_EQ(record.attributes, 0x10u);
    EXPECT_EQ(record.sizeLow, 0u);
}

TEST(EntryRecord, AFileThatNobodyMayWriteIsReadOnly)
{
    EXPECT_EQ(Record("a", S_IFREG | 0444).attributes, 0x1u);
}

TEST(EntryRecord, ANameThatBeginsWithADotIsHidden)
{
    EXPECT_EQ(Record(".a", S_IFREG | 0644).attributes, 0x2u);
    EXPECT_EQ(Record(".a", S_IFDIR | 0755).attributes, 0x12u);
}

TEST(EntryRecord, ALinkHasTheLinkBitBesideThoseOfItsTarget)
{
    EXPECT_EQ(Record("a", S_IFREG | 0644, 0, EntryForm::kLink).attributes, 0x400u);
    EXPECT_EQ(Record("a", S_IFDIR | 0755, 0, EntryForm::kLink).attributes, 0x410u);
}

}  // namespace
}  // namespace vx
