#include "InfoFixture.h"

#include <csignal>

namespace vx {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

class InfoSearch : public InfoTest {};

TEST_F(InfoSearch, WhatWasFoundIsListedWithTheCommandThatOpensIt)
{
    const Result result = Run({"--search", "my disk"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, StartsWith(R"(my disk: 2 encrypted volumes found

Encrypted volume at byte 1,048,576
  Size           40.0 GiB (42,949,672,960 bytes)
  Method         AES-128-XTS
  Description    "LAPTOP C: \x1b[2J"
  Identifier     ABCDEF01-1111-2222-3333-444455556666
  First sector   lost; no table of partitions names it
  Metadata       2 copies, at byte 36,700,160, 52,428,800
)"));
    EXPECT_THAT(result.output, HasSubstr("volume-export --list 'my disk#2' --unlock KIND SECRET"));
    EXPECT_THAT(result.output, HasSubstr("First sector   there; a table of partitions names it"));
    EXPECT_EQ(result.errors, "");
}

TEST_F(InfoSearch, AFoundVolumeThatCanBeDescribedShowsWhatOpensIt)
{
    EXPECT_THAT(Run({"--search", "my disk"}).output, HasSubstr("--unlock vmk KEY"));
}

TEST_F(InfoSearch, ADiskWithoutEncryptedVolumesIsNoFailure)
{
    const Result result = Run({"--search", "empty"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "empty: no encrypted volume found\n");
}

TEST_F(InfoSearch, WhatCouldNotBeSearchedIsNamed)
{
    const Result result = Run({"--search", "failing"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, HasSubstr("2 encrypted volumes found"));
    EXPECT_EQ(result.errors, "volume-info: failing: 1,536 bytes could not be read; what lies "
                             "there was not searched\n");
}

TEST_F(InfoSearch, WhatIsLeftOutOfALongListIsCountedAndNamed)
{
    const Result result = Run({"--search", "crowded"});
    EXPECT_EQ(result.status, 1);
    EXPECT_THAT(result.output, StartsWith("crowded: at least 2 encrypted volumes found\n"));
    EXPECT_EQ(result.errors, "volume-info: crowded: too many copies of metadata: 2,710 more places "
                             "that look like one were not checked, and volumes of theirs are not "
                             "listed; search an image of the rest of the disk for them\n");
    const Result document = Run({"--json", "--search", "crowded"});
    EXPECT_EQ(document.status, 1);
    EXPECT_EQ(Json(document.output, "[d['finished'], d['uncheckedCopies']]"), "[true, 2710]");
}

TEST_F(InfoSearch, DamageOfTheImageIsAWarning)
{
    const Result result = Run({"--search", "worn"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors, "volume-info: warning: worn: the table of the image is damaged\n");
}

TEST_F(InfoSearch, ADiskThatDoesNotOpenIsNamedWithItsStatus)
{
    const Result result = Run({"--search", "nothing"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "volume-info: cannot search nothing: there is nothing at this path "
                             "(status 3)\n");
}

TEST_F(InfoSearch, CtrlCEndsItAndShowsWhatWasFound)
{
    ToolRun run(ProgramWith(VX_STAND_IN), {"--search", "endless"});
    run.AwaitText("searching\n");
    run.Send(SIGINT);
    EXPECT_EQ(run.Wait(), -SIGINT);
    EXPECT_THAT(run.Output(), StartsWith("endless: 2 encrypted volumes found before the search "
                                         "was stopped\n"));
    EXPECT_THAT(run.Output(), HasSubstr("What opens it: volume-info endless@1048576\n"));
}

TEST_F(InfoSearch, ADiskThatDoesNotAnswerIsNotWaitedFor)
{
    ToolRun run(ProgramWith(VX_STAND_IN), {"--search", "deaf"});
    run.AwaitText("searching\n");
    run.Send(SIGINT);
    EXPECT_EQ(run.Wait(), -SIGINT);
}

TEST_F(InfoSearch, TheProgressIsALineOfItsOwnOnATerminal)
{
    ToolRun::Settings terminal;
    terminal.onTerminal = true;
    ToolRun run(ProgramWith(VX_STAND_IN), {"--search", "endless"}, terminal);
    run.AwaitText("Searching   0 %  0.0 of 61440.0 MiB");
    run.Type("\x03");
    EXPECT_EQ(run.Wait(), -SIGINT);
    EXPECT_THAT(run.Output(), HasSubstr("\r\x1b[K"));
}

TEST_F(InfoSearch, TheDocumentHasEveryFinding)
{
    const Result result = Run({"--json", "--search", "my disk"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(Json(result.output,
                   "[d['disk'], d['finished'], d['unreadBytes'], d['uncheckedCopies'], "
                   "len(d['found'])]"),
              "[\"my disk\", true, 0, 0, 2]");
    EXPECT_EQ(Json(result.output, "sorted(d['found'][0])"),
              R"(["address", "bootSector", "bytes", "description", "identifier", "inTable", )"
              R"("metadataOffsets", "method", "offset"])");
    EXPECT_EQ(Json(result.output, "[d['found'][0][k] for k in ('offset', 'bytes', 'bootSector', "
                                  "'inTable', 'address', 'metadataOffsets')]"),
              "[1048576, 42949672960, false, false, \"@1048576\", [36700160, 52428800]]");
    EXPECT_EQ(Json(result.output, "[d['found'][1][k] for k in ('bytes', 'identifier')]"),
              "[null, null]");
}

}  // namespace
}  // namespace vx
