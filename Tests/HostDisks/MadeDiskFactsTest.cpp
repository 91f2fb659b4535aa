// The facts of a disk with several volumes that the system's own programs have made.
#include "FactsText.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gmock/gmock.h>

namespace vx {
namespace {

// $1: a folder; $2: mkfs.fat; $3: sfdisk; $4: make-bitlocker-volume.
constexpr char kMakeDisk[] = R"sh(
exec >/dev/null
set -e
cd "$1"
truncate -s 16M plain
"$2" -n DATA plain
"$4" plain volume --method xts256 --password "a password" \
    --recovery 111111-222222-333333-444444-555555-666666-000011-000022
truncate -s 64M 'my disk'
"$3" --label gpt 'my disk' <<END
start=1MiB, size=16MiB, type=C12A7328-F81F-11D2-BA4B-00A0C93EC93B
start=20MiB, size=20MiB, type=EBD0A0A2-B9E5-4433-87C0-68B6B72699C7, name="Basic data partition"
start=44MiB, size=16MiB, type=0657FD6D-A4AB-43C4-84E5-0933C84B4F4F
END
dd if=plain of='my disk' bs=1M seek=1 conv=notrunc status=none
dd if=volume of='my disk' bs=1M seek=20 conv=notrunc status=none
)sh";

TEST(MadeDiskFacts, AreThoseThatThePrintedReportHas)
{
    if (*VX_MKFS_FAT == '\0' || *VX_SFDISK == '\0')
        GTEST_SKIP() << "mkfs.fat or sfdisk is missing";
    const TemporaryFolder folder;
    ToolRun run("/bin/sh",
                {"-c", kMakeDisk, "sh", folder.Path(), VX_MKFS_FAT, VX_SFDISK, VX_MAKE_VOLUME});
    ASSERT_EQ(run.Wait(), 0) << run.Errors();
    const std::string disk = folder.At("my disk");
    const std::atomic<bool> cancel = false;
    const DiskFacts facts = ReadDiskFacts(VX_INFO, disk, cancel);
    EXPECT_EQ(facts.status, 0) << facts.reason;
    EXPECT_EQ(FactsText(facts), FactsTextByPython(VX_INFO, disk));
    ASSERT_EQ(facts.volumes.size(), 3u);
    EXPECT_EQ(facts.volumes[0].address, disk + "#1");
    EXPECT_EQ(facts.volumes[1].address, disk + "#2");
    EXPECT_EQ(facts.volumes[2].address.find(disk + "@"), 0u);
    EXPECT_EQ(facts.volumes[2].number, 0u);
    EXPECT_EQ(facts.volumes[1].method, "AES-256-XTS");
    EXPECT_EQ(facts.volumes[1].protectors.size(), 2u);
}

}  // namespace
}  // namespace vx
