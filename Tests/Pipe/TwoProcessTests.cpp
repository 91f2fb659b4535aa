// Two processes on real FIFOs; the other one is LinkPeer.cpp.
#include "ConnectorFixture.h"

#include "ChildProcess.h"

#include <future>
#include <unistd.h>

namespace {

class TwoProcessTest : public ConnectorTest {
protected:
    // As a client: the other process reads what this one writes.
    void StartServer(const std::string &mode)
    {
        _peer = std::make_unique<ChildProcess>(
            LINK_PEER, std::vector<std::string>{mode, _folder.ToServer(), _folder.ToClient()});
        Connect();
    }

    // As the client itself, with the bare FIFOs in this process.
    void StartClient(const std::string &mode)
    {
        _peer = std::make_unique<ChildProcess>(
            LINK_PEER, std::vector<std::string>{mode, _folder.ToClient(), _folder.ToServer()});
    }

    // Writes messages until the other process ends; returns its end.
    std::optional<int> FloodUntilItEnds()
    {
        mkfifo(_folder.ToClient().c_str(), 0600);
        const FifoReader keepsThePipeOpen(_folder.ToClient());
        RawPeer flood(_folder);
        const _MSG_DATA_PACKAGE message = Message(1, RecordText(5, 12));
        const int descriptor = open(_folder.ToClient().c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
        Eventually([&] {
            while (write(descriptor, &message, sizeof(message)) > 0) {
            }
            return _peer->HasEnded();
        });
        close(descriptor);
        return _peer->AwaitEnd();
    }

    std::unique_ptr<ChildProcess> _peer;
};

TEST_F(TwoProcessTest, AnAsynchronousMessageArrivesByteForByte)
{
    RawPeer host(_folder);
    StartClient("notice");
    const auto message = host.Read();
    ASSERT_TRUE(message);
    const std::string expected("\x01\0\0\0\x0c\0\0\0\0\0\0\0\x0d\0\0\0\0", 17);
    EXPECT_EQ(std::string(reinterpret_cast<const char *>(&*message), sizeof(*message)),
              expected + std::string(495, '\0'));
    EXPECT_FALSE(host.HasInput());
    EXPECT_EQ(_peer->AwaitEnd(), 0);
}

TEST_F(TwoProcessTest, ASynchronousRequestGetsItsReply)
{
    StartServer("answer");
    EXPECT_EQ(Request("hello", kLong), Padded("reply to 16 hello"));
    EXPECT_EQ(Request("again", kLong), Padded("reply to 17 again"));
    EXPECT_EQ(_sink.Count(), 0u);
}

TEST_F(TwoProcessTest, TwoThreadsAskingAtOnceGetIds16And17AndOnlyTheirOwnReplies)
{
    StartServer("answer-reversed");
    auto a = std::async(std::launch::async, [this] { return Request("a", kLong); });
    auto b = std::async(std::launch::async, [this] { return Request("b", kLong); });
    const std::string first = a.get().value_or("");
    const std::string second = b.get().value_or("");
    const bool aCameFirst = first == Padded("reply to 16 a");
    EXPECT_EQ(first, Padded(aCameFirst ? "reply to 16 a" : "reply to 17 a"));
    EXPECT_EQ(second, Padded(aCameFirst ? "reply to 17 b" : "reply to 16 b"));
}

TEST_F(TwoProcessTest, ALateReplyGoesToTheSink)
{
    StartServer("answer-late");
    EXPECT_EQ(Request("early", 100), _noReply);
    ASSERT_TRUE(SendAsync(Padded("now answer")));
    ASSERT_TRUE(_sink.AwaitCount(1));
    EXPECT_EQ(_sink.At(0).id, 16);
    EXPECT_STREQ(_sink.At(0).body.c_str(), "reply to 16 early");
}

TEST_F(TwoProcessTest, APeerThatDiesInTheMiddleOfARequestLeavesAnAllZeroReplyAndNoSemaphore)
{
    StartServer("die-on-request");
    EXPECT_EQ(Request("fatal", 100), _noReply);
    EXPECT_EQ(_peer->AwaitEnd(), 7);
    EXPECT_FALSE(SemaphoreExists(SemaphoreName(_name, 16)));
    EXPECT_TRUE(SendAsync(Padded("to nobody"))) << "and the signal of a broken pipe did no harm";
}

TEST_F(TwoProcessTest, APeerThatIsKilledAndStartedAgainAnswersAgain)
{
    StartServer("answer");
    EXPECT_EQ(Request("one", kLong), Padded("reply to 16 one"));
    _peer->Signal(SIGKILL);
    ASSERT_EQ(_peer->AwaitEnd(), -SIGKILL);
    StartServer("answer");
    // What is sent before the new peer has its end open is lost with the old one.
    ASSERT_TRUE(Eventually([this] { return Request("two", 100) != _noReply; }));
}

TEST_F(TwoProcessTest, QuittingWithNoHostReturnsFalseAtOnce)
{
    StartClient("notice-to-nobody");
    EXPECT_EQ(_peer->AwaitEnd(), 3);
}

TEST_F(TwoProcessTest, AProcessThatExitsInAFloodOfMessagesCallsNoDestroyedSink)
{
    for (int i = 0; i < 10; ++i) {
        StartClient("end-in-flood");
        ASSERT_EQ(FloodUntilItEnds(), 0) << _peer->Output();
    }
}

TEST_F(TwoProcessTest, AProcessMayExitFromItsSink)
{
    StartClient("end-from-sink");
    EXPECT_EQ(FloodUntilItEnds(), 0) << _peer->Output();
}

TEST_F(TwoProcessTest, TheExplorersOwnLinkEndsCleanlyInAFlood)
{
    StartClient("end-explorers-link");
    EXPECT_EQ(FloodUntilItEnds(), 0) << _peer->Output();
}

}  // namespace
