// What a user does while the volume is slow.
#include "Eventually.h"
#include "UserStallFixture.h"

#include <filesystem>

namespace {

namespace fs = std::filesystem;

constexpr uintmax_t kMiB = 1 << 20;

TEST_F(UserStallTest, CancelDuringASlowFileClosesTheWindowAtOnceAndALaterExportWorks)
{
    ChildProcess host(Install(STAND_IN), {"stalling", "none", _stall});
    // The second file stalls in its second chunk of 4 MiB; the third is quick.
    const std::string main = StartStallingExport();
    ClickAbove(Window("Export"), 420, 32);
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    EXPECT_FALSE(host.HasEnded());
    EXPECT_LT(fs::file_size(_partial), 8 * kMiB) << "the worker still reads";
    EXPECT_TRUE(Release());
    EXPECT_TRUE(Eventually([&] { return fs::file_size(_partial) == 8 * kMiB; }));

    vx::TemporaryFolder second;
    const std::string later = second.MakeFolder("only/out");
    Click(main, 100, 98);
    Focus(main);
    Key("ctrl+e");
    ChooseFolder(later);
    EXPECT_TRUE(Eventually([&] {
        return fs::exists(later + "/three.bin") && fs::file_size(later + "/three.bin") == 10;
    }));
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    EXPECT_EQ(fs::file_size(_partial), 8 * kMiB) << "the cancelled worker has stopped";
    CloseAndExpectNotice(main, host);
}

TEST_F(UserStallTest, TheKeyOfTheExportCommandDoesNotStartASecondExportDuringTheFirst)
{
    ChildProcess host(Install(STAND_IN), {"stalling", "none", _stall});
    const std::string main = StartStallingExport();
    const std::string progress = Window("Export");
    Focus(progress);
    Key("ctrl+e");
    Key("Return");
    EXPECT_TRUE(IsGone(kPanel));
    EXPECT_TRUE(Release());
    EXPECT_TRUE(Eventually([&] { return IsGone("Export"); }));
    EXPECT_TRUE(IsGone(kPanel)) << "nor after it";
    EXPECT_EQ(fs::file_size(_partial), 12 * kMiB);
    // It is there again afterwards.
    Focus(main);
    Key("ctrl+e");
    const std::string panel = Window(kPanel);
    AwaitDrawn(panel);
    Focus(panel);
    Key("ctrl+q");
    ExpectNotice(host);
}

TEST_F(UserStallTest, ClosingTheMainWindowDuringAListingEndsTheProgramWithTheNotice)
{
    ChildProcess host(Install(STAND_IN), {"stalling-listing", "none", _stall});
    const std::string main = DrawnWindow();
    Click(main, 9, 60);
    Focus(main);
    // The keys wait in the program's queue until the listing is over.
    Key("ctrl+w");
    EXPECT_FALSE(host.HasEnded());
    EXPECT_TRUE(Release());
    ExpectNotice(host);
}

}  // namespace
