#include "OpeningProgress.h"

#include "TemporaryFolder.h"
#include "Terminal.h"
#include "VolumeOpeningOptions.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace vx {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;
using testing::HasSubstr;
using testing::Not;

constexpr auto kTrying = VolumeOpeningStep::kTryingSecrets;
constexpr auto kSearching = VolumeOpeningStep::kSearching;
constexpr uint64_t kMiB = 1 << 20;

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};
using File = std::unique_ptr<FILE, CloseFile>;

class PlainOpeningProgress : public testing::Test {
protected:
    void Show(VolumeOpeningStep step, uint64_t done, uint64_t total, uint32_t cost,
              milliseconds after)
    {
        _progress.Show(step, done, total, cost, _start + after);
    }
    std::string Shown() { return _folder.ReadFile("out"); }

    TemporaryFolder _folder;
    const OpeningProgress::Clock::time_point _start = OpeningProgress::Clock::now();
    File _stream{fopen(_folder.WriteFile("out", "").c_str(), "w")};
    OpeningProgress _progress{_stream.get()};
};

TEST_F(PlainOpeningProgress, TheCostOfManyKeysIsSaidOnceBeforeTheyAreTried)
{
    for (int tenth = 0; tenth <= 250; ++tenth)
        Show(kTrying, static_cast<uint64_t>(tenth) * 40 / 250, 40, 25, milliseconds(100 * tenth));
    EXPECT_EQ(Shown(), "Trying 40 keys, about 25 s; Ctrl-C stops\n");
}

TEST_F(PlainOpeningProgress, ARingOfMoreThanIsReadIsNamedBeforeTheCost)
{
    Show(VolumeOpeningStep::kKeysLeftOut, 0, 65536, 0, milliseconds(0));
    Show(kTrying, 0, 65536, 0, milliseconds(1));
    Show(kTrying, 8, 65536, 9000, milliseconds(500));
    EXPECT_THAT(Shown(), testing::StartsWith("The key ring has more files or keys than are read; "
                                             "65,536 keys are left"));
    EXPECT_THAT(Shown(), HasSubstr("\nTrying 65,536 keys, about "));
}

TEST_F(PlainOpeningProgress, WhatIsQuickIsNotMentioned)
{
    for (int tenth = 0; tenth < 50; ++tenth)
        Show(kTrying, 1, 40, 4, milliseconds(100 * tenth));
    EXPECT_EQ(Shown(), "");
}

TEST_F(PlainOpeningProgress, WhatTurnsOutToTakeLongIsMentionedThen)
{
    Show(kTrying, 0, 2000, 0, milliseconds(0));
    EXPECT_EQ(Shown(), "");
    Show(kTrying, 1, 2000, 1200, milliseconds(600));
    EXPECT_EQ(Shown(), "Trying 2,000 keys, about 20 min; Ctrl-C stops\n");
}

TEST_F(PlainOpeningProgress, ASearchAddsALineEveryFiveSeconds)
{
    for (int tenth = 0; tenth <= 120; ++tenth)
        Show(kSearching, kMiB * static_cast<uint64_t>(tenth) / 10, 20 * kMiB, 0,
             milliseconds(100 * tenth));
    EXPECT_EQ(Shown(), "Searching 20.0 MiB for encrypted volumes; Ctrl-C stops\n"
                       "Searching  25 %  5.0 of 20.0 MiB  1.0 MiB/s  0:15 left  \n"
                       "Searching  50 %  10.0 of 20.0 MiB  1.0 MiB/s  0:10 left  \n");
}

TEST_F(PlainOpeningProgress, ALibraryReportsToItThroughTheOptions)
{
    VolumeOpeningOptions options;
    _progress.AddTo(&options);
    options.progress(options.progressContext, kTrying, 0, 7200, 7200);
    EXPECT_EQ(Shown(), "Trying 7,200 keys, about 2 h; Ctrl-C stops\n");
}

TEST(LiveOpeningProgress, OneLineIsRedrawnAndClearedInTheEnd)
{
    Terminal terminal;
    const File stream(fopen(terminal.SlavePath().c_str(), "w"));
    const auto start = OpeningProgress::Clock::now();
    auto progress = std::make_unique<OpeningProgress>(stream.get());
    progress->Show(kTrying, 0, 40, 25, start);
    progress->Show(kTrying, 1, 40, 25, start + milliseconds(50));
    progress->Show(kTrying, 2, 40, 25, start + milliseconds(150));
    std::string shown = terminal.AwaitShown("2 of 40, about 25 s in all; Ctrl-C stops");
    EXPECT_THAT(shown, HasSubstr("Trying keys: 0 of 40"));
    EXPECT_THAT(shown, Not(HasSubstr("1 of 40")));
    EXPECT_THAT(shown, Not(HasSubstr("\n")));
    progress->Show(kSearching, 5 * kMiB, 20 * kMiB, 0, start + seconds(1));
    terminal.AwaitShown("Searching  25 %");
    progress.reset();
    shown = terminal.AwaitShown("Searching  25 %  5.0 of 20.0 MiB  \r\x1b[K");
    EXPECT_EQ(shown.substr(shown.size() - 4), "\r\x1b[K");
}

}  // namespace
}  // namespace vx
