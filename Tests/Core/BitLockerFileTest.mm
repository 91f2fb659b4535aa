#import "CoreTest.h"
#import "Z5BitLockerFile.h"

#include <cstring>

namespace {

constexpr int64_t kGiB = int64_t(1) << 30;
constexpr int64_t kTwoTo31 = int64_t(1) << 31;
constexpr int64_t kTwoTo32 = int64_t(1) << 32;

class BitLockerFile : public CoreTest {
protected:
    void TearDown() override
    {
        [file release];
        CoreTest::TearDown();
    }

    Z5BitLockerFile *OpenPath(NSString *path)
    {
        file = [[Z5BitLockerFile alloc] initWithFile:path andVol:&volume];
        return file;
    }

    Z5BitLockerFile *file = nil;
    unsigned char buffer[64] = {};
};

}  // namespace

TEST_F(BitLockerFile, AnInitialiserWithANilPathReturnsNilWithoutCallingTheVolume)
{
    EXPECT_EQ(OpenPath(nil), nil);
    EXPECT_TRUE(volume.Calls().empty());
}

TEST_F(BitLockerFile, AnInitialiserWithANullVolumeReturnsNil)
{
    EXPECT_EQ([[Z5BitLockerFile alloc] initWithFile:@"/a" andVol:nullptr], nil);
}

TEST_F(BitLockerFile, AnInitialiserReturnsNilWhenTheOpenFails)
{
    EXPECT_EQ(OpenPath(@"/missing"), nil);
    EXPECT_EQ(volume.Count(VolumeOperation::kOpenFile), 1u);
    EXPECT_EQ(volume.Count(VolumeOperation::kCloseHandle), 0u);
}

TEST_F(BitLockerFile, OpeningPassesThePathAsUtf16AndTheThreeModes)
{
    Root().Folder(u"Дом").File(u"\U0001F600.txt", 1);
    ASSERT_NE(OpenPath(@"/Дом/😀.txt"), nil);
    const auto opened = volume.Calls(VolumeOperation::kOpenFile);
    ASSERT_EQ(opened.size(), 1u);
    EXPECT_EQ(opened[0].path, u"/Дом/\U0001F600.txt");
    EXPECT_EQ(opened[0].modes, (std::array<uint32_t, 3>{128, 3, 25}));
    EXPECT_EQ(volume.Calls().size(), 1u);
}

TEST_F(BitLockerFile, DestructionClosesTheHandleOnce)
{
    Root().File(u"a", 1);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_EQ(volume.OpenHandles(), 1u);
    [file release];
    file = nil;
    EXPECT_EQ(volume.OpenHandles(), 0u);
    EXPECT_EQ(volume.Count(VolumeOperation::kCloseHandle), 1u);
}

TEST_F(BitLockerFile, AFileClosedExplicitlyIsClosedASecondTimeWhenItIsDestroyed)
{
    Root().File(u"a", 1);
    ASSERT_NE(OpenPath(@"/a"), nil);
    [file closeFile];
    [file release];
    file = nil;
    EXPECT_EQ(volume.Count(VolumeOperation::kCloseHandle), 2u);
}

TEST_F(BitLockerFile, AHandleAlreadyHeldIsOverwrittenWithoutBeingClosed)
{
    Root().File(u"a", 1);
    Root().File(u"b", 2);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_TRUE([file openFile:@"/b"]);
    EXPECT_EQ([file getFileSize], 2);
    EXPECT_EQ(volume.OpenHandles(), 2u);
    EXPECT_EQ(volume.Count(VolumeOperation::kCloseHandle), 0u);
}

TEST_F(BitLockerFile, AFailedSecondOpenKeepsTheHandleAlreadyHeld)
{
    Root().File(u"a", 7);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_FALSE([file openFile:@"/missing"]);
    EXPECT_EQ([file getFileSize], 7);
}

TEST_F(BitLockerFile, AnObjectWithoutAVolumeFailsEveryOperationQuietly)
{
    Z5BitLockerFile *closed = [[[Z5BitLockerFile alloc] init] autorelease];
    EXPECT_FALSE([closed openFile:@"/a"]);
    EXPECT_FALSE([closed seekFile:0]);
    EXPECT_EQ([closed tellg], 0);
    EXPECT_EQ([closed getFileSize], 0);
    EXPECT_FALSE([closed readFile:buffer ofsize:0]);
    EXPECT_FALSE([closed writeFile:buffer ofsize:0]);
    [closed closeFile];
}

TEST_F(BitLockerFile, SeekingPassesBothHalvesFromTheStart)
{
    Root().File(u"a", 16);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_TRUE([file seekFile:5 * kGiB + 3]);
    const auto moved = volume.Calls(VolumeOperation::kSetFilePosition);
    ASSERT_EQ(moved.size(), 1u);
    EXPECT_EQ(moved[0].distance, 5 * kGiB + 3);
    EXPECT_EQ(moved[0].origin, 0u);
}

TEST_F(BitLockerFile, SeekFileToAPositionPastTheEndSucceedsIfTheVolumeWritesThatPositionBack)
{
    Root().File(u"a", 16);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_TRUE([file seekFile:1000]);
}

TEST_F(BitLockerFile, SeekFileFailsIfTheVolumeWritesAnotherPositionBack)
{
    Root().File(u"a", 16);
    volume.AtCall(VolumeOperation::kSetFilePosition, 1, Fault::kLie);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_FALSE([file seekFile:1000]);
}

TEST_F(BitLockerFile, SeekFileDoesNotLookAtTheVolumesOwnResult)
{
    Root().File(u"a", 16);
    volume.AtCall(VolumeOperation::kSetFilePosition, 1, Fault::kFail);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_TRUE([file seekFile:9]);  // the halves stand as they were asked for
}

TEST_F(BitLockerFile, TellgAsksForDistanceZeroFromTheCurrentPosition)
{
    Root().File(u"a", 16);
    ASSERT_NE(OpenPath(@"/a"), nil);
    ASSERT_TRUE([file seekFile:6 * kGiB + 1]);
    EXPECT_EQ([file tellg], 6 * kGiB + 1);
    const auto moved = volume.Calls(VolumeOperation::kSetFilePosition);
    ASSERT_EQ(moved.size(), 2u);
    EXPECT_EQ(moved[1].distance, 0);
    EXPECT_EQ(moved[1].origin, 1u);
}

TEST_F(BitLockerFile, GetFileSizeOfAFileOf5GiBReturns5Times2To30)
{
    Root().File(u"big", static_cast<uint64_t>(5 * kGiB));
    ASSERT_NE(OpenPath(@"/big"), nil);
    EXPECT_EQ([file getFileSize], 5 * kGiB);
}

TEST_F(BitLockerFile, GetFileSizeIsZeroWhenTheVolumeWritesNothing)
{
    Root().File(u"a", 16);
    volume.AtCall(VolumeOperation::kQueryFileSize, 1, Fault::kFail);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_EQ([file getFileSize], 0);
}

TEST_F(BitLockerFile, ASizeWithItsTopBitSetIsNegative)
{
    Root().File(u"a").QueriedSize(~uint64_t(0));
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_EQ([file getFileSize], -1);
}

TEST_F(BitLockerFile, ReadingFillsTheBufferAndMovesThePosition)
{
    ScriptedEntry &entry = Root().File(u"a", 64);
    ASSERT_NE(OpenPath(@"/a"), nil);
    ASSERT_TRUE([file seekFile:8]);
    EXPECT_TRUE([file readFile:buffer ofsize:24]);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buffer), 24), entry.Read(8, 24));
    EXPECT_EQ([file tellg], 32);
}

TEST_F(BitLockerFile, ReadingNoBytesAsksTheVolumeAllTheSame)
{
    Root().File(u"a", 64);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_TRUE([file readFile:buffer ofsize:0]);
    volume.AtCall(VolumeOperation::kReadFile, 2, Fault::kFail);
    EXPECT_FALSE([file readFile:buffer ofsize:0]);
    EXPECT_EQ(volume.Count(VolumeOperation::kReadFile), 2u);
}

TEST_F(BitLockerFile, AFalseReadIsAFailure)
{
    Root().File(u"a", 64);
    volume.AtCall(VolumeOperation::kReadFile, 1, Fault::kFail);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_FALSE([file readFile:buffer ofsize:8]);
}

TEST_F(BitLockerFile, AShortReadIsAFailureThoughTheBytesStayInTheBuffer)
{
    ScriptedEntry &entry = Root().File(u"a", 64);
    volume.AtCall(VolumeOperation::kReadFile, 1, Fault::kShorten);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_FALSE([file readFile:buffer ofsize:16]);
    EXPECT_EQ(std::string(reinterpret_cast<char *>(buffer), 8), entry.Read(0, 8));
    EXPECT_EQ(buffer[8], 0);
}

TEST_F(BitLockerFile, ADoneCountAboveTheCountIsAFailure)
{
    Root().File(u"a", 64);
    volume.AtCall(VolumeOperation::kReadFile, 1, Fault::kLie);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_FALSE([file readFile:buffer ofsize:16]);
}

TEST_F(BitLockerFile, ReadingIntoANullBufferFailsWithoutCallingTheVolume)
{
    Root().File(u"a", 64);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_FALSE([file readFile:nullptr ofsize:8]);
    EXPECT_FALSE([file writeFile:nullptr ofsize:8]);
    EXPECT_EQ(volume.Count(VolumeOperation::kReadFile), 0u);
    EXPECT_EQ(volume.Count(VolumeOperation::kWriteFile), 0u);
}

TEST_F(BitLockerFile, ACountOf2To31BytesOrMoreCanNeverSucceed)
{
    // WriteFile of the scripted volume says that it did the whole count, and reads no buffer.
    Root().File(u"a", 64);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_TRUE([file writeFile:buffer ofsize:kTwoTo31 - 1]);
    EXPECT_FALSE([file writeFile:buffer ofsize:kTwoTo31]);
    EXPECT_FALSE([file writeFile:buffer ofsize:kTwoTo32 - 1]);
    EXPECT_FALSE([file writeFile:buffer ofsize:kTwoTo32 + 5]);
    EXPECT_FALSE([file readFile:buffer ofsize:kTwoTo32 + 5]);
    EXPECT_EQ(volume.Calls(VolumeOperation::kWriteFile)[1].count, 0x80000000u);
    EXPECT_EQ(volume.Calls(VolumeOperation::kWriteFile)[3].count, 5u);
    EXPECT_EQ(volume.Calls(VolumeOperation::kReadFile)[0].count, 5u);
}

TEST_F(BitLockerFile, ACountOfExactly2To32IsPassedToTheVolumeAsZero)
{
    Root().File(u"a", 64);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_FALSE([file readFile:buffer ofsize:kTwoTo32]);
    EXPECT_EQ(volume.Calls(VolumeOperation::kReadFile)[0].count, 0u);
}

TEST_F(BitLockerFile, WritingPassesTheBufferAndTheCount)
{
    Root().File(u"a", 64);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_TRUE([file writeFile:buffer ofsize:12]);
    const auto written = volume.Calls(VolumeOperation::kWriteFile);
    ASSERT_EQ(written.size(), 1u);
    EXPECT_EQ(written[0].buffer, static_cast<const void *>(buffer));
    EXPECT_EQ(written[0].count, 12u);
}

TEST_F(BitLockerFile, AShortWriteIsAFailure)
{
    Root().File(u"a", 64);
    volume.AtCall(VolumeOperation::kWriteFile, 1, Fault::kShorten);
    volume.AtCall(VolumeOperation::kWriteFile, 2, Fault::kFail);
    ASSERT_NE(OpenPath(@"/a"), nil);
    EXPECT_FALSE([file writeFile:buffer ofsize:12]);
    EXPECT_FALSE([file writeFile:buffer ofsize:12]);
}
