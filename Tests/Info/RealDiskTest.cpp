// The program with the real library, on disks made by the system's own programs.
#include "InfoFixture.h"

#include <cstring>

namespace vx {
namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr char kPassword[] = "only for this disk";

// $1: a folder; $2: mkfs.fat; $3: mcopy; $4: sfdisk; $5: make-bitlocker-volume; $6: the password.
// Makes "$1/my disk", a GPT disk with a FAT file system, an encrypted one and Linux swap space.
const char *const kMakeDisk = R"sh(
exec >/dev/null
set -e
cd "$1"
truncate -s 16M plain fat
"$2" -n SYSTEM fat
"$2" -n DATA plain
printf 'hello' >hello.txt
MTOOLS_SKIP_CHECK=1 "$3" -i plain hello.txt ::
"$5" plain volume --method xts256 --password "$6" \
    --recovery 111111-222222-333333-444444-555555-666666-000011-000022
truncate -s 80M 'my disk'
"$4" --label gpt 'my disk' <<END
start=1MiB, size=16MiB, type=C12A7328-F81F-11D2-BA4B-00A0C93EC93B
start=20MiB, size=20MiB, type=EBD0A0A2-B9E5-4433-87C0-68B6B72699C7, name="Basic data partition"
start=44MiB, size=16MiB, type=0657FD6D-A4AB-43C4-84E5-0933C84B4F4F
END
dd if=fat of='my disk' bs=1M seek=1 conv=notrunc status=none
dd if=volume of='my disk' bs=1M seek=20 conv=notrunc status=none
)sh";

class RealDisk : public InfoTest {
protected:
    void SetUp() override
    {
        for (const char *program : {VX_MKFS_FAT, VX_MCOPY, VX_SFDISK}) {
            if (*program == '\0')
                GTEST_SKIP() << "mkfs.fat, mcopy or sfdisk is missing";
        }
        ToolRun run("/bin/sh", {"-c", kMakeDisk, "sh", _folder.Path(), VX_MKFS_FAT, VX_MCOPY,
                                VX_SFDISK, VX_MAKE_VOLUME, kPassword});
        ASSERT_EQ(run.Wait(), 0) << run.Errors();
    }

    Result RunReal(const Arguments &arguments) { return RunWith(VX_LIBRARY, arguments); }

    // Lets a shell run the command that the output gives as an example, as a reader would.
    Result RunExample(const std::string &output)
    {
        const size_t begin = output.find("For example: ") + strlen("For example: ");
        const std::string command = output.substr(begin, output.find('\n', begin) - begin);
        ToolRun::Settings settings;
        settings.input = std::string(kPassword) + "\n";
        ToolRun run("/bin/sh", {"-c", "PATH=$1:$PATH; " + command, "sh", VX_PROGRAMS}, settings);
        const int status = run.Wait();
        return {status, run.Output(), command + "\n" + run.Errors()};
    }

    const std::string _disk = _folder.At("my disk");
};

TEST_F(RealDisk, AVolumeWhoseEncryptionIsFinishedButNotWholeIsCalledPartlyEncrypted)
{
    const std::string volume = _folder.At("partly");
    const auto stateWith = [&](const char *encrypted) {
        ToolRun make(VX_MAKE_VOLUME,
                     {_folder.At("plain"), volume, "--password", "x", "--encrypted", encrypted});
        EXPECT_EQ(make.Wait(), 0) << make.Errors();
        const std::string output = RunReal({volume}).output;
        const size_t begin = output.find("State") + strlen("State          ");
        return output.substr(begin, output.find('\n', begin) - begin);
    };
    EXPECT_THAT(stateWith("4194304"), ::testing::StartsWith("partly encrypted, "));
    EXPECT_THAT(stateWith("4194304"), ::testing::ContainsRegex("[0-9] % .4.0 MiB of "));
    EXPECT_THAT(stateWith("9216"),
                ::testing::StartsWith("partly encrypted, less than 0.1 % (9.0 KiB of "));
    EXPECT_EQ(stateWith("0"), "decrypted");
}

TEST_F(RealDisk, ShowsItsPartitions)
{
    const Result result = RunReal({_disk});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_EQ(result.errors, "");
    EXPECT_THAT(result.output, HasSubstr("  Size           80.0 MiB (83,886,080 bytes)"));
    EXPECT_THAT(result.output, HasSubstr("  Partitions     GPT\n"));
    EXPECT_THAT(result.output, ::testing::ContainsRegex("\n +1 +1.0 MiB  16.0 MiB  \"SYSTEM\" "));
    EXPECT_THAT(result.output, ::testing::ContainsRegex(
                                   "\n +2 +20.0 MiB  20.0 MiB +\"Basic data partition\" .*enc"));
    EXPECT_THAT(result.output, ::testing::ContainsRegex("\n +- +44.0 MiB  16.0 MiB "));
    EXPECT_THAT(result.output, HasSubstr("Encrypted volume 2, 20.0 MiB at byte 20,971,520\n"
                                         "  Method         AES-256-XTS, sectors of 512 bytes\n"));
}

TEST_F(RealDisk, TheExampleOpensTheEncryptedVolume)
{
    const Result example = RunExample(RunReal({_disk}).output);
    EXPECT_EQ(example.status, 0) << example.errors;
    EXPECT_THAT(example.output, HasSubstr("/hello.txt"));
}

TEST_F(RealDisk, ShowsTheFileSystemAndTheRecoveryPasswordOnceItIsUnlocked)
{
    const Result result =
        RunReal({_disk, "--unlock", "password", kPassword, "--show-recovery-password"});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr("  Label          \"DATA\"\n"));
    EXPECT_THAT(result.output, ::testing::ContainsRegex("  File system    FAT1[26]"));
    EXPECT_THAT(result.output,
                HasSubstr("  111111-222222-333333-444444-555555-666666-000011-000022\n"));
    const Result document = RunReal({"--json", _disk, "--unlock", "password", kPassword});
    EXPECT_EQ(Json(document.output, "d['opened']['number']"), "2");
}

TEST_F(RealDisk, ASearchFindsTheVolumeOfALostTable)
{
    ToolRun wipe("/bin/sh", {"-c",
                             "dd if=/dev/zero of=\"$1\" bs=1M count=1 conv=notrunc && "
                             "dd if=/dev/zero of=\"$1\" bs=512 seek=40960 count=1 "
                             "conv=notrunc && truncate -s 60M \"$1\"",
                             "sh", _disk});
    ASSERT_EQ(wipe.Wait(), 0);
    const Result result = RunReal({"--search", _disk});
    EXPECT_EQ(result.status, 0) << result.errors;
    EXPECT_THAT(result.output, HasSubstr(": 1 encrypted volume found\n"));
    EXPECT_THAT(result.output, HasSubstr("Encrypted volume at byte 20,971,520\n"));
    EXPECT_THAT(result.output, HasSubstr("First sector   lost; no table of partitions names it"));
    const Result example = RunExample(result.output);
    EXPECT_EQ(example.status, 0) << example.errors;
    EXPECT_THAT(example.output, HasSubstr("/hello.txt"));
}

// Both tables are gone, and the first sector of the encrypted volume.
TEST_F(RealDisk, WhatASearchFindsOpensByTheAddressThatItGives)
{
    ToolRun wipe("/bin/sh",
                 {"-c",
                  "for part in '0 2048' '163807 33' '40960 1'; do set -- \"$1\" $part; dd "
                  "if=/dev/zero of=\"$1\" bs=512 seek=$2 count=$3 conv=notrunc status=none; done",
                  "sh", _disk});
    ASSERT_EQ(wipe.Wait(), 0) << wipe.Errors();
    const Result lost = RunReal({_disk, "--unlock", "password", kPassword});
    EXPECT_NE(lost.status, 0);
    EXPECT_THAT(lost.errors, HasSubstr("volume-info --search"));
    const Result found = RunReal({"--json", "--search", _disk});
    EXPECT_EQ(found.status, 0) << found.errors;
    EXPECT_EQ(Json(found.output, "[[f['offset'], f['address'], f['bootSector'], f['inTable'], "
                                 "len(f['metadataOffsets'])] for f in d['found']]"),
              "[[20971520, \"@20971520\", false, false, 3]]");
    ToolRun::Settings settings;
    settings.input = std::string(kPassword) + "\n";
    ToolRun list(std::string(VX_PROGRAMS) + "/volume-export",
                 {"--list", _disk + "@20971520", "--unlock", "password", "-"}, settings);
    EXPECT_EQ(list.Wait(), 0) << list.Errors();
    EXPECT_THAT(list.Output(), HasSubstr("/hello.txt"));
    EXPECT_THAT(list.Errors(), HasSubstr("the first sector of the encrypted volume is lost"));
    const Result named = RunReal({_disk + "@0x1400000", "--unlock", "password", kPassword});
    EXPECT_EQ(named.status, 0) << named.errors;
    EXPECT_THAT(named.output, HasSubstr("  Label          \"DATA\"\n"));
}

}  // namespace
}  // namespace vx
