// The oracle lets pass what holds the rule and notices each planted violation.
#include "Oracle.h"
#include "MarkedBytes.h"

#include <gtest/gtest.h>

#include <sys/stat.h>

namespace vx {
namespace {

class RescueOracle : public testing::Test {
protected:
    RescueOracle()
    {
        Add("/a.bin", 2000);
        Add("/Sub/b.bin", 3000);
        Add("/Sub/empty.bin", 0);
        evidence.volume = &volume;
        for (const RescueFile &file : volume.tree)
            Put(file.path, volume.contents[file.number - 1]);
        Put(&evidence.before, "/stranger.txt", "stranger");
        Put("/stranger.txt", "stranger");
        Put(&evidence.bystandersBefore, "/bystander", "bystander");
        evidence.bystandersAfter = evidence.bystandersBefore;
        evidence.messages = "Exporting 3 files\nExported 3 files\n";
    }

    void Add(const std::string &path, uint64_t size)
    {
        const auto number = static_cast<unsigned>(volume.tree.size() + 1);
        volume.tree.push_back({number, path, size, RescueFile::Kind::kOrdinary});
        volume.contents.push_back(MarkedBytes(number, size));
    }

    // A new file each time, by what the snapshots record.
    void Put(FolderSnapshot *snapshot, const std::string &path, const std::string &bytes,
             mode_t kind = S_IFREG)
    {
        snapshot->Entries()[path] = {kind, path == "/stranger.txt" ? 1 : ++_inode, bytes};
    }

    void Put(const std::string &path, const std::string &bytes)
    {
        Put(&evidence.after, path, bytes);
    }

    std::string &BytesOf(const std::string &path) { return evidence.after.Entries()[path].bytes; }

    void Fail(const std::string &message)
    {
        evidence.status = 1;
        evidence.messages += message;
    }

    void ExpectNothing() { EXPECT_EQ(Judged(), ""); }

    void ExpectViolation(const std::string &part)
    {
        EXPECT_NE(Judged().find(part), std::string::npos) << "violations:\n" << Judged();
    }

    std::string Judged() const
    {
        std::string all;
        for (const std::string &violation : Oracle(evidence).Judge())
            all += violation + "\n";
        return all;
    }

    RescueVolume volume;
    Evidence evidence;

private:
    ino_t _inode = 100;
};

TEST_F(RescueOracle, LetsAWholeExportPass)
{
    evidence.readsAll = true;
    ExpectNothing();
}

TEST_F(RescueOracle, NoticesAFailureWithoutAReason)
{
    evidence.readsAll = true;
    evidence.status = 1;
    ExpectViolation("status 1 although nothing is missing");
}

TEST_F(RescueOracle, LetsZerosPassWhereTheDiskWasBadIfTheFileIsNamed)
{
    evidence.lost[1].Add(512, 1024);
    BytesOf("/a.bin").replace(512, 512, 512, '\0');
    Fail("  /a.bin: bytes 512 to 1023 could not be read\n");
    ExpectNothing();
}

TEST_F(RescueOracle, NoticesZerosThatNoMessageNames)
{
    evidence.lost[1].Add(512, 1024);
    BytesOf("/a.bin").replace(512, 512, 512, '\0');
    Fail("  /Sub/b.bin: could not be read\n");
    ExpectViolation("/a.bin did not arrive whole, and no message names it");
}

TEST_F(RescueOracle, NoticesZerosWithStatusZero)
{
    evidence.lost[1].Add(512, 1024);
    BytesOf("/a.bin").replace(512, 512, 512, '\0');
    evidence.messages += "  /a.bin: bytes 512 to 1023 could not be read\n";
    ExpectViolation("the status is 0");
}

TEST_F(RescueOracle, NoticesOneZeroWhereTheDiskWasGood)
{
    evidence.lost[1].Add(512, 1024);
    BytesOf("/a.bin")[1024] = '\0';
    Fail("  /a.bin: damaged\n");
    ExpectViolation("/a.bin: byte 1024 is zero although the disk could be read there");
}

TEST_F(RescueOracle, NoticesAForeignByteEvenWhereTheDiskWasBad)
{
    evidence.lost[1].Add(512, 1024);
    BytesOf("/a.bin").replace(512, 512, volume.contents[1], 512, 512);
    Fail("  /a.bin: damaged\n");
    ExpectViolation("comes from byte 512 of /Sub/b.bin");
}

TEST_F(RescueOracle, NoticesAByteOfTheWrongPlaceOfTheSameFile)
{
    BytesOf("/a.bin").replace(0, 16, volume.contents[0], 16, 16);
    Fail("  /a.bin: damaged\n");
    ExpectViolation("comes from byte 16 of /a.bin");
}

TEST_F(RescueOracle, NoticesForeignBytesOfTheSilentWindowAsWell)
{
    evidence.speaks = false;
    evidence.lost[1].Add(512, 1024);
    BytesOf("/a.bin").replace(512, 512, volume.contents[1], 512, 512);
    ExpectViolation("comes from byte 512 of /Sub/b.bin");
}

TEST_F(RescueOracle, AsksNoMessagesOfTheSilentWindow)
{
    evidence.speaks = false;
    evidence.lost[1].Add(512, 1024);
    BytesOf("/a.bin").replace(512, 512, 512, '\0');
    ExpectNothing();
}

TEST_F(RescueOracle, NoticesAFileThatIsCutShortWithoutAReason)
{
    BytesOf("/a.bin").resize(1000);
    Fail("  /a.bin: incomplete\n");
    ExpectViolation("/a.bin ends at byte 1000 although the rest could be read");
}

TEST_F(RescueOracle, NoticesAFileThatIsTooLong)
{
    BytesOf("/a.bin") += "x";
    ExpectViolation("/a.bin has 2001 bytes instead of 2000");
}

TEST_F(RescueOracle, NoticesAMissingFileThatNothingNames)
{
    evidence.destinationFails = true;
    evidence.after.Entries().erase("/a.bin");
    Fail("  /Sub/b.bin: No space left on device\n");
    ExpectViolation("1 files did not arrive, and no message names them; the first is /a.bin");
}

TEST_F(RescueOracle, NoticesAMissingFileThatOnlyAnotherNameBeginsLike)
{
    evidence.destinationFails = true;
    evidence.after.Entries().erase("/a.bin");
    Fail("  /a.bin.txt: No space left on device\n");
    ExpectViolation("no message names them");
}

TEST_F(RescueOracle, TakesAFoldersNameForWhatIsMissingInIt)
{
    evidence.mayLoseAny = true;
    evidence.after.Entries().erase("/Sub/b.bin");
    Fail("  /Sub: the folder is damaged\n");
    ExpectNothing();
}

TEST_F(RescueOracle, TakesACountForFilesThatWereNotComeTo)
{
    evidence.destinationFails = true;
    evidence.after.Entries().erase("/Sub/b.bin");
    evidence.after.Entries().erase("/Sub/empty.bin");
    Fail("Not copied: 2 files\n");
    ExpectNothing();
}

TEST_F(RescueOracle, NoticesACountThatIsTooLow)
{
    evidence.destinationFails = true;
    evidence.after.Entries().erase("/Sub/b.bin");
    evidence.after.Entries().erase("/Sub/empty.bin");
    Fail("Not copied: 1 file\n");
    ExpectViolation("2 files did not arrive");
}

TEST_F(RescueOracle, NoticesAMissingFileThatCouldHaveBeenCopied)
{
    evidence.after.Entries().erase("/a.bin");
    Fail("  /a.bin: was not copied\n");
    ExpectViolation("/a.bin is missing although it could be read and written");
}

TEST_F(RescueOracle, LetsAnExportThatDidNotBeginPass)
{
    evidence.mayLoseAny = true;
    evidence.after = evidence.before;
    evidence.status = 3;
    evidence.messages = "volume-export: the volume did not open\n";
    ExpectNothing();
}

TEST_F(RescueOracle, NoticesAnExportThatDidNotBeginAndSaysNothing)
{
    evidence.mayLoseAny = true;
    evidence.after = evidence.before;
    evidence.status = 3;
    evidence.messages = "";
    ExpectViolation("no message names them");
}

TEST_F(RescueOracle, NoticesAChangedBystander)
{
    evidence.bystandersAfter.Entries()["/bystander"].bytes = "changed";
    ExpectViolation("changed: /bystander");
}

TEST_F(RescueOracle, NoticesABystanderThatIsGone)
{
    evidence.bystandersAfter = {};
    ExpectViolation("destroyed: /bystander");
}

TEST_F(RescueOracle, NoticesAFileThatWasMadeElsewhere)
{
    Put(&evidence.bystandersAfter, "/new", "new");
    ExpectViolation("made: /new");
}

TEST_F(RescueOracle, NoticesAChangedStrangerInTheDestination)
{
    BytesOf("/stranger.txt") = "";
    ExpectViolation("changed: /stranger.txt in the destination");
}

TEST_F(RescueOracle, NoticesAStrangerThatIsGone)
{
    evidence.after.Entries().erase("/stranger.txt");
    ExpectViolation("destroyed: /stranger.txt in the destination");
}

TEST_F(RescueOracle, NoticesAFileOfNoName)
{
    Put("/invented.bin", "invented");
    ExpectViolation("invented: /invented.bin");
}

TEST_F(RescueOracle, LetsAFileWithAnotherNamePassThatTheMessagesGive)
{
    evidence.after.Entries().erase("/a.bin");
    Put("/a.bi~1.bin", volume.contents[0]);
    evidence.messages += "the name of /a.bin was shortened to a.bi~1.bin\n";
    ExpectNothing();
    evidence.messages = "";
    ExpectViolation("invented: /a.bi~1.bin");
}

TEST_F(RescueOracle, LetsADamagedCopyPassBesideWhatStandsInItsPlace)
{
    Put(&evidence.before, "/a.bin", "old");
    evidence.after.Entries()["/a.bin"] = evidence.before.Entries()["/a.bin"];
    evidence.lost[1].Add(512, 1024);
    std::string damaged = volume.contents[0];
    Put("/a.bin (damaged)", damaged.replace(512, 512, 512, '\0'));
    Fail("  /a.bin: could not be read; the copy is a.bin (damaged)\n");
    ExpectNothing();
    BytesOf("/a.bin (damaged)")[1024] = '\0';
    ExpectViolation("invented: /a.bin (damaged)");
}

TEST_F(RescueOracle, NoticesAnExistingFileThatIsGone)
{
    evidence.destinationFails = true;
    Put(&evidence.before, "/a.bin", "old");
    evidence.after.Entries().erase("/a.bin");
    Fail("  /a.bin: No space left on device\n");
    ExpectViolation("destroyed: what was at the place of /a.bin");
}

TEST_F(RescueOracle, NoticesASecondExistingFileThatIsReplacedByAPart)
{
    evidence.destinationFails = true;
    Put(&evidence.before, "/a.bin", "old");
    Put(&evidence.before, "/Sub/b.bin", "old");
    BytesOf("/a.bin").resize(1000);
    Fail("  /a.bin: No space left on device\n  /Sub/b.bin: No space left on device\n");
    ExpectNothing();
    BytesOf("/Sub/b.bin").resize(0);
    ExpectViolation("more than one existing file was replaced by a part: /Sub/b.bin");
}

TEST_F(RescueOracle, NoticesASecondFileOfADiskThatIsGone)
{
    evidence.isGone = true;
    evidence.stops = true;
    BytesOf("/a.bin").replace(512, 512, 512, '\0');
    Fail("the disk is gone\n  /a.bin: damaged\n  /Sub/b.bin: damaged\n");
    ExpectNothing();
    BytesOf("/Sub/b.bin").replace(512, 512, 512, '\0');
    ExpectViolation("it went on: 2 files are not whole");
}

TEST_F(RescueOracle, NoticesThatNothingSaysThatTheDiskIsGone)
{
    evidence.isGone = true;
    evidence.stops = true;
    BytesOf("/a.bin").replace(512, 512, 512, '\0');
    Fail("  /a.bin: Input/output error\n");
    ExpectViolation("no message says that the disk is gone");
}

TEST_F(RescueOracle, LetsAnUntouchedOldFilePassThatIsNamed)
{
    evidence.destinationFails = true;
    Put(&evidence.before, "/a.bin", "old");
    evidence.after.Entries()["/a.bin"] = evidence.before.Entries()["/a.bin"];
    Fail("  /a.bin: Read-only file system\n");
    ExpectNothing();
}

TEST_F(RescueOracle, NoticesAFifoThatWasReplaced)
{
    evidence.destinationFails = true;
    Put(&evidence.before, "/a.bin", "", S_IFIFO);
    ExpectViolation("replaced: /a.bin, which was no file");
}

TEST_F(RescueOracle, NoticesAHangASignalAndASanitizer)
{
    evidence.status = -9;
    ExpectViolation("it hangs");
    evidence.status = -11;
    ExpectViolation("a signal ended it");
    evidence.status = 77;
    ExpectViolation("a sanitizer ended it");
}

// Beside "/a.bin", on a destination that takes the two names for one.
class TwoCases : public RescueOracle {
protected:
    TwoCases()
    {
        Add("/A.BIN", 2500);
        evidence.ignoresCase = true;
        evidence.destinationFails = true;
        Put("/A~1.BIN", volume.contents[3]);
        evidence.messages += kListed;
    }

    static constexpr const char *kListed =
        "Arrived under another name: 1 file\n  /A.BIN: as A~1.BIN\n";
};

TEST_F(TwoCases, LetsTheSecondPassUnderANumber)
{
    ExpectNothing();
    std::swap(BytesOf("/a.bin"), BytesOf("/A~1.BIN"));
    evidence.messages = "Arrived under another name: 1 file\n  /a.bin: as a~1.bin\n";
    ExpectNothing();
}

TEST_F(TwoCases, NoticesTheOneThatTheOtherOverwrote)
{
    evidence.after.Entries().erase("/A~1.BIN");
    ExpectViolation("/A.BIN lost its place to a name of other case, and got no number");
    Fail("  /A.BIN: another file has its place\n");
    ExpectViolation("/A.BIN lost its place to a name of other case, and got no number");
}

TEST_F(TwoCases, NoticesTheContentsOfTheOtherUnderTheNumber)
{
    BytesOf("/A~1.BIN") = volume.contents[0];
    ExpectViolation("/A.BIN lost its place to a name of other case, and got no number");
    ExpectViolation("invented: /a~1.bin");
}

TEST_F(TwoCases, NoticesANumberThatIsNotListed)
{
    evidence.messages = "";
    ExpectViolation("/A.BIN arrived as /A~1.BIN, and no message lists it");
    evidence.messages = "  /A.BIN: as A~1.BIN\n";
    ExpectViolation("/A.BIN arrived as /A~1.BIN, and no message lists it");
}

TEST_F(TwoCases, NoticesASecondCopyUnderAnotherNumber)
{
    Put("/A~2.BIN", volume.contents[3]);
    ExpectViolation("invented: /a~2.bin");
}

TEST_F(TwoCases, NoticesANumberOnADestinationWithCase)
{
    evidence.ignoresCase = false;
    Put("/A.BIN", volume.contents[3]);
    evidence.messages = "";
    ExpectViolation("invented: /A~1.BIN");
}

TEST_F(TwoCases, AsksNoNumberOfTheSilentWindow)
{
    evidence.speaks = false;
    evidence.messages = "";
    ExpectViolation("invented: /a~1.bin");
    evidence.after.Entries().erase("/A~1.BIN");
    ExpectNothing();
}

}  // namespace
}  // namespace vx
