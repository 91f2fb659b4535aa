// The faults are those of a disk: what lies before a bad place arrives, the next read fails, and
// programs of the system see them as well.
#include "Command.h"
#include "FaultPlan.h"
#include "MarkedBytes.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace vx {
namespace {

class RescueFaultyCalls : public testing::Test {
protected:
    // The status of a line of the shell with the faults.
    int Run(const std::string &line)
    {
        plan.Save(folder.At("faults"), {disk}, folder.At("log"));
        const std::string faultyCalls = "LD_PRELOAD=" VX_FAULTY_CALLS;
        ToolRun run("/usr/bin/env", {faultyCalls, "VX_FAULTS=" + folder.At("faults"),
                                     "ASAN_OPTIONS=verify_asan_link_order=0", "/bin/sh", "-c",
                                     "cd " + Quoted(folder.Path()) + " && " + line});
        const int status = run.Wait();
        output = run.Output();
        errors = run.Errors();
        return status;
    }

    size_t FailedReads() { return FaultPlan::ReadLog(folder.At("log")).size(); }

    const TemporaryFolder folder;
    const std::string contents = MarkedBytes(1, 8192);
    const std::string disk = folder.WriteFile("disk", contents);
    const std::string destination = folder.MakeFolder("to");
    FaultPlan plan;
    std::string output;
    std::string errors;
};

TEST_F(RescueFaultyCalls, WithoutFaultsNothingIsDifferent)
{
    EXPECT_EQ(Run("cat disk"), 0);
    EXPECT_EQ(output, contents);
    EXPECT_EQ(FailedReads(), 0u);
}

TEST_F(RescueFaultyCalls, AReadDeliversWhatLiesBeforeABadPlace)
{
    plan.Bad({0, 1024, 1536}, EIO);
    EXPECT_NE(Run("cat disk"), 0);
    EXPECT_EQ(output, contents.substr(0, 1024));
    EXPECT_NE(errors.find("Input/output error"), std::string::npos) << errors;
    EXPECT_EQ(FailedReads(), 1u);
}

TEST_F(RescueFaultyCalls, WhatLiesAfterABadPlaceCanBeRead)
{
    plan.Bad({0, 1024, 1536}, EIO);
    EXPECT_EQ(Run("dd if=disk bs=512 skip=3 status=none"), 0);
    EXPECT_EQ(output, contents.substr(1536));
}

TEST_F(RescueFaultyCalls, APlaceThatIsBadOnceCanBeReadTheSecondTime)
{
    plan.Bad({0, 4096, 4608}, EIO, 1);
    EXPECT_EQ(Run(VX_RESCUE_COPY " disk copy"), 0) << errors;
    EXPECT_EQ(folder.ReadFile("copy"), contents);
    EXPECT_EQ(FailedReads(), 1u);
}

TEST_F(RescueFaultyCalls, APlaceThatIsBadTwiceCannot)
{
    plan.Bad({0, 4096, 4608}, EIO, 2);
    EXPECT_EQ(Run(VX_RESCUE_COPY " disk copy"), 5) << errors;
    EXPECT_EQ(folder.ReadFile("copy"), contents.substr(0, 4096));
}

TEST_F(RescueFaultyCalls, ADiskThatIsGoneStaysGone)
{
    plan.Gone({0, 4096, 4608}, ENXIO);
    EXPECT_EQ(Run("dd if=disk bs=512 count=2 status=none"), 0);
    EXPECT_EQ(Run("dd if=disk bs=512 skip=8"), 1);
    EXPECT_EQ(output, "");
    EXPECT_NE(errors.find("No such device or address"), std::string::npos) << errors;
}

TEST_F(RescueFaultyCalls, ADestinationTakesAsMuchAsItHasRoomFor)
{
    plan.Destination(destination);
    plan.Room(3000, ENOSPC);
    EXPECT_NE(Run("dd if=disk of=to/copy bs=2048 status=none"), 0);
    EXPECT_NE(errors.find("No space left on device"), std::string::npos) << errors;
    EXPECT_EQ(folder.ReadFile("to/copy"), contents.substr(0, 3000));
}

TEST_F(RescueFaultyCalls, ADestinationThatIsFullIsFullForStreamsToo)
{
    plan.Destination(destination);
    plan.Room(3000, EDQUOT);
    EXPECT_EQ(Run(VX_RESCUE_COPY " disk to/copy"), 1);
    EXPECT_EQ(errors, "3000 bytes, then: Disk quota exceeded\n");
    EXPECT_EQ(folder.ReadFile("to/copy"), contents.substr(0, 3000));
}

TEST_F(RescueFaultyCalls, TheWriteThatIsToFailFails)
{
    plan.Destination(destination);
    plan.Hiccup(2, EIO);
    EXPECT_EQ(Run(VX_RESCUE_COPY " disk to/copy"), 1);
    EXPECT_EQ(errors, "2048 bytes, then: Input/output error\n");
    plan.Hiccup(0, EIO);
    EXPECT_EQ(Run(VX_RESCUE_COPY " disk to/copy"), 0);
}

TEST_F(RescueFaultyCalls, AReadOnlyDestinationRefusesEverythingAndNothingElseDoes)
{
    plan.Destination(destination);
    plan.Refuse(EROFS);
    folder.WriteFile("to/old", "old");
    EXPECT_NE(Run("mkdir to/sub"), 0);
    EXPECT_NE(Run("rm to/old"), 0);
    EXPECT_NE(Run("mv to/old to/new"), 0);
    EXPECT_NE(Run("cp disk to/old"), 0);
    EXPECT_NE(errors.find("Read-only file system"), std::string::npos) << errors;
    EXPECT_EQ(folder.ReadFile("to/old"), "old");
    EXPECT_EQ(Run("cp disk beside"), 0) << errors;
}

TEST_F(RescueFaultyCalls, ANameThatIsTooLongForTheDestinationIsRefused)
{
    plan.Destination(destination);
    plan.Names(8);
    EXPECT_EQ(Run("cp disk to/12345678"), 0) << errors;
    EXPECT_NE(Run("cp disk to/123456789"), 0);
    EXPECT_NE(errors.find("File name too long"), std::string::npos) << errors;
}

}  // namespace
}  // namespace vx
