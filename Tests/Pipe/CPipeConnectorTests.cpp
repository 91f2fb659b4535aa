// Set-up, the reader thread and the end of a connector.
#include "ConnectorFixture.h"

#include <signal.h>

#include <future>
#include <unistd.h>

namespace {

using CPipeConnectorTest = ConnectorTest;
using Clock = std::chrono::steady_clock;

TEST_F(CPipeConnectorTest, ConstructionCreatesNoThreadAndOpensNothing)
{
    EXPECT_FALSE(_connector->initReadMsgThread());
    EXPECT_FALSE(_connector->initSendMsg());
    EXPECT_FALSE(PipeFolder::Exists(_folder.ToClient()));
    EXPECT_FALSE(PipeFolder::Exists(_folder.ToServer()));
}

TEST_F(CPipeConnectorTest, TheNameIsKeptAndMayBeEmpty)
{
    EXPECT_EQ(_connector->GetName(), _name);
    EXPECT_EQ(CPipeConnector("").GetName(), "");
}

TEST_F(CPipeConnectorTest, SetUpSucceedsWhileNobodyReadsTheOtherEnd)
{
    EXPECT_TRUE(Init(*_connector));
    EXPECT_TRUE(_connector->initReadMsgThread());
    EXPECT_FALSE(_connector->initSendMsg());
}

TEST_F(CPipeConnectorTest, SetUpOpensTheWriteEndOfAPeerThatReads)
{
    RawPeer peer(_folder);
    ASSERT_TRUE(Init(*_connector));
    EXPECT_TRUE(_connector->initSendMsg());
}

TEST_F(CPipeConnectorTest, InitPipeConnectionCalledTwiceStartsOneReaderAndKeepsTheFirstPaths)
{
    Connect();
    EXPECT_TRUE(_connector->initPipeConnection(_folder.At("a").c_str(), kReadFlags,
                                               _folder.At("b").c_str(), kWriteFlags));
    EXPECT_TRUE(_connector->initReadMsgThread());
    RawPeer peer(_folder);
    for (int i = 0; i < 20; ++i)
        ASSERT_TRUE(peer.Write(Message(1, std::to_string(i))));
    ASSERT_TRUE(_sink.AwaitCount(20));
    // Two readers on one FIFO would take the messages out of turn.
    for (size_t i = 0; i < 20; ++i)
        EXPECT_STREQ(_sink.At(i).body.c_str(), std::to_string(i).c_str());
    EXPECT_FALSE(PipeFolder::Exists(_folder.At("a")));
    EXPECT_FALSE(PipeFolder::Exists(_folder.At("b")));
}

TEST_F(CPipeConnectorTest, APathTooLongIsRefusedAndNothingIsSetUp)
{
    const std::string overlong(CPipeWrapper::kPathSize, 'p');
    EXPECT_FALSE(_connector->initPipeConnection(overlong.c_str(), kReadFlags,
                                                _folder.ToServer().c_str(), kWriteFlags));
    EXPECT_FALSE(_connector->initPipeConnection(_folder.ToClient().c_str(), kReadFlags,
                                                overlong.c_str(), kWriteFlags));
    EXPECT_FALSE(_connector->initReadMsgThread());
    EXPECT_TRUE(Init(*_connector)) << "a refused set-up can be made good";
}

TEST_F(CPipeConnectorTest, AnEndWithoutAPathNeverOpensAndDoesNoHarm)
{
    ASSERT_TRUE(_connector->initPipeConnection(nullptr, kReadFlags, nullptr, kWriteFlags));
    EXPECT_FALSE(_connector->initSendMsg());
    EXPECT_FALSE(SendAsync(Padded("to nobody")));
}

TEST_F(CPipeConnectorTest, AMessageReachesTheSinkWholeWithABodyLengthOf508)
{
    Connect();
    RawPeer peer(_folder);
    std::string body(kPipeBodySize, '\0');
    for (size_t i = 0; i < body.size(); ++i)
        body[i] = static_cast<char>(i * 7);
    ASSERT_TRUE(peer.Write(Message(1, body)));
    ASSERT_TRUE(_sink.AwaitCount(1));
    EXPECT_EQ(_sink.At(0).from, _connector.get());
    EXPECT_EQ(_sink.At(0).id, 1);
    EXPECT_EQ(_sink.At(0).body, body);
    EXPECT_EQ(_sink.At(0).following, '\0');
}

TEST_F(CPipeConnectorTest, ABlockWhoseFirstFourBytesAre0NeverReachesTheSink)
{
    Connect();
    RawPeer peer(_folder);
    ASSERT_TRUE(peer.Write(Message(0, "no message")));
    ASSERT_TRUE(peer.Write(Message(1, "a message")));
    ASSERT_TRUE(_sink.AwaitCount(1));
    EXPECT_STREQ(_sink.At(0).body.c_str(), "a message");
    EXPECT_EQ(_sink.Count(), 1u);
}

TEST_F(CPipeConnectorTest, OneMessageIsTakenInEachInterval)
{
    const std::chrono::milliseconds interval(60);
    _connector = std::make_unique<CPipeConnector>(_name, interval);
    Connect();
    RawPeer peer(_folder);
    for (int i = 0; i < 4; ++i)
        ASSERT_TRUE(peer.Write(Message(1, "m")));
    ASSERT_TRUE(_sink.AwaitCount(4));
    EXPECT_GE(_sink.At(3).when - _sink.At(0).when, 3 * interval);
}

TEST_F(CPipeConnectorTest, TheIntervalIsOneSecondUnlessSaidOtherwise)
{
    _connector = std::make_unique<CPipeConnector>(_name);
    Connect();
    RawPeer peer(_folder);
    ASSERT_TRUE(peer.Write(Message(1, "first")));
    ASSERT_TRUE(peer.Write(Message(1, "second")));
    ASSERT_TRUE(_sink.AwaitCount(2));
    EXPECT_GE(_sink.At(1).when - _sink.At(0).when, std::chrono::milliseconds(990));
}

TEST_F(CPipeConnectorTest, AMessageThatComesBeforeThereIsASinkWaitsForIt)
{
    ASSERT_TRUE(Init(*_connector));
    RawPeer peer(_folder);
    ASSERT_TRUE(peer.Write(Message(1, "early")));
    ASSERT_TRUE(peer.Write(Message(1, "later")));
    _connector->SetMsgHander(&_sink);
    ASSERT_TRUE(_sink.AwaitCount(2));
    EXPECT_STREQ(_sink.At(0).body.c_str(), "early");
    EXPECT_STREQ(_sink.At(1).body.c_str(), "later");
}

TEST_F(CPipeConnectorTest, EmptyingTheSinkWaitsForACallUnderWayAndNoneFollows)
{
    Connect();
    std::promise<void> entered, mayLeave;
    std::atomic<bool> left{false};
    auto leave = mayLeave.get_future().share();
    _sink.OnMessage([&](const RecordingSink::Received &) {
        if (_sink.Count() > 1)
            return;
        entered.set_value();
        leave.wait();
        left = true;
    });
    RawPeer peer(_folder);
    ASSERT_TRUE(peer.Write(Message(1, "one")));
    entered.get_future().wait();
    auto emptied = std::async(std::launch::async, [&] {
        _connector->SetMsgHander(nullptr);
        return left.load();
    });
    mayLeave.set_value();
    EXPECT_TRUE(emptied.get()) << "the sink was given up while it was running";
    // A second message is taken once there is a sink again, by that sink.
    ASSERT_TRUE(peer.Write(Message(1, "two")));
    RecordingSink other;
    _connector->SetMsgHander(&other);
    EXPECT_TRUE(other.AwaitCount(1));
    EXPECT_EQ(_sink.Count(), 1u);
    _connector->SetMsgHander(nullptr);
}

TEST_F(CPipeConnectorTest, ASinkMayAnswerOnTheConnectorAndLeaveItFromItsOwnCall)
{
    RawPeer peer(_folder);
    Connect();
    _sink.OnMessage([&](const RecordingSink::Received &received) {
        const std::string answer = Padded("answer");
        received.from->SendMsg_async(answer.data(), kWholeMessage, received.id);
        _connector->SetMsgHander(nullptr);
    });
    ASSERT_TRUE(peer.Write(Message(77, "question")));
    const auto answer = peer.Read();
    ASSERT_TRUE(answer);
    EXPECT_EQ(answer->msgId, 77);
    EXPECT_STREQ(answer->body, "answer");
}

TEST_F(CPipeConnectorTest, TheReaderOpensItsFifoAsSoonAsWhatIsInTheWayIsGone)
{
    ASSERT_EQ(mkdir(_folder.ToClient().c_str(), 0700), 0);
    Connect();
    ASSERT_EQ(rmdir(_folder.ToClient().c_str()), 0);
    RawPeer peer(_folder);
    ASSERT_TRUE(peer.Write(Message(1, "through")));
    EXPECT_TRUE(_sink.AwaitCount(1));
}

TEST_F(CPipeConnectorTest, ClosePipeEndsTheReading)
{
    RawPeer peer(_folder);
    Connect();
    ASSERT_TRUE(peer.Write(Message(1, "one")));
    ASSERT_TRUE(_sink.AwaitCount(1));
    _connector->ClosePipe();
    EXPECT_FALSE(SendAsync(Padded("after"))) << "the path is forgotten";
    // The FIFO has no reader any more.
    EXPECT_EQ(open(_folder.ToClient().c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC), -1);
}

TEST_F(CPipeConnectorTest, TheResultOfDeletePipeIsThatOfTheWriteEndAlone)
{
    RawPeer peer(_folder);
    Connect();
    ASSERT_TRUE(peer.Write(Message(1, "the reader has its end open")));
    ASSERT_TRUE(_sink.AwaitCount(1));
    ASSERT_EQ(unlink(_folder.ToClient().c_str()), 0);
    EXPECT_EQ(_connector->DeletePipe(), 0);
    ASSERT_EQ(mkfifo(_folder.ToClient().c_str(), 0600), 0);
    EXPECT_EQ(_connector->DeletePipe(), -1);
    EXPECT_FALSE(PipeFolder::Exists(_folder.ToClient()));
}

TEST_F(CPipeConnectorTest, DeletePipeUnlinksBothFifosAndReturnsTheSecondResult)
{
    RawPeer peer(_folder);
    Connect();
    // A reader that has yet to open its end would make the FIFO again.
    ASSERT_TRUE(peer.Write(Message(1, "the reader has its end open")));
    ASSERT_TRUE(_sink.AwaitCount(1));
    EXPECT_EQ(_connector->DeletePipe(), 0);
    EXPECT_FALSE(PipeFolder::Exists(_folder.ToClient()));
    EXPECT_FALSE(PipeFolder::Exists(_folder.ToServer()));
    EXPECT_EQ(_connector->DeletePipe(), -1);
}

TEST_F(CPipeConnectorTest, DestructionKeepsTheFifoFilesAndDoesNotWaitForTheInterval)
{
    _connector = std::make_unique<CPipeConnector>(_name, std::chrono::hours(1));
    RawPeer peer(_folder);
    Connect();
    ASSERT_TRUE(peer.Write(Message(1, "the reader has its end open")));
    const auto begin = Clock::now();
    _connector.reset();
    EXPECT_LT(Clock::now() - begin, std::chrono::minutes(1));
    EXPECT_TRUE(PipeFolder::Exists(_folder.ToClient()));
    EXPECT_TRUE(PipeFolder::Exists(_folder.ToServer()));
}

TEST_F(CPipeConnectorTest, DestructionEndsAReaderThatWaitsForASinkOrForItsFifo)
{
    _connector = std::make_unique<CPipeConnector>(_name, std::chrono::hours(1));
    CPipeConnector withoutFifo(UniqueName(), std::chrono::hours(1));
    const std::string missing = _folder.At("no/such/folder");
    ASSERT_TRUE(
        withoutFifo.initPipeConnection(missing.c_str(), kReadFlags, missing.c_str(), kWriteFlags));
    RawPeer peer(_folder);
    const FifoReader reader(_folder.ToClient());
    ASSERT_TRUE(peer.Write(Message(1, "unheard")));
    ASSERT_TRUE(Init(*_connector));
    ASSERT_TRUE(Eventually([&] { return !reader.HasInput(); })) << "the reader holds it";
    const auto begin = Clock::now();
    _connector.reset();
    withoutFifo.StopReader();
    EXPECT_LT(Clock::now() - begin, std::chrono::minutes(1));
}

TEST_F(CPipeConnectorTest, AStoppedConnectorSendsNothing)
{
    RawPeer peer(_folder);
    Connect();
    _connector->StopReader();
    EXPECT_FALSE(SendAsync(Padded("late")));
    EXPECT_EQ(Request("late", 1), std::nullopt);
    EXPECT_FALSE(peer.HasInput());
}

TEST_F(CPipeConnectorTest, FlagsWithoutNonBlockDoNotBlock)
{
    ASSERT_TRUE(_connector->initPipeConnection(_folder.ToClient().c_str(), O_CREAT | O_RDONLY,
                                               _folder.ToServer().c_str(), O_CREAT | O_WRONLY));
    EXPECT_FALSE(SendAsync(Padded("nobody reads")));
    _connector.reset();
}

TEST_F(CPipeConnectorTest, TheReaderThreadTakesNoSignalsOfTheHost)
{
    Connect();
    sigset_t mask = {};
    _sink.OnMessage(
        [&](const RecordingSink::Received &) { pthread_sigmask(SIG_SETMASK, nullptr, &mask); });
    RawPeer peer(_folder);
    ASSERT_TRUE(peer.Write(Message(1, "one")));
    ASSERT_TRUE(_sink.AwaitCount(1));
    _connector.reset();
    for (int signal : {SIGINT, SIGTERM, SIGHUP, SIGCHLD, SIGPIPE, SIGALRM})
        EXPECT_TRUE(sigismember(&mask, signal)) << signal;
    EXPECT_FALSE(sigismember(&mask, SIGSEGV));
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    EXPECT_FALSE(sigismember(&mask, SIGTERM)) << "the mask of the calling thread was changed";
}

}  // namespace
