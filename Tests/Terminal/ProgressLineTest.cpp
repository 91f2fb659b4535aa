#include "ProgressLine.h"

#include "TemporaryFolder.h"

#include <gtest/gtest.h>
#include <memory>

namespace vx {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};

// A line on something that is no terminal.
class PlainProgressLine : public ::testing::Test {
protected:
    static constexpr int64_t kMiB = 1 << 20;

    TemporaryFolder _folder;
    const ProgressLine::Clock::time_point _start = ProgressLine::Clock::now();
    std::unique_ptr<FILE, CloseFile> _stream{fopen(_folder.WriteFile("out", "").c_str(), "w")};
    ProgressLine _line{"Copying", _stream.get(), 20 * kMiB, _start};
};

TEST_F(PlainProgressLine, TellsPercentSizesSpeedAndTimeLeft)
{
    EXPECT_EQ(_line.Text(5 * kMiB, _start + seconds(2)),
              "Copying  25 %  5.0 of 20.0 MiB  2.5 MiB/s  0:06 left");
}

TEST_F(PlainProgressLine, TellsNoSpeedBeforeThereIsOne)
{
    EXPECT_EQ(_line.Text(kMiB, _start + milliseconds(10)), "Copying   5 %  1.0 of 20.0 MiB");
    EXPECT_EQ(_line.Text(0, _start + seconds(5)), "Copying   0 %  0.0 of 20.0 MiB");
}

TEST_F(PlainProgressLine, NeverPassesTheWhole)
{
    EXPECT_EQ(_line.Text(99 * kMiB, _start), "Copying 100 %  20.0 of 20.0 MiB");
}

TEST_F(PlainProgressLine, NothingAtAllIsDoneAtOnce)
{
    const ProgressLine empty("Copying", _stream.get(), 0, _start);
    EXPECT_EQ(empty.Text(0, _start), "Copying 100 %  0.0 of 0.0 MiB");
}

TEST_F(PlainProgressLine, IsWrittenEveryFiveSecondsAsALineOfItsOwn)
{
    for (int tenth = 0; tenth <= 120; ++tenth)
        _line.Show(kMiB * tenth / 10, "/a/b.txt", _start + milliseconds(100 * tenth));
    EXPECT_EQ(_folder.ReadFile("out"),
              "Copying  25 %  5.0 of 20.0 MiB  1.0 MiB/s  0:15 left  /a/b.txt\n"
              "Copying  50 %  10.0 of 20.0 MiB  1.0 MiB/s  0:10 left  /a/b.txt\n");
}

}  // namespace
}  // namespace vx
