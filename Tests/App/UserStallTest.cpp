// What a user does while the volume is slow.
#include "Eventually.h"
#include "UserFixture.h"

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace {

namespace fs = std::filesystem;

constexpr uintmax_t kMiB = 1 << 20;

// The stand-in library stalls on two FIFOs: opening one says that it has come there, opening the
// other lets it go on. Both are opened without waiting, so that a deadline holds.
class UserStallTest : public UserTest {
protected:
    void SetUp() override
    {
        UserTest::SetUp();
        mkfifo((_stall + "/stalled").c_str(), 0600);
        mkfifo((_stall + "/release").c_str(), 0600);
        _stalled = open((_stall + "/stalled").c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    }
    ~UserStallTest() override { close(_stalled); }

    // The library opens its end of "release" only once it has stalled.
    bool release()
    {
        int end = -1;
        const bool stalled = Eventually([&] {
            end = open((_stall + "/release").c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
            return end >= 0;
        });
        close(end);
        return stalled;
    }

    const std::string _stall = _volume.MakeFolder("stall");
    int _stalled = -1;
};

TEST_F(UserStallTest, CancelDuringASlowFileClosesTheWindowAtOnceAndALaterExportWorks)
{
    ChildProcess host(install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = window("File Explorer");
    awaitDrawn(main);
    // The second file stalls in its second chunk of 4 MiB; the third is quick.
    click(main, 100, 78);
    focus(main);
    key("ctrl+e");
    chooseFolder(destination);
    const std::string partial = destination + "/two.bin";
    ASSERT_TRUE(Eventually([&] { return fs::exists(partial) && fs::file_size(partial) > 0; }));
    clickAbove(window("Export"), 420, 32);
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    EXPECT_FALSE(host.HasEnded());
    EXPECT_LT(fs::file_size(partial), 8 * kMiB) << "the worker still reads";
    EXPECT_TRUE(release());
    EXPECT_TRUE(Eventually([&] { return fs::file_size(partial) == 8 * kMiB; }));

    vx::TemporaryFolder second;
    const std::string later = second.MakeFolder("only/out");
    click(main, 100, 98);
    focus(main);
    key("ctrl+e");
    chooseFolder(later);
    EXPECT_TRUE(Eventually([&] {
        return fs::exists(later + "/three.bin") && fs::file_size(later + "/three.bin") == 10;
    }));
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    EXPECT_EQ(fs::file_size(partial), 8 * kMiB) << "the cancelled worker has stopped";
    focus(main);
    key("ctrl+w");
    EXPECT_EQ(host.AwaitEnd(), 0);
    EXPECT_TRUE(noticeArrived(host)) << host.Output();
}

TEST_F(UserStallTest, ClosingTheMainWindowDuringAListingEndsTheProgramWithTheNotice)
{
    ChildProcess host(install(STAND_IN), {"stalling-listing", "none", _stall});
    const std::string main = window("File Explorer");
    awaitDrawn(main);
    click(main, 9, 60);
    focus(main);
    // The keys wait in the program's queue until the listing is over.
    key("ctrl+w");
    EXPECT_FALSE(host.HasEnded());
    EXPECT_TRUE(release());
    EXPECT_EQ(host.AwaitEnd(), 0);
    EXPECT_TRUE(noticeArrived(host)) << host.Output();
}

}  // namespace
