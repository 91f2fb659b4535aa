// The explorer's process entry, on the two paths that it always uses.
#include "ChildProcess.h"
#include "Eventually.h"
#include "FewDescriptors.h"
#include "LinkFixture.h"
#include "RawPeer.h"

#include <gtest/gtest.h>

#include <fstream>
#include <signal.h>
#include <unistd.h>

namespace {

constexpr char kToExplorer[] = "/tmp/z5_btl_3";
constexpr char kToHost[] = "/tmp/z5_btl_4";
constexpr char kFirstSemaphore[] = "z5_sem_FileExplorerClient_16_";

bool AnythingIsThere()
{
    return PipeFolder::Exists(kToExplorer) || PipeFolder::Exists(kToHost) ||
           SemaphoreExists(kFirstSemaphore);
}

class EntryTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_FALSE(AnythingIsThere()) << "an explorer is running, or one left its FIFOs behind";
    }
    ~EntryTest() override
    {
        unlink(kToExplorer);
        unlink(kToHost);
    }

    bool ReaderIsThere()
    {
        if (_writer == -1)
            _writer = open(kToExplorer, O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        return _writer != -1;
    }

    void StopWriting()
    {
        if (_writer != -1)
            close(_writer);
        _writer = -1;
    }

    int _writer = -1;
};

class EntryArgumentTest : public EntryTest, public testing::WithParamInterface<int> {};

TEST_P(EntryArgumentTest, AnotherNumberOfArgumentsThanFourEndsWith0AndCreatesNothing)
{
    ChildProcess explorer(EXPLORER,
                          std::vector<std::string>(static_cast<size_t>(GetParam()), "argument"));
    EXPECT_EQ(explorer.AwaitEnd(), 0);
    EXPECT_EQ(explorer.Output(), "");
    EXPECT_FALSE(AnythingIsThere());
}

INSTANTIATE_TEST_SUITE_P(Count, EntryArgumentTest, testing::Values(0, 3, 5, 6));

TEST_F(EntryTest, WithFourArgumentsAndNoHostTheExplorerRunsAndLeavesTheFifosForTheHost)
{
    ChildProcess explorer(EXPLORER, {"volume", "none", "", "unused"});
    ASSERT_TRUE(Eventually([this] { return ReaderIsThere(); }));
    EXPECT_TRUE(Eventually([] { return PipeFolder::Exists(kToHost); }));
    EXPECT_FALSE(explorer.HasEnded());
    explorer.CloseInput();
    EXPECT_EQ(explorer.AwaitEnd(), 0);
    EXPECT_TRUE(PipeFolder::Exists(kToExplorer));
    EXPECT_TRUE(PipeFolder::Exists(kToHost));
    EXPECT_FALSE(SemaphoreExists(kFirstSemaphore));
    StopWriting();
}

TEST_F(EntryTest, WithTooFewDescriptorsForAWindowTheExplorerSaysSoAndEnds)
{
    ChildProcess explorer(
        "/bin/sh", {"-c", vx::RunWithDescriptors(12), EXPLORER, "volume", "none", "", "unused"});
    EXPECT_EQ(explorer.AwaitEnd(), 1);
    EXPECT_EQ(explorer.Output(),
              "FileExplorer: too few files can be open at a time; raise the limit (ulimit -n)\n");
    EXPECT_FALSE(AnythingIsThere());
}

TEST_F(EntryTest, AFileInTheFifosPlaceKeepsTheExplorerRunningAndIsNotWrittenTo)
{
    std::ofstream(kToHost) << "somebody's file";
    ChildProcess explorer(EXPLORER, {"volume", "none", "", "unused"});
    ASSERT_TRUE(Eventually([this] { return ReaderIsThere(); }));
    explorer.CloseInput();
    EXPECT_EQ(explorer.AwaitEnd(), 0);
    std::string content;
    std::getline(std::ifstream(kToHost), content, '\0');
    EXPECT_EQ(content, "somebody's file");
    StopWriting();
}

TEST_F(EntryTest, HostileBlocksLeaveTheExplorerRunning)
{
    ASSERT_EQ(mkfifo(kToHost, 0600), 0);
    FifoReader host(kToHost);
    ChildProcess explorer(EXPLORER, {"volume", "none", "", "unused"});
    ASSERT_TRUE(Eventually([this] { return ReaderIsThere(); }));
    const _MSG_DATA_PACKAGE hostile = Message(-1, RecordText(0xffffffffu, 0xffffffffu));
    while (write(_writer, &hostile, sizeof(hostile)) > 0) {
    }
    StopWriting();
    explorer.CloseInput();
    const auto notice = host.Read();
    ASSERT_TRUE(notice);
    EXPECT_EQ(notice->msgId, 1);
    EXPECT_EQ(std::string(notice->body, 13), RecordText(12, 13));
    EXPECT_EQ(explorer.AwaitEnd(), 0);
}

}  // namespace
