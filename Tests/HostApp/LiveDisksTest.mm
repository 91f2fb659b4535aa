// Disks that come and go while they are chosen, and the right to read one, with the real listing of
// disks, the real setfacl, and a stand-in for the system's folders and for pkexec.
#include "HostTexts.h"
#include "LiveHost.h"
#include "OrdinaryUser.h"
#import "RightRow.h"
#include "StandInDisks.h"

#include <cstdlib>
#include <filesystem>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

class LiveDisksTest : public LiveHostTest {
protected:
    void SetUp() override
    {
        LiveHostTest::SetUp();
        volume.WriteFile("NOTE.TXT", "a note");
        MakeImages();
    }

    // A stick with the encrypted image on it.
    void PlugIn(const std::string &name)
    {
        system.AddDisk(name, "8:16", "8704", {{"removable", "1"}}, "pci0000:00/usb2");
        fs::copy_file(image, system.Device(name), fs::copy_options::overwrite_existing);
    }

    void ClickRow(const std::string &name)
    {
        NSView *row =
            [[[NSView alloc] initWithFrame:[List() rectOfRow:RowNamed(name)]] autorelease];
        [List() addSubview:row];
        Click(row);
        [row removeFromSuperview];
        EXPECT_TRUE(RunUntil([this] { return ![[Fields() passwordRow] isHidden]; }));
    }

    vx::StandInDisks system;
};

TEST_F(LiveDisksTest, AStickThatIsPulledOutWhileItsRowIsChosenIsSaidToHaveGone)
{
    PlugIn("sdb");
    Begin();
    ClickRow(system.Device("sdb"));
    Type("Zk4-half");
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); }));
    system.Unplug("sdb");
    const std::string gone = system.Device("sdb") + " was removed.";
    EXPECT_TRUE(RunUntil([&] { return Message() == gone; })) << Message();
    EXPECT_FALSE(CanUnlock());
    EXPECT_EQ([List() selectedRow], -1);
    EXPECT_EQ(Text([Fields() hiddenField]), "");
    PlugIn("sdb");
    ClickRow(system.Device("sdb"));
    Unlock(kPassword);
    CloseExplorer(AwaitExplorer());
    AwaitWindow();
}

TEST_F(LiveDisksTest, AStickThatIsPulledOutWhileTheExplorerRunsIsSaidToHaveGoneAfterwards)
{
    PlugIn("sdb");
    Begin();
    ClickRow(system.Device("sdb"));
    Unlock(kPassword);
    const std::string explorer = AwaitExplorer();
    system.Unplug("sdb");
    EXPECT_TRUE(RunUntil([this] { return [List() selectedRow] < 0; }));
    CloseExplorer(explorer);
    AwaitWindow();
    EXPECT_EQ(Message(), system.Device("sdb") + " was removed.");
    EXPECT_FALSE(CanUnlock());
}

class LiveRightTest : public LiveDisksTest {
protected:
    void SetUp() override
    {
        if (geteuid() != 0)
            GTEST_SKIP() << "only root can make a device";
        LiveDisksTest::SetUp();
        path = getenv("PATH");
        for (const std::string &each : {folder.Path(), system.Folder().Path()})
            fs::permissions(each, fs::perms(0755));
        system.AddDisk("sdb", "7:255", "8704");
        unlink(Device().c_str());
        if (mknod(Device().c_str(), S_IFBLK | 0600, makedev(7, 255)) != 0)
            GTEST_SKIP() << "no device can be made here";
        record = folder.WriteFile("record", "");
        fs::permissions(record, fs::perms(0666));
        setenv("VX_PKEXEC_RECORD", record.c_str(), 1);
    }

    void InstallPkexec() const
    {
        fs::copy_file(VX_PKEXEC, folder.At("bin/pkexec"));
        fs::permissions(folder.At("bin/pkexec"), fs::perms(04755));
    }

    void OpenForbidden()
    {
        OpenImage(Device());
        EXPECT_EQ(Message(), "You have no permission to read it.");
        EXPECT_FALSE([[[Pane() rightRow] askRow] isHidden]);
        EXPECT_EQ(Text([[Pane() rightRow] commandField]).find("sudo setfacl"), 0u);
    }

    std::string Device() const { return system.Device("sdb"); }

    std::string path;
    std::string record;
};

TEST_F(LiveRightTest, OneButtonAsksForTheRightAndTheDiskIsReadAtOnce)
{
    InstallPkexec();
    const OrdinaryUser user;
    Begin();
    OpenForbidden();
    EXPECT_NE(access(Device().c_str(), R_OK), 0);
    Click([[Pane() rightRow] askButton]);
    EXPECT_TRUE(RunUntil([this] { return [[[Pane() rightRow] askRow] isHidden]; }));
    EXPECT_TRUE(RunUntil([this] { return [[Pane() progressBar] isHidden]; }));
    EXPECT_EQ(access(Device().c_str(), R_OK), 0);
    EXPECT_EQ(folder.ReadFile("record"),
              "--disable-internal-agent\nsetfacl\n-m\nu:" + std::to_string(getuid()) + ":r\n--\n" +
                  Device() + "\n");
    EXPECT_NE(Message(), "You have no permission to read it.");
}

TEST_F(LiveRightTest, AQuestionThatIsDismissedIsSaidAndCanBeAskedAgain)
{
    InstallPkexec();
    setenv("VX_PKEXEC_ANSWER", "126", 1);
    const OrdinaryUser user;
    Begin();
    OpenForbidden();
    Click([[Pane() rightRow] askButton]);
    EXPECT_TRUE(RunUntil([this] {
        return Details() == "Details:\nthe question was closed without an answer";
    })) << Details();
    EXPECT_EQ(Message(), "The permission was not given.");
    EXPECT_TRUE([[[Pane() rightRow] askButton] isEnabled]);
    unsetenv("VX_PKEXEC_ANSWER");
    Click([[Pane() rightRow] askButton]);
    EXPECT_TRUE(RunUntil([this] { return [[[Pane() rightRow] askRow] isHidden]; }));
    EXPECT_EQ(access(Device().c_str(), R_OK), 0);
}

}  // namespace
