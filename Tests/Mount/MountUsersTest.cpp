// Who can mount, and who can read what is mounted.
#include "MountFixture.h"

#include <csignal>
#include <sys/stat.h>
#include <unistd.h>

#include "Eventually.h"
#include "OrdinaryUser.h"

namespace vx {
namespace {

constexpr uid_t kNobody = 65534;

class MountUsers : public MountTest {
protected:
    void SetUp() override
    {
        MountTest::SetUp();
        if (IsSkipped())
            return;
        if (geteuid() != 0)
            GTEST_SKIP() << "only the administrator can act as two users";
        chmod(_folder.Path().c_str(), 0755);
        _folder.WriteFile("volume/a.txt", "contents");
        {
            const OrdinaryUser user;
            if (access(VX_MOUNT, X_OK) != 0)
                _whyNot = "another user cannot reach " VX_MOUNT;
        }
        if (!_whyNot.empty())
            GTEST_SKIP() << _whyNot;
    }
    std::string MountPointOf(uid_t user)
    {
        const std::string folder = MountPoint();
        EXPECT_EQ(chown(folder.c_str(), user, user), 0);
        return folder;
    }
    static bool CanRead(const std::string &file) { return access(file.c_str(), R_OK) == 0; }
    static bool CanAnotherRead(const std::string &file)
    {
        ToolRun::Settings settings;
        settings.withoutPrivileges = true;
        ToolRun run("/bin/cat", {file}, settings);
        return run.Wait() == 0 && run.Output() == "contents";
    }
    // By nobody, with other settings of FUSE. Then $read is run by the administrator.
    Result MountWith(const std::string &settings, const std::string &read)
    {
        const std::string folder = MountPointOf(kNobody);
        const std::string file = _folder.WriteFile("fuse.conf", settings);
        return Shell("unshare -m sh -c 'mount --bind \"$1\" /etc/fuse.conf && setpriv"
                     " --reuid=65534 --regid=65534 --clear-groups " VX_MOUNT
                     " --background --allow-other \"$2\" \"$3\" && cd \"$3\" && { " +
                     read + "; s=$?; cd /; fusermount3 -u \"$3\"; exit $s; }' sh " + Quoted(file) +
                     " " + Quoted(_folder.At("volume")) + " " + Quoted(folder));
    }
    static bool CanHaveOtherSettings()
    {
        return access("/etc/fuse.conf", R_OK) == 0 &&
               Shell("unshare -m true && setpriv --version").status == 0;
    }

private:
    std::string _whyNot;
};

TEST_F(MountUsers, OnlyTheUserWhoMountsReads)
{
    const std::string folder = MountPointOf(kNobody);
    ToolRun::Settings settings;
    settings.withoutPrivileges = true;
    ToolRun run(VX_MOUNT, {_folder.At("volume"), folder}, settings);
    ASSERT_TRUE(Eventually([&] { return IsMounted(folder); }));
    EXPECT_TRUE(CanAnotherRead(folder + "/a.txt")) << "the one who mounted it";
    EXPECT_FALSE(CanRead(folder + "/a.txt")) << "the administrator";
    run.Send(SIGTERM);
    EXPECT_EQ(run.Wait(), 0);
    EXPECT_FALSE(IsMounted(folder));
}

TEST_F(MountUsers, WhatTheAdministratorMountsOthersReadOnlyIfAllowed)
{
    const std::string closed = Mount({_folder.At("volume")});
    EXPECT_TRUE(CanRead(closed + "/a.txt"));
    EXPECT_FALSE(CanAnotherRead(closed + "/a.txt"));
    const std::string opened = Mount({"--allow-other", _folder.At("volume")});
    EXPECT_TRUE(CanAnotherRead(opened + "/a.txt"));
}

TEST_F(MountUsers, AllowingOthersNeedsTheSystemsPermission)
{
    if (!CanHaveOtherSettings())
        GTEST_SKIP() << "the settings of FUSE cannot be replaced here";
    const Result refused = MountWith("#user_allow_other\n", "cat a.txt");
    EXPECT_EQ(refused.status, 1);
    EXPECT_NE(refused.output.find("fusermount3 refused it (see above); --allow-other needs the "
                                  "line user_allow_other in /etc/fuse.conf"),
              std::string::npos)
        << refused.output;
    const Result allowed = MountWith("user_allow_other\n", "cat a.txt");
    EXPECT_EQ(allowed.status, 0);
    EXPECT_EQ(allowed.output, "contents");
}

}  // namespace
}  // namespace vx
