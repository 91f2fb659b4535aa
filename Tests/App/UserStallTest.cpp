// What a user does while the volume is slow.
#include "Eventually.h"
#include "UserStallFixture.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

constexpr uintmax_t kMiB = 1 << 20;

TEST_F(UserStallTest, CancelDuringASlowFileClosesTheWindowAtOnceAndALaterExportWorks)
{
    ChildProcess host(install(STAND_IN), {"stalling", "none", _stall});
    // The second file stalls in its second chunk of 4 MiB; the third is quick.
    const std::string main = startStallingExport();
    clickAbove(window("Export"), 420, 32);
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    EXPECT_FALSE(host.HasEnded());
    EXPECT_LT(fs::file_size(_partial), 8 * kMiB) << "the worker still reads";
    EXPECT_TRUE(release());
    EXPECT_TRUE(Eventually([&] { return fs::file_size(_partial) == 8 * kMiB; }));

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
    EXPECT_EQ(fs::file_size(_partial), 8 * kMiB) << "the cancelled worker has stopped";
    closeAndExpectNotice(main, host);
}

TEST_F(UserStallTest, TheKeyOfTheExportCommandDoesNotStartASecondExportDuringTheFirst)
{
    ChildProcess host(install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = startStallingExport();
    const std::string progress = window("Export");
    focus(progress);
    key("ctrl+e");
    key("Return");
    EXPECT_TRUE(isGone(kPanel));
    EXPECT_TRUE(release());
    EXPECT_TRUE(Eventually([&] { return isGone("Export"); }));
    EXPECT_TRUE(isGone(kPanel)) << "nor after it";
    EXPECT_EQ(fs::file_size(_partial), 12 * kMiB);
    // It is there again afterwards.
    focus(main);
    key("ctrl+e");
    const std::string panel = window(kPanel);
    awaitDrawn(panel);
    focus(panel);
    key("ctrl+q");
    expectNotice(host);
}

TEST_F(UserStallTest, ClosingTheMainWindowDuringAListingEndsTheProgramWithTheNotice)
{
    ChildProcess host(install(STAND_IN), {"stalling-listing", "none", _stall});
    const std::string main = drawnWindow();
    click(main, 9, 60);
    focus(main);
    // The keys wait in the program's queue until the listing is over.
    key("ctrl+w");
    EXPECT_FALSE(host.HasEnded());
    EXPECT_TRUE(release());
    expectNotice(host);
}

}  // namespace
