// How a mount begins and ends, and what the program says.
#include "MountFixture.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include "Eventually.h"
#include "FewDescriptors.h"
#include "MountPoint.h"
#include "OrdinaryUser.h"
#include "UniqueFd.h"

namespace vx {
namespace {

class MountLife : public MountTest {
protected:
    void SetUp() override
    {
        MountTest::SetUp();
        _folder.WriteFile("volume/a.txt", "contents");
    }
    const std::string &Volume() const { return _volume; }
    // Of the mounted file.
    static std::string Read(const std::string &folder)
    {
        return Shell("cat " + Quoted(folder + "/a.txt")).output;
    }
    void AwaitMount(const std::string &folder)
    {
        ASSERT_TRUE(Eventually([&] { return IsMounted(folder); }));
    }

private:
    const std::string _volume = _folder.At("volume");
};

TEST_F(MountLife, ReturnsInTheBackgroundWhenTheVolumeIsThere)
{
    const std::string folder = Mount({Volume()});
    EXPECT_EQ(Read(folder), "contents");
    Unmount(folder);
    EXPECT_FALSE(IsMounted(folder));
}

TEST_F(MountLife, EndsWithStatusZeroWhenItIsUnmounted)
{
    const std::string folder = MountPoint();
    ToolRun run(VX_MOUNT, {Volume(), folder});
    AwaitMount(folder);
    EXPECT_EQ(Read(folder), "contents");
    Unmount(folder);
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_EQ(run.Errors(), "");
}

TEST_F(MountLife, UnmountsAtASignal)
{
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const std::string folder = MountPoint();
        ToolRun run(VX_MOUNT, {Volume(), folder});
        AwaitMount(folder);
        EXPECT_EQ(Read(folder), "contents");
        run.Send(signal);
        EXPECT_EQ(run.Wait(), 0);
        EXPECT_FALSE(IsMounted(folder));
    }
}

TEST_F(MountLife, UnmountsUnderUseAtASignal)
{
    const std::string folder = MountPoint();
    ToolRun run(VX_MOUNT, {Volume(), folder});
    AwaitMount(folder);
    const UniqueFd used(open((folder + "/a.txt").c_str(), O_RDONLY | O_CLOEXEC));
    ASSERT_TRUE(used);
    run.Send(SIGINT);
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_FALSE(IsMounted(folder));
}

TEST_F(MountLife, StaysUntilTheLastUserOfALazyUnmountHasGone)
{
    const std::string folder = MountPoint();
    ToolRun run(VX_MOUNT, {Volume(), folder});
    AwaitMount(folder);
    UniqueFd used(open((folder + "/a.txt").c_str(), O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(Shell("fusermount3 -u -z " + Quoted(folder)).status, 0);
    char bytes[8] = {};
    EXPECT_EQ(read(used.Get(), bytes, sizeof(bytes)), 8);
    used.Close();
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(MountLife, LeavesAMountThatFusermountRemovesIfItIsKilled)
{
    const std::string folder = MountPoint();
    ToolRun run(VX_MOUNT, {Volume(), folder});
    AwaitMount(folder);
    run.Send(SIGKILL);
    EXPECT_EQ(run.Wait(), -SIGKILL);
    const Result again = Run({Volume(), folder});
    EXPECT_EQ(again.status, 2);
    EXPECT_NE(again.errors.find("remove it with \"fusermount3 -u\""), std::string::npos)
        << again.errors;
    Unmount(folder);
    EXPECT_FALSE(IsMounted(folder));
}

TEST_F(MountLife, HasTwoMountsAtOnce)
{
    _folder.WriteFile("other/a.txt", "other");
    const std::string one = Mount({Volume()});
    const std::string other = Mount({_folder.At("other")});
    EXPECT_EQ(Read(one), "contents");
    EXPECT_EQ(Read(other), "other");
    Unmount(one);
    EXPECT_EQ(Read(other), "other");
}

// The kernel knows the size of then, and would read no further.
TEST_F(MountLife, GivesAllOfALargeFileThatHasGrownSinceItWasListed)
{
    const std::string file = _folder.WriteFile("volume/large", std::string(100000, 'a'));
    const std::string folder = Mount({Volume()});
    EXPECT_EQ(Shell("stat -c %s " + Quoted(folder + "/large")).output, "100000");
    ASSERT_EQ(Shell("head -c 200000 /dev/zero >> " + Quoted(file)).status, 0);
    EXPECT_EQ(Shell("cat " + Quoted(folder + "/large") + " | wc -c").output, "300000");
}

// Another file may have taken its place when it is opened once more. The kernel reads ahead by
// several requests at a time.
TEST_F(MountLife, AFileOfAPlainFolderIsOpenedOnceHoweverMuchIsReadAtATime)
{
    const std::string file = _folder.WriteFile("volume/large", "");
    ASSERT_EQ(truncate(file.c_str(), 100 << 20), 0);
    const std::string folder = MountPoint();
    ToolRun run(VX_MOUNT, {Volume(), folder});
    AwaitMount(folder);
    const UniqueFd used(open((folder + "/large").c_str(), O_RDONLY | O_CLOEXEC));
    posix_fadvise(used.Get(), 0, 0, POSIX_FADV_SEQUENTIAL);
    std::vector<char> bytes(1 << 20);
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(read(used.Get(), bytes.data(), bytes.size()), 1 << 20);
    const std::string opened = "/proc/" + std::to_string(run.Process()) + "/fd";
    EXPECT_EQ(Shell("find " + opened + " -lname " + Quoted(file) + " | wc -l").output, "1");
    run.Send(SIGTERM);
    EXPECT_EQ(run.Wait(), 0);
}

TEST_F(MountLife, CannotBeWrittenTo)
{
    const std::string folder = Mount({Volume()});
    EXPECT_NE(Shell("echo x > " + Quoted(folder + "/a.txt")).status, 0);
    EXPECT_NE(Shell("touch " + Quoted(folder + "/new")).status, 0);
    EXPECT_NE(Shell("rm " + Quoted(folder + "/a.txt")).status, 0);
    EXPECT_EQ(Shell("stat -c %a:%u " + Quoted(folder + "/a.txt")).output,
              "444:" + std::to_string(getuid()));
    EXPECT_EQ(Shell("stat -c %a " + Quoted(folder)).output, "555");
}

TEST_F(MountLife, EveryChangeIsRefusedAsOfAReadOnlyDisk)
{
    const std::string folder = Mount({Volume()});
    const std::string file = folder + "/a.txt";
    const auto errorOf = [](int result) { return result == 0 ? 0 : errno; };
    EXPECT_EQ(errorOf(open(file.c_str(), O_WRONLY | O_CLOEXEC) < 0 ? -1 : 0), EROFS);
    EXPECT_EQ(errorOf(truncate(file.c_str(), 0)), EROFS);
    EXPECT_EQ(errorOf(unlink(file.c_str())), EROFS);
    EXPECT_EQ(errorOf(rename(file.c_str(), (folder + "/b.txt").c_str())), EROFS);
    EXPECT_EQ(errorOf(link(file.c_str(), (folder + "/b.txt").c_str())), EROFS);
    EXPECT_EQ(errorOf(symlink("a.txt", (folder + "/b.txt").c_str())), EROFS);
    EXPECT_EQ(errorOf(mkdir((folder + "/b").c_str(), 0755)), EROFS);
    EXPECT_EQ(errorOf(chmod(file.c_str(), 0644)), EROFS);
    EXPECT_EQ(errorOf(utimensat(AT_FDCWD, file.c_str(), nullptr, 0)), EROFS);
    EXPECT_EQ(Read(folder), "contents");
}

// It is not followed, so that it leads to no file of this machine by chance.
TEST_F(MountLife, ALinkLeadsToNoFolderOfThisMachine)
{
    _folder.MakeLink("volume/link", "a/b/c");
    _folder.MakeLink("volume/from-root", "/etc");
    _folder.MakeLink("volume/self", ".");
    _folder.MakeLink("volume/above", "..");
    const std::string folder = Mount({Volume()});
    const auto target = [&](const char *name) {
        return Shell("readlink " + Quoted(folder + "/" + name)).output;
    };
    EXPECT_EQ(target("link"), "a\\b\\c");
    EXPECT_EQ(target("from-root"), "\\etc");
    EXPECT_EQ(target("self"), ".\\");
    EXPECT_EQ(target("above"), "..\\");
}

TEST_F(MountLife, NamesItsVolumeAndNoSecretInTheTableOfMounts)
{
    _folder.WriteFile("comma, and\\back/a.txt", "x");
    const std::string folder =
        Mount({_folder.At("comma, and\\back"), "--unlock", "none", "s3cret"});
    const std::string row = Shell("grep -F " + Quoted(folder) + " /proc/self/mounts").output;
    EXPECT_EQ(row.rfind(_folder.At("comma,\\040and\\134back") + " ", 0), 0U) << row;
    for (const char *option : {"fuse.volume-mount ", "ro,", "nosuid", "nodev", "noexec"})
        EXPECT_NE(row.find(option), std::string::npos) << row;
    EXPECT_EQ(row.find("s3cret"), std::string::npos);
}

TEST_F(MountLife, RefusesAFolderThatIsOfNoUse)
{
    const std::string file = _folder.WriteFile("file", "");
    const struct {
        std::string folder;
        const char *reason;
    } kCases[] = {{_folder.At("nothing"), "there is nothing at this path; make an empty folder"},
                  {file, "Not a directory"},
                  {Volume(), "it is not empty; name an empty folder"}};
    for (const auto &refused : kCases) {
        const Result result = Run({Volume(), refused.folder});
        EXPECT_EQ(result.status, 2);
        EXPECT_NE(result.errors.find(refused.reason), std::string::npos) << result.errors;
    }
}

TEST_F(MountLife, RefusesAFolderThatTheUserMayNotWriteIn)
{
    std::string folder = _folder.MakeFolder("others");
    chmod(_folder.Path().c_str(), 0755);
    chmod(folder.c_str(), 0555);
    const std::string named = folder;
    std::string error;
    {
        const OrdinaryUser user;
        EXPECT_FALSE(IsUsableMountPoint(_folder.At("image"), &folder, &error));
    }
    EXPECT_EQ(error, "cannot mount on " + named +
                         ": your user may not write in it; name a folder of your own");
}

TEST_F(MountLife, ShowsNoSecretInTheListOfProcesses)
{
    _folder.WriteFile("volume-of-words/a.txt", "x");
    const std::string folder = Mount({_folder.At("volume-of-words"), "--unlock", "none", "s3cret"});
    const std::string seen = Shell("for process in $(pgrep -f -- " + Quoted(folder) +
                                   "); do tr '\\0' ' ' < /proc/$process/cmdline; done")
                                 .output;
    EXPECT_NE(seen.find("--unlock none "), std::string::npos) << seen;
    EXPECT_EQ(seen.find("s3cret"), std::string::npos) << seen;
}

TEST_F(MountLife, RefusesAFolderInTheFolderThatIsMounted)
{
    const std::string inside = _folder.MakeFolder("volume/empty");
    const Result result = Run({Volume(), inside});
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.errors.find("it lies in the volume"), std::string::npos) << result.errors;
}

TEST_F(MountLife, SaysInFrontWhyAVolumeDoesNotOpen)
{
    for (const Arguments &how : {Arguments{}, Arguments{"--background"}}) {
        Arguments arguments = how;
        arguments.insert(arguments.end(), {_folder.At("nothing"), MountPoint()});
        const Result result = Run(arguments);
        EXPECT_EQ(result.status, 3);
        EXPECT_NE(result.errors.find("cannot open " + _folder.At("nothing")), std::string::npos)
            << result.errors;
        EXPECT_EQ(std::count(result.errors.begin(), result.errors.end(), '\n'), 1);
    }
}

TEST_F(MountLife, AsksForTheSecretBeforeItGoesIntoTheBackground)
{
    const std::string folder = MountPoint();
    ToolRun::Settings settings;
    settings.onTerminal = true;
    ToolRun run(ProgramWith(VX_STAND_IN),
                {"--background", "locked", "--unlock", "password", "-", folder}, settings);
    run.AwaitText("Secret (password) for locked: ");
    run.Type("s3cret w\xc3\xb6rd\n");
    EXPECT_EQ(run.Wait(), 0) << run.Output();
    EXPECT_TRUE(IsMounted(folder));
}

TEST_F(MountLife, EndsByASignalWhileItAsks)
{
    ToolRun::Settings settings;
    settings.onTerminal = true;
    ToolRun run(ProgramWith(VX_STAND_IN),
                {"--background", "locked", "--unlock", "password", "-", MountPoint()}, settings);
    run.AwaitText("Secret (password) for locked: ");
    run.Type("\x03");
    EXPECT_EQ(run.Wait(), -SIGINT);
}

TEST_F(MountLife, SaysWhatIsMissingWithoutTheDevice)
{
    if (geteuid() != 0 || Shell("unshare -m true").status != 0)
        GTEST_SKIP() << "only the administrator can hide /dev/fuse from a program";
    const Result result =
        Shell("unshare -m sh -c 'mount -t tmpfs none /dev && \"$0\" \"$1\" \"$2\"' " VX_MOUNT " " +
              Quoted(Volume()) + " " + Quoted(MountPoint()));
    EXPECT_EQ(result.status, 2);
    EXPECT_NE(result.output.find("/dev/fuse is missing; load the kernel's part of FUSE with "
                                 "\"modprobe fuse\""),
              std::string::npos)
        << result.output;
}

TEST_F(MountLife, SaysThatThereAreTooFewDescriptors)
{
    ToolRun run("/bin/sh", {"-c", RunWithDescriptors(4), VX_MOUNT, _folder.MakeFolder("v"),
                            _folder.MakeFolder("m")});
    EXPECT_EQ(run.Wait(), 3);
    EXPECT_NE(run.Errors().find("no pipe can be made to wait for signals: Too many"),
              std::string::npos)
        << run.Errors();
}

// Who waits for the end of its output must not wait for the end of the mount.
TEST_F(MountLife, KeepsNoOutputOpenInTheBackgroundHoweverFewDescriptorsThereAre)
{
    const std::string volume = _folder.MakeFolder("v");
    for (int most = 4; most <= 12; ++most) {
        const std::string folder = MountPoint();
        const Result end =
            Shell("(ulimit -n " + std::to_string(most) + "; exec " VX_MOUNT " --background " +
                  volume + " " + folder + ") | timeout 10 cat");
        EXPECT_EQ(end.status, 0) << most;
        EXPECT_NE(IsMounted(folder), !end.output.empty()) << most << end.output;
    }
}

TEST_F(MountLife, SaysThatTheLibraryIsMissing)
{
    const Result result = RunWith(ProgramWith(""), {Volume(), MountPoint()});
    EXPECT_EQ(result.status, 3);
    EXPECT_NE(result.errors.find("the volume library is missing"), std::string::npos)
        << result.errors;
}

}  // namespace
}  // namespace vx
