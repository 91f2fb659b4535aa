// The right to read a device, asked for through a stand-in of pkexec and given by the real setfacl.
#include "ReadingRight.h"
#include "Eventually.h"
#include "OrdinaryUser.h"
#include "ReadingRightCommand.h"
#include "StandInDisks.h"
#include "ToolRun.h"
#include "VolumeFacts.h"
#include "VolumeLibraryStatus.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <thread>

namespace vx {
namespace {

using ::testing::HasSubstr;
using Answer = RightRequest::Answer;

const std::atomic<bool> kNeverCancelled = false;

class ReadingRight : public testing::Test {
protected:
    void SetUp() override
    {
        chmod(_disks.Folder().Path().c_str(), 0755);
        _record = _disks.Folder().WriteFile("record", "");
        chmod(_record.c_str(), 0666);
        _path = getenv("PATH");
        setenv("VX_PKEXEC_RECORD", _record.c_str(), 1);
        UsePrograms(_disks.Folder().MakeFolder("programs") + ":/usr/bin:/bin");
    }
    void TearDown() override
    {
        setenv("PATH", _path.c_str(), 1);
        unsetenv("VX_PKEXEC_RECORD");
        unsetenv("VX_PKEXEC_ANSWER");
    }
    void UsePrograms(const std::string &path) { setenv("PATH", path.c_str(), 1); }
    void InstallPkexec()
    {
        const std::string path = _disks.Folder().At("programs/pkexec");
        ToolRun copy("/bin/cp", {VX_PKEXEC, path});
        ASSERT_EQ(copy.Wait(), 0);
        chmod(path.c_str(), geteuid() == 0 ? 04755 : 0755);
    }
    // A block device that only root may read; false if none can be made.
    bool MakeDevice()
    {
        unlink(Device().c_str());
        return mknod(Device().c_str(), S_IFBLK | 0600, makedev(7, 255)) == 0;
    }
    std::string Device() const { return _disks.Device("sdb1"); }
    std::string Record() const { return _disks.Folder().ReadFile("record"); }

    StandInDisks _disks;
    std::string _record;
    std::string _path;
};

TEST_F(ReadingRight, IsGivenByTheRealSetfacl)
{
    if (!MakeDevice())
        GTEST_SKIP() << "only root can make a device";
    if (access("/usr/bin/setfacl", X_OK) != 0)
        GTEST_SKIP() << "setfacl is missing";
    InstallPkexec();
    _disks.Folder().MakeLink("dev/my-stick", "sdb1");
    const OrdinaryUser user;
    ASSERT_FALSE(MayRead(Device()));
    const RightRequest request = AskForReadingRight(_disks.Device("my-stick"), kNeverCancelled);
    EXPECT_EQ(request.answer, Answer::kGranted) << request.text;
    EXPECT_TRUE(MayRead(Device()));
    EXPECT_EQ(Record(), "--disable-internal-agent\nsetfacl\n-m\nu:" + std::to_string(getuid()) +
                            ":r\n--\n" + Device() + "\n");
}

TEST_F(ReadingRight, IsNotAskedForWhereItIsThere)
{
    if (!MakeDevice())
        GTEST_SKIP() << "only root can make a device";
    InstallPkexec();
    chmod(Device().c_str(), 0644);
    const OrdinaryUser user;
    EXPECT_EQ(AskForReadingRight(Device(), kNeverCancelled).answer, Answer::kGranted);
    EXPECT_EQ(Record(), "");
}

TEST_F(ReadingRight, AnswersOfPkexecAreToldApart)
{
    if (!MakeDevice())
        GTEST_SKIP() << "only root can make a device";
    InstallPkexec();
    const OrdinaryUser user;
    setenv("VX_PKEXEC_ANSWER", "126", 1);
    EXPECT_EQ(AskForReadingRight(Device(), kNeverCancelled).answer, Answer::kDismissed);
    setenv("VX_PKEXEC_ANSWER", "127", 1);
    const RightRequest refused = AskForReadingRight(Device(), kNeverCancelled);
    EXPECT_EQ(refused.answer, Answer::kRefused);
    EXPECT_THAT(refused.text, HasSubstr("Error executing command as another user"));
    setenv("VX_PKEXEC_ANSWER", "1", 1);
    EXPECT_EQ(AskForReadingRight(Device(), kNeverCancelled).answer, Answer::kFailed);
    setenv("VX_PKEXEC_ANSWER", "0", 1);
    const RightRequest untrue = AskForReadingRight(Device(), kNeverCancelled);
    EXPECT_EQ(untrue.answer, Answer::kFailed);
    EXPECT_THAT(untrue.text, HasSubstr("still may not be read"));
}

TEST_F(ReadingRight, AQuestionThatNobodyAnswersIsWithdrawn)
{
    if (!MakeDevice())
        GTEST_SKIP() << "only root can make a device";
    InstallPkexec();
    setenv("VX_PKEXEC_ANSWER", "wait", 1);
    const OrdinaryUser user;
    std::atomic<bool> cancel = false;
    std::thread canceller([&] {
        Eventually([&] { return !Record().empty(); });
        cancel = true;
    });
    EXPECT_EQ(AskForReadingRight(Device(), cancel).answer, Answer::kCancelled);
    canceller.join();
}

TEST_F(ReadingRight, WithoutPkexecNothingIsAsked)
{
    if (!MakeDevice())
        GTEST_SKIP() << "only root can make a device";
    if (access("/usr/bin/pkexec", F_OK) == 0)
        GTEST_SKIP() << "pkexec is installed";
    const OrdinaryUser user;
    const RightRequest request = AskForReadingRight(Device(), kNeverCancelled);
    EXPECT_EQ(request.answer, Answer::kMissing);
    EXPECT_THAT(request.text, HasSubstr("pkexec"));
}

TEST_F(ReadingRight, WhatIsNoDeviceOfTheSystemIsNeverAskedFor)
{
    InstallPkexec();
    const std::string outside = _disks.Folder().WriteFile("secret", "x");
    const std::string inside = _disks.Folder().WriteFile("dev/file", "x");
    _disks.Folder().MakeLink("dev/way-out", "../secret");
    _disks.Folder().MakeFolder("device");
    std::vector<std::string> paths = {outside,
                                      inside,
                                      _disks.Device("way-out"),
                                      _disks.Device("../secret"),
                                      _disks.Device("none"),
                                      "",
                                      "/",
                                      _disks.Device(""),
                                      "/dev/null"};
    if (mknod(_disks.Folder().At("device/sdb1").c_str(), S_IFBLK | 0600, makedev(7, 255)) == 0)
        paths.push_back(_disks.Folder().At("device/sdb1"));
    const OrdinaryUser user;
    for (const std::string &path : paths)
        EXPECT_EQ(AskForReadingRight(path, kNeverCancelled).answer, Answer::kNoDevice) << path;
    EXPECT_EQ(Record(), "");
}

TEST_F(ReadingRight, TheReasonOfTheLibraryNamesTheSameCommand)
{
    if (!MakeDevice())
        GTEST_SKIP() << "only root can make a device";
    const OrdinaryUser user;
    const DiskFacts facts = ReadDiskFacts(VX_INFO, Device(), kNeverCancelled);
    EXPECT_EQ(facts.status, static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied));
    EXPECT_THAT(facts.reason, HasSubstr(ReadingRightCommand("$USER", "DEVICE")));
}

TEST_F(ReadingRight, TheCommandNamesTheUserAndQuotesTheDevice)
{
    const OrdinaryUser user;
    const std::string name = getpwuid(getuid())->pw_name;
    EXPECT_EQ(ReadingRightCommandFor("/dev/sdb1"), "sudo setfacl -m u:" + name + ":r /dev/sdb1");
    EXPECT_EQ(ReadingRightCommandFor("/dev/a b"), "sudo setfacl -m u:" + name + ":r '/dev/a b'");
}

TEST_F(ReadingRight, OfAnImageIsForItsOwnerToGive)
{
    const std::string image = _disks.Folder().WriteFile("an image.img", "");
    EXPECT_FALSE(IsDevice(image));
    chmod(image.c_str(), 0200);
    const std::string command = ReadingRightCommandFor(image);
    EXPECT_EQ(command, "chmod u+r '" + image + "'");
    ToolRun shell("/bin/sh", {"-c", command});
    EXPECT_EQ(shell.Wait(), 0);
    struct stat found;
    ASSERT_EQ(stat(image.c_str(), &found), 0);
    EXPECT_EQ(found.st_mode & 0777, 0600u);
    const std::string folder = _disks.Folder().MakeFolder("images");
    EXPECT_EQ(ReadingRightCommandFor(folder), "chmod u+rx " + folder);
    if (geteuid() != 0)
        GTEST_SKIP() << "only root has an image of another user";
    const OrdinaryUser user;
    EXPECT_EQ(ReadingRightCommandFor(image).find("sudo setfacl -m u:"), 0u);
}

}  // namespace
}  // namespace vx
