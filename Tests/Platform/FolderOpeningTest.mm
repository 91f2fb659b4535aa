#include "FolderOpening.h"

#include "Eventually.h"

#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

#import <AppKit/AppKit.h>

namespace {

// A folder with an opener of the test's own, first in the search path: it writes its process number
// and its arguments into a file.
class FolderOpening : public testing::Test {
protected:
    FolderOpening()
    {
        char pattern[] = "/tmp/vx-open-XXXXXX";
        m_folder = mkdtemp(pattern);
        const char *path = getenv("PATH");
        m_oldPath = path == nullptr ? "" : path;
        setenv("PATH", (m_folder + ":" + m_oldPath).c_str(), 1);
        Write("xdg-open", "#!/bin/sh\nprintf '%s\\n' \"$$\" \"$#\" \"$1\" > '" + m_folder +
                              "/part'\nmv '" + m_folder + "/part' '" + m_folder + "/seen'\n");
        chmod((m_folder + "/xdg-open").c_str(), 0755);
    }

    ~FolderOpening() override
    {
        setenv("PATH", m_oldPath.c_str(), 1);
        for (const char *name : {"/xdg-open", "/seen", "/part", "/fifo"})
            unlink((m_folder + name).c_str());
        rmdir((m_folder + "/a 'b' $(c); d").c_str());
        rmdir(m_folder.c_str());
        [m_pool release];
    }

    void Write(const std::string &name, const std::string &text)
    {
        std::ofstream(m_folder + "/" + name) << text;
    }

    bool AwaitSeen()
    {
        return Eventually([&] { return access((m_folder + "/seen").c_str(), F_OK) == 0; });
    }

    // The opener's process number, count of arguments and first argument.
    void ReadSeen(pid_t &process, int &count, std::string &argument)
    {
        std::ifstream seen(m_folder + "/seen");
        seen >> process >> count;
        seen.ignore();
        std::getline(seen, argument);
    }

    std::string m_folder;

private:
    std::string m_oldPath;
    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
};

}  // namespace

TEST_F(FolderOpening, AFolderIsOpenedByTheDesktopsOpener)
{
    vx::installFolderOpening();
    NSString *path = [NSString stringWithUTF8String:m_folder.c_str()];
    NSURL *url = [NSURL fileURLWithPath:path isDirectory:YES];
    EXPECT_TRUE([[NSWorkspace sharedWorkspace] openURL:url]);
    ASSERT_TRUE(AwaitSeen());
    pid_t process = 0;
    int count = 0;
    std::string argument;
    ReadSeen(process, count, argument);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(argument, m_folder);
}

TEST_F(FolderOpening, NoShellLooksAtThePath)
{
    vx::installFolderOpening();
    const std::string folder = m_folder + "/a 'b' $(c); d";
    ASSERT_EQ(mkdir(folder.c_str(), 0755), 0);
    NSURL *url = [NSURL fileURLWithPath:[NSString stringWithUTF8String:folder.c_str()]
                            isDirectory:YES];
    EXPECT_TRUE([[NSWorkspace sharedWorkspace] openURL:url]);
    ASSERT_TRUE(AwaitSeen());
    pid_t process = 0;
    int count = 0;
    std::string argument;
    ReadSeen(process, count, argument);
    EXPECT_EQ(count, 1);
    EXPECT_EQ(argument, folder);
}

TEST_F(FolderOpening, ADesktopWithoutAnOpenerIsToldInSilence)
{
    vx::installFolderOpening();
    setenv("PATH", "/does/not/exist", 1);
    NSString *path = [NSString stringWithUTF8String:m_folder.c_str()];
    testing::internal::CaptureStderr();
    const BOOL opened = [[NSWorkspace sharedWorkspace] openURL:[NSURL fileURLWithPath:path
                                                                          isDirectory:YES]];
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE(opened);
}

TEST_F(FolderOpening, TheOpenerLeavesNoZombie)
{
    ASSERT_TRUE(vx::startDetached("xdg-open", "/"));
    ASSERT_TRUE(AwaitSeen());
    pid_t process = 0;
    int count = 0;
    std::string argument;
    ReadSeen(process, count, argument);
    ASSERT_GT(process, 1);
    // A zombie can still be sent a signal; only a reaped process is gone.
    EXPECT_TRUE(Eventually([&] { return kill(process, 0) != 0 && errno == ESRCH; }));
}

TEST_F(FolderOpening, AnOpenerThatTakesItsTimeIsNotWaitedFor)
{
    // It waits for a writer, which comes only after the start has returned.
    const std::string fifo = m_folder + "/fifo";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    ASSERT_TRUE(vx::startDetached("cat", fifo));
    int end = -1;
    EXPECT_TRUE(Eventually(
        [&] { return (end = open(fifo.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC)) >= 0; }));
    close(end);
}

TEST_F(FolderOpening, AnOpenerThatIsMissingIsReported)
{
    EXPECT_FALSE(vx::startDetached("no-such-opener-anywhere", "/"));
}
