// What a person reads, without a secret.
#include "InfoFixture.h"

#include <unistd.h>

namespace vx {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

class InfoText : public InfoTest {};

TEST_F(InfoText, ADiskIsShownWithItsContainerSizeAndPartitions)
{
    const Result result = Run({"system disk"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr(R"(system disk
  Kind           a dynamic VHDX image
  Size           60.0 GiB (64,424,509,440 bytes), sectors of 512 bytes
  Partitions     GPT

  No.  Begins at       Size  Label     Partition                     Contents
    1    1.0 MiB  100.0 MiB  "SYSTEM"  "EFI system partition"        FAT32
    -  101.0 MiB   16.0 MiB            Microsoft reserved partition  nothing known
    2  117.0 MiB   40.0 GiB            "Basic data partition"        encrypted
    -   41.0 GiB    1.0 GiB            Linux data                    a LUKS volume: open it with cryptsetup
)"));
}

TEST_F(InfoText, AnEncryptedVolumeIsShownWithAllThatIsKnownOfIt)
{
    EXPECT_THAT(Run({"system disk"}).output,
                HasSubstr(R"(Encrypted volume 2, 40.0 GiB at byte 122,683,392
  Method         AES-128-XTS, sectors of 512 bytes
  State          encrypting, 37.5 % encrypted (15.0 GiB of 40.0 GiB)
  Encrypted by   Windows 7 or later
  Description    "LAPTOP C: 9/30/2020"
  Created        2020-09-30 17:00:00 UTC
  Identifier     ABCDEF01-1111-2222-3333-444455556666
  Metadata       3 copies, of which 1 is bad
                 at byte 33,554,432: good
                 at byte 17,179,869,184: its checksum is wrong
                 at byte 25,769,803,776: good

  Protector          Key ID    Date        Identifier
  password           1A2B3C4D  2020-09-30  1A2B3C4D-1111-2222-3333-444455556666
  recovery password  5E6F7A8B  2020-09-30  5E6F7A8B-1111-2222-3333-444455556666
  TPM and PIN        99AABBCC              99AABBCC-1111-2222-3333-444455556666
)"));
}

TEST_F(InfoText, EveryKindOfSecretThatOpensTheVolumeIsNamedWithItsKey)
{
    const std::string output = Run({"system disk"}).output;
    for (const char *line :
         {"\n  --unlock password -          1A2B3C4D  the password",
          "\n  --unlock recovery -          5E6F7A8B  the recovery password of 48 digits",
          "\n  --unlock recovery-file FILE  5E6F7A8B  the text file",
          "\n  --unlock key-ring PATH       5E6F7A8B  a folder or a file",
          "\n  --unlock vmk KEY                       the volume master key",
          "\n  --unlock fvek KEY                      the key of the sectors"})
        EXPECT_THAT(output, HasSubstr(line));
}

TEST_F(InfoText, TheExampleOpensTheVolumeFromAShell)
{
    EXPECT_THAT(Run({"system disk"}).output,
                HasSubstr("For example: volume-export --list 'system disk#2' --unlock password "
                          "-\n"));
    EXPECT_THAT(Run({"stick"}).output, HasSubstr("For example: volume-export --list stick\n"));
}

TEST_F(InfoText, AChosenVolumeKeepsItsAddress)
{
    EXPECT_THAT(Run({"stick@1048576"}).output, HasSubstr("Encrypted volume"));
    EXPECT_THAT(Run({"stick@1048576"}).output, Not(HasSubstr("1048576#")));
}

TEST_F(InfoText, ASuspendedVolumeOpensWithoutASecret)
{
    const std::string output = Run({"stick"}).output;
    EXPECT_THAT(output, HasSubstr("State          encrypted, 100 %\n"));
    EXPECT_THAT(output, HasSubstr("Protection     suspended: the volume opens without a secret\n"));
    EXPECT_THAT(output, HasSubstr("Encrypted by   Windows 7 or later, To Go\n"));
    EXPECT_THAT(output, HasSubstr("Metadata       3 copies, all good\n"));
    EXPECT_THAT(output, HasSubstr("  Opens without a secret.\n"));
    EXPECT_THAT(output, Not(HasSubstr("--unlock")));
}

TEST_F(InfoText, AVolumeThatNothingHereOpensSaysWhatToDo)
{
    const std::string output = Run({"tpm"}).output;
    EXPECT_THAT(output, HasSubstr("No protector can be used here. On the Windows computer"));
    EXPECT_THAT(output, Not(HasSubstr("--unlock password")));
    EXPECT_THAT(output, HasSubstr("--unlock vmk KEY"));
}

TEST_F(InfoText, DamageThatWasNoticedIsAWarningOnStandardError)
{
    const Result result = Run({"system disk"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.errors,
              "volume-info: warning: system disk: a copy of the metadata is damaged\n");
}

TEST_F(InfoText, NothingOnADiskDrivesTheTerminal)
{
    const Result result = Run({"evil"});
    EXPECT_EQ(result.status, 0);
    for (const std::string &text : {result.output, result.errors}) {
        EXPECT_THAT(text, Not(HasSubstr("\x1b")));
        EXPECT_THAT(text, Not(HasSubstr("\u009b")));
        EXPECT_THAT(text, Not(HasSubstr("\u202e")));
        EXPECT_THAT(text, Not(HasSubstr("\nNo. 7")));
    }
    EXPECT_THAT(result.output, HasSubstr("\\x1b[2J\\u009b2J\\u202etxt\\nNo. 7\"\\\\"));
    EXPECT_THAT(result.output, Not(HasSubstr("-1")));
}

TEST_F(InfoText, AnEmptyDiskIsShownToo)
{
    const Result result = Run({"empty"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "empty\n  Kind           a raw image\n  Size           0 bytes\n");
}

TEST_F(InfoText, WhereNothingOpensASearchIsSuggested)
{
    EXPECT_EQ(Run({"unknown disk"}).output,
              "unknown disk\n"
              "  Kind           a raw image\n"
              "  Size           1.0 MiB (1,048,576 bytes)\n"
              "  Contents       nothing that is recognised\n"
              "\n"
              "  If there was an encrypted volume: volume-info --search 'unknown disk'\n");
    for (const char *disk : {"system disk", "stick", "tpm", "empty"})
        EXPECT_THAT(Run({disk}).output, Not(HasSubstr("--search")));
}

TEST_F(InfoText, WhatCannotBeOpenedIsNamedWithItsStatus)
{
    const Result result = Run({"no disk"});
    EXPECT_EQ(result.status, 3);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, "volume-info: cannot open no disk: there is nothing at this path "
                             "(status 3)\n");
}

TEST_F(InfoText, TheReportIsReleased)
{
    const std::string released = _folder.At("released");
    const std::string program = ProgramWith(VX_STAND_IN);
    ToolRun run("/usr/bin/env", {"VX_RELEASED=" + released, program, "stick"});
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_EQ(access(released.c_str(), F_OK), 0);
}

}  // namespace
}  // namespace vx
