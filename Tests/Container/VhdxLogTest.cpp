// The log of a VHDX image that was not closed is replayed in memory, whole or not at all.
#include "VhdxLog.h"
#include "Crc32.h"
#include "SourceWithHole.h"
#include "VhdxTest.h"

namespace vx {
namespace {

constexpr uint64_t kPage = 4096;
constexpr uint64_t kLogBytes = 1 << 20;
const std::string kLogId(16, 'L');

// Fails the test if anything of the range but the log is read, while it is watched.
class WatchedSource final : public ByteSource {
public:
    WatchedSource(std::string bytes, uint64_t begin, uint64_t end)
        : _bytes(SourceOf(bytes)), _begin(begin), _end(end)
    {
    }

    uint64_t Size() const override { return _bytes->Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        EXPECT_GE(offset, _begin);
        EXPECT_LE(offset + count, _end);
        return _bytes->ReadAt(offset, buffer, count);
    }

private:
    const std::shared_ptr<const ByteSource> _bytes;
    const uint64_t _begin;
    const uint64_t _end;
};

class VhdxLogs : public VhdxTest {
protected:
    VhdxLogs()
    {
        VhdxRecipe recipe;
        recipe.diskBytes = 3 * kMiB;
        recipe.logId = kLogId;
        writer = std::make_unique<VhdxWriter>(recipe);
        writer->AddBlock(first);
        writer->AddState(0);
        writer->AddBlock(last);
        image = writer->Image();
    }

    // An entry whose page is the table with an entry changed: the last block is moved to this place
    // of the disk.
    VhdxLogEntry MovesTo(uint64_t block, uint64_t sequence, uint32_t tail = 0) const
    {
        std::string table = image.substr(writer->TableAt(), kPage);
        VhdxWriter::Put(16, 0, 8, &table);
        VhdxWriter::Put(8 * block, 6 | (writer->BlocksAt() + kMiB), 8, &table);
        VhdxLogEntry entry;
        entry.sequence = sequence;
        entry.tail = tail;
        entry.changes = {{writer->TableAt(), table, 0}};
        entry.flushedBytes = image.size();
        entry.neededBytes = image.size();
        entry.logId = kLogId;
        return entry;
    }

    void Put(uint64_t at, const VhdxLogEntry &entry) { VhdxWriter::PutLog(at, entry, &image); }

    std::string MovedTo(uint64_t block) const
    {
        std::string disk = first + Zeros(2 * kMiB);
        return disk.replace(block * kMiB, kMiB, last);
    }

    VhdxLogEntry OfEarlierLog(uint64_t sequence, uint32_t pagesOfData = 1) const
    {
        VhdxLogEntry entry = MovesTo(1, sequence);
        entry.changes.assign(pagesOfData, entry.changes[0]);
        entry.logId = std::string(16, 'M');
        return entry;
    }

    void ExpectJustBegun() const
    {
        const Container container = Open(image);
        ExpectDisk(container, MovedTo(2));
        EXPECT_EQ(container.notes,
                  std::vector<std::string>{"the VHDX image was copied or left while it was in use; "
                                           "its log, which was just begun, has no changes"});
    }

    void ExpectNoSequence() const
    {
        ExpectFails(
            image, Status::kDamagedContainer,
            "the VHDX image is damaged: its log was not replayed, and has no complete "
            "sequence of entries; take another copy of the image while no virtual machine uses it, or convert it with qemu-img, which leaves such a log out, so that what was written last is lost");
    }

    const std::string first = NoiseBytes(kMiB, 1);
    const std::string last = NoiseBytes(kMiB, 2);
    std::unique_ptr<VhdxWriter> writer;
    std::string image;
};

TEST_F(VhdxLogs, AChangeInTheLogCounts)
{
    Put(0, MovesTo(1, 5));
    const Container container = Open(image);
    ExpectDisk(container, MovedTo(1));
    EXPECT_EQ(container.notes,
              std::vector<std::string>{"the VHDX image was copied or left while it was in use; "
                                       "the changes in its log are taken into account"});
    EXPECT_TRUE(folder.ReadFile("x.vhdx") == image);
}

TEST_F(VhdxLogs, WithoutItsIdentifierInTheHeaderTheLogIsEmpty)
{
    Put(0, MovesTo(1, 5));
    for (const uint64_t header : {64 << 10, 128 << 10})
        image.replace(header + 48, 16, std::string(16, '\0'));
    VhdxWriter::RepairSums(&image);
    const Container container = Open(image);
    ExpectDisk(container, MovedTo(2));
    EXPECT_TRUE(container.notes.empty());
}

TEST_F(VhdxLogs, TheNewestCompleteSequenceCounts)
{
    Put(0, MovesTo(2, 5));
    Put(4 * kPage, MovesTo(1, 9, 4 * kPage));
    Put(8 * kPage, MovesTo(2, 7, 8 * kPage));
    ExpectDisk(Open(image), MovedTo(1));
}

TEST_F(VhdxLogs, ASequenceIsAppliedFromTheEntryThatItsLastOneNames)
{
    // The first entry would make the table one of zeros: it was applied already, and the second one
    // came later.
    VhdxLogEntry stale = MovesTo(1, 3);
    stale.changes = {{writer->MetadataAt(), "", kMiB}};
    Put(0, stale);
    Put(kPage, MovesTo(2, 4, kPage));
    Put(3 * kPage, MovesTo(1, 5, kPage));
    ExpectDisk(Open(image), MovedTo(1));
}

TEST_F(VhdxLogs, EntriesAreAppliedInTheirOrder)
{
    VhdxLogEntry second = MovesTo(1, 6);
    second.changes.insert(second.changes.begin(), {writer->TableAt(), "", kPage});
    Put(0, MovesTo(2, 5));
    Put(2 * kPage, second);
    ExpectDisk(Open(image), MovedTo(1));
    second.changes.push_back({writer->TableAt(), "", kPage});
    Put(2 * kPage, second);
    ExpectDisk(Open(image), Zeros(3 * kMiB));
}

TEST_F(VhdxLogs, ASequenceGoesOnAtTheBeginningOfTheRing)
{
    // The second entry begins in the last page of the log.
    const uint32_t tail = kLogBytes - 3 * kPage;
    const std::string second = MovesTo(1, 6, tail).Bytes();
    Put(tail, MovesTo(2, 5, tail));
    image.replace(VhdxWriter::kLogAt + kLogBytes - kPage, kPage, second.substr(0, kPage));
    image.replace(VhdxWriter::kLogAt, kPage, second.substr(kPage));
    ExpectDisk(Open(image), MovedTo(1));
}

TEST_F(VhdxLogs, ManyDescriptorsAreReadFromSeveralPages)
{
    VhdxLogEntry entry = MovesTo(1, 5);
    const VhdxChange table = entry.changes[0];
    entry.changes.assign(130, {writer->BlocksAt() + 2 * kMiB, "", kPage});
    entry.changes.push_back(table);
    Put(0, entry);
    ExpectDisk(Open(image), MovedTo(1));
}

TEST_F(VhdxLogs, ATornEntryCountsForNothing)
{
    Put(0, MovesTo(1, 5));
    Put(2 * kPage, MovesTo(2, 6));
    image[VhdxWriter::kLogAt + 3 * kPage + 2000] ^= 1;
    ExpectDisk(Open(image), MovedTo(1));
}

// Its program ended after it had changed the header.
TEST_F(VhdxLogs, ALogThatWasNeverWrittenToHasNoChanges)
{
    ExpectJustBegun();
    Put(0, OfEarlierLog(5));
    ExpectJustBegun();
}

TEST_F(VhdxLogs, ALogFullOfEntriesOfEarlierOnesHasNoChanges)
{
    // 51 entries of 5 pages; the log has one page more.
    for (uint32_t number = 0; number < 51; ++number)
        Put(number * 5 * kPage, OfEarlierLog(number + 1, 4));
    ExpectJustBegun();
    // The newest ones overwrite the end of the oldest one, the beginning of one, and parts of two.
    VhdxLogEntry newer = OfEarlierLog(60, 2);
    newer.logId = std::string(16, 'N');
    for (const uint64_t page : {0, 12, 24, 27}) {
        Put(page * kPage, newer);
        ExpectJustBegun();
    }
}

TEST_F(VhdxLogs, AnOldEntryThatGoesOnAtTheBeginningOfTheRingHasNoChanges)
{
    const std::string old = OfEarlierLog(7, 2).Bytes();
    image.replace(VhdxWriter::kLogAt + kLogBytes - kPage, kPage, old.substr(0, kPage));
    image.replace(VhdxWriter::kLogAt, 2 * kPage, old.substr(kPage));
    ExpectJustBegun();
    Put(kPage, OfEarlierLog(8));  // its last page is overwritten
    ExpectJustBegun();
}

TEST_F(VhdxLogs, NoFlippedBitMakesTheOnlyEntryAnOldOne)
{
    // Alone, and where entries of an earlier log lie before and after it.
    for (const bool isAlone : {true, false}) {
        Put(2 * kPage, MovesTo(1, 5, 2 * kPage));
        for (const uint64_t page : {0, 4, 6}) {
            if (!isAlone)
                Put(page * kPage, OfEarlierLog(4));
        }
        ExpectDisk(Open(image), MovedTo(1));
        for (uint64_t bit = 0; bit < 48 * 8; bit += 5) {  // of each byte one or two
            const uint64_t at = VhdxWriter::kLogAt + 2 * kPage + bit / 8;
            image[at] = static_cast<char>(image[at] ^ 1 << bit % 8);
            const auto opened = OpenVhdx(SourceOf(image), NoParents());
            ASSERT_FALSE(opened) << bit;
            EXPECT_EQ(opened.Failure().status, Status::kDamagedContainer);
            image[at] = static_cast<char>(image[at] ^ 1 << bit % 8);
        }
    }
}

TEST_F(VhdxLogs, WhatIsLeftOfAnEntryIsNotAnOldLog)
{
    const std::string before = image;
    const auto damage = [&](uint64_t at, const std::string &bytes) {
        image = before;
        Put(0, OfEarlierLog(4));
        Put(2 * kPage, MovesTo(1, 5, 2 * kPage));
        image.replace(VhdxWriter::kLogAt + 2 * kPage + at, bytes.size(), bytes);
        ExpectNoSequence();
    };
    damage(0, Zeros(512));
    damage(0, Zeros(kPage));
    damage(0, NoiseBytes(512, 3));
    damage(0, NoiseBytes(kPage, 3));
    damage(0, NoiseBytes(2 * kPage, 3));
    damage(kPage, NoiseBytes(kPage, 3));
}

TEST_F(VhdxLogs, AnOldEntryThatNothingHasOverwrittenMustBeSound)
{
    const std::string before = image;
    for (const uint64_t next : {3, 4, 8}) {
        image = before;
        Put(0, OfEarlierLog(4, 3));
        Put(next * kPage, OfEarlierLog(5));
        image[VhdxWriter::kLogAt + 2000] ^= 1;
        if (next == 3)
            ExpectJustBegun();
        else
            ExpectNoSequence();
    }
}

TEST_F(VhdxLogs, AnOldEntryThatNoOtherOneCutsIsInDoubt)
{
    const std::string before = image;
    for (const uint32_t pages : {2, 255}) {
        for (const uint64_t length : {uint64_t{0}, kPage, 2 * kLogBytes}) {
            image = before;
            Put(0, OfEarlierLog(4, pages));
            VhdxWriter::Put(VhdxWriter::kLogAt + 8, length, 4, &image);
            ExpectNoSequence();
        }
    }
}

TEST_F(VhdxLogs, ASequenceEndsWhereANumberIsMissing)
{
    Put(0, MovesTo(1, 5));
    Put(2 * kPage, MovesTo(2, 7));
    ExpectDisk(Open(image), MovedTo(1));
}

TEST_F(VhdxLogs, APageOfDataBeyondTheEntryIsNotOfIt)
{
    VhdxLogEntry entry = MovesTo(1, 5);
    entry.changes.push_back(entry.changes[0]);
    std::string bytes = entry.Bytes();
    VhdxWriter::Put(8, 2 * kPage, 4, &bytes);
    const uint32_t sum = Crc32WithoutField(
        {reinterpret_cast<const uint8_t *>(bytes.data()), 2 * kPage}, 4, Crc32::Kind::kCastagnoli);
    VhdxWriter::Put(4, sum, 4, &bytes);
    image.replace(VhdxWriter::kLogAt, bytes.size(), bytes);
    ExpectNoSequence();
}

TEST_F(VhdxLogs, WithoutACompleteSequenceTheImageDoesNotOpen)
{
    const VhdxLogEntry sound = MovesTo(1, 5);
    std::vector<VhdxLogEntry> bad(5, sound);
    bad[0].tail = 2 * kPage;
    bad[1].sequence = 0;
    bad[2].changes[0].at += 512;
    bad[3].changes.push_back({0, "", 100});
    bad[4].changes.push_back({uint64_t{INT64_MAX} / kPage * kPage, "", 2 * kPage});
    const std::string before = image;
    for (const VhdxLogEntry &entry : bad) {
        image = before;
        Put(0, entry);
        ExpectNoSequence();
    }
    for (const size_t damaged : {4, 8, 12, 64, 88, 4096, 4100, 6000, 8191}) {
        image = before;
        Put(0, sound);
        image[VhdxWriter::kLogAt + damaged] ^= 1;
        ExpectNoSequence();
    }
}

TEST_F(VhdxLogs, EachFieldOfAnEntryIsChecked)
{
    // The checksum fits, so that only the check of the field itself can refuse it.
    const std::string sound = MovesTo(1, 5).Bytes();
    for (const size_t field : {8, 9, 12, 13, 16, 24, 28, 64, 88, 4096, 4100, 8188}) {
        std::string entry = sound;
        entry[field] ^= 2;
        const bool isReserved = field == 28;
        const uint32_t sum =
            Crc32WithoutField({reinterpret_cast<const uint8_t *>(entry.data()), entry.size()}, 4,
                              Crc32::Kind::kCastagnoli);
        VhdxWriter::Put(4, sum, 4, &entry);
        image.replace(VhdxWriter::kLogAt, entry.size(), entry);
        EXPECT_EQ(FailureOf(image).status, isReserved ? Status::kOk : Status::kDamagedContainer)
            << field;
    }
}

TEST_F(VhdxLogs, AFileThatIsShorterThanItsLogKnowsIsCut)
{
    VhdxLogEntry entry = MovesTo(1, 5);
    entry.flushedBytes = image.size() + kMiB;
    Put(0, entry);
    ExpectFails(image, Status::kTruncatedImage, "the VHDX image ends early");
}

TEST_F(VhdxLogs, AFileThatHadToBecomeLongerIsZerosThere)
{
    const uint64_t end = image.size();
    VhdxLogEntry entry = MovesTo(1, 5);
    VhdxWriter::Put(16, 6 | end, 8, &entry.changes[0].page);
    entry.neededBytes = end + kMiB;
    Put(0, entry);
    const Container container = Open(image);
    EXPECT_EQ(container.notes.size(), 1u);
    ExpectDisk(container, MovedTo(1));
}

TEST_F(VhdxLogs, WhatTheLogPutsIntoABlockIsRead)
{
    const std::string page = NoiseBytes(kPage, 9);
    VhdxLogEntry entry = MovesTo(2, 5);
    entry.changes.push_back({writer->BlocksAt() + 8 * kPage, page, 0});
    entry.changes.push_back({writer->BlocksAt() + 16 * kPage, "", 4 * kPage});
    entry.changes.push_back({writer->BlocksAt() + 17 * kPage, page, 0});
    Put(0, entry);
    std::string disk = MovedTo(2);
    disk.replace(8 * kPage, kPage, page);
    disk.replace(16 * kPage, 4 * kPage, Zeros(kPage) + page + Zeros(2 * kPage));
    ExpectDisk(Open(image), disk);
}

TEST_F(VhdxLogs, APlaceOfTheLogThatMakesNoSenseIsDamage)
{
    struct Lie {
        uint64_t at;
        uint64_t value;
        size_t bytes;
        Status status;
    };
    Put(0, MovesTo(1, 5));
    for (const Lie &lie :
         {Lie{64, 1, 2, Status::kUnsupportedContainer}, Lie{68, 0, 4, Status::kDamagedContainer},
          Lie{68, kMiB + kPage, 4, Status::kDamagedContainer},
          Lie{68, 0xFFF00000, 4, Status::kUnsupportedContainer},
          Lie{68, 60 * kMiB, 4, Status::kTruncatedImage}, Lie{72, 0, 8, Status::kDamagedContainer},
          Lie{72, 100, 8, Status::kDamagedContainer},
          Lie{72, 100 * kMiB, 8, Status::kTruncatedImage},
          Lie{72, ~uint64_t{0} << 20, 8, Status::kDamagedContainer}}) {
        std::string lying = image;
        for (const uint64_t header : {64 << 10, 128 << 10})
            VhdxWriter::Put(header + lie.at, lie.value, lie.bytes, &lying);
        VhdxWriter::RepairSums(&lying);
        EXPECT_EQ(FailureOf(lying).status, lie.status) << lie.at << " " << lie.value;
    }
}

TEST_F(VhdxLogs, ALogThatCannotBeReadWholeIsNotReplayed)
{
    Put(0, MovesTo(1, 5));
    const uint64_t bad = VhdxWriter::kLogAt + 100 * kPage;
    const auto container =
        OpenVhdx(std::make_shared<SourceWithHole>(image, bad, bad + 512), NoParents());
    ASSERT_FALSE(container);
    EXPECT_EQ(container.Failure().systemError, EIO);
}

TEST_F(VhdxLogs, NothingOutsideOfTheLogIsReadForTheReplay)
{
    VhdxHeader header;
    std::copy(kLogId.begin(), kLogId.end(), header.log.bytes.begin());
    header.logAt = VhdxWriter::kLogAt;
    header.logBytes = kLogBytes;
    // Entries that claim to be as long as the log, at its beginning and at its end.
    VhdxLogEntry entry = MovesTo(1, 5);
    entry.changes.assign(200, entry.changes[0]);
    for (const uint64_t at : {uint64_t{0}, kLogBytes / kPage / 2 * kPage, kLogBytes - kPage}) {
        std::string log = image.substr(0, VhdxWriter::kLogAt + kLogBytes);
        log.replace(VhdxWriter::kLogAt + at, kPage, entry.Bytes().substr(0, kPage));
        const auto file = std::make_shared<WatchedSource>(log, VhdxWriter::kLogAt,
                                                          VhdxWriter::kLogAt + kLogBytes);
        EXPECT_FALSE(ReplayVhdxLog(file, header));
    }
}

TEST_F(VhdxLogs, TooManyChangesAreRefused)
{
    VhdxLogEntry entry = MovesTo(1, 5);
    entry.changes.clear();
    for (size_t number = 0; number < FileChanges::kMostChanges; ++number)
        entry.changes.push_back({kPage * 2 * number, "", kPage});
    Put(0, entry);
    EXPECT_EQ(FailureOf(image).status, Status::kDamagedContainer);  // the table is zeros now
    entry.changes.push_back({kPage * 2 * entry.changes.size(), "", kPage});
    Put(0, entry);
    ExpectFails(image, Status::kUnsupportedContainer,
                "it is a VHDX image with too many changes in its log: let the program that wrote "
                "it close it first");
}

}  // namespace
}  // namespace vx
