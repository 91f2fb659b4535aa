// SendMsg_async and SendMsg_sync.
#include "ConnectorFixture.h"

#include <future>
#include <set>

namespace {

using SendAsyncTest = ConnectorTest;
using SendSyncTest = ConnectorTest;

TEST_F(SendAsyncTest, AMessageIsItsIdAndTheFirst508BytesOfTheData)
{
    RawPeer peer(_folder);
    Connect();
    std::string data(kPipeMessageSize, '\0');
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i * 3 + 1);
    ASSERT_TRUE(SendAsync(data, 0x01020304));
    const auto message = peer.Read();
    ASSERT_TRUE(message);
    EXPECT_EQ(message->msgId, 0x01020304);
    EXPECT_EQ(std::string(message->body, kPipeBodySize), data.substr(0, kPipeBodySize));
    EXPECT_FALSE(peer.HasInput());
}

TEST_F(SendAsyncTest, AShorterLengthWritesThatManyBytesOfTheBlock)
{
    RawPeer peer(_folder);
    Connect();
    ASSERT_TRUE(SendAsync("abcdefgh", 1));  // 8 bytes: the id and four of the data
    ASSERT_TRUE(SendAsync(std::string(kPipeMessageSize - 8, 'z'), 1));
    const auto block = peer.Read();
    ASSERT_TRUE(block);
    EXPECT_EQ(std::string(block->body, 4), "abcd");
    EXPECT_EQ(std::string(block->body + 8, 3), "zzz");
}

TEST_F(SendAsyncTest, ALengthAbove512OrBelow0IsRefusedAndNothingIsSent)
{
    RawPeer peer(_folder);
    Connect();
    EXPECT_FALSE(SendAsync(std::string(kPipeMessageSize + 1, 'a')));
    EXPECT_FALSE(_connector->SendMsg_async("a", -1, 1));
    EXPECT_FALSE(peer.HasInput());
}

TEST_F(SendAsyncTest, NullDataIsRefused)
{
    RawPeer peer(_folder);
    Connect();
    EXPECT_FALSE(_connector->SendMsg_async(nullptr, kWholeMessage, 1));
}

TEST_F(SendAsyncTest, AConnectorThatIsNotSetUpRefuses)
{
    EXPECT_FALSE(SendAsync(Padded("a")));
}

TEST_F(SendAsyncTest, WithoutAReaderItReturnsFalseAndTheNextSendTriesAgain)
{
    Connect();
    EXPECT_FALSE(SendAsync(Padded("lost")));
    RawPeer peer(_folder);
    EXPECT_TRUE(SendAsync(Padded("found")));
    const auto message = peer.Read();
    ASSERT_TRUE(message);
    EXPECT_STREQ(message->body, "found");
}

TEST_F(SendAsyncTest, AWriteThatFailsIsNotNoticed)
{
    RawPeer peer(_folder);
    Connect();
    ASSERT_TRUE(_connector->initSendMsg());
    peer.CloseReadEnd();
    EXPECT_TRUE(SendAsync(Padded("to nobody")));
}

TEST_F(SendAsyncTest, AFullPipeNeitherBlocksNorFails)
{
    RawPeer peer(_folder);
    Connect();
    for (int i = 0; i < 5000; ++i)
        ASSERT_TRUE(SendAsync(Padded("more than a pipe holds")));
}

TEST_F(SendAsyncTest, MessagesOfManyThreadsNeverMix)
{
    RawPeer peer(_folder);
    Connect();
    constexpr int kThreads = 4, kEach = 25;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back([this, t] {
            for (int i = 0; i < kEach; ++i)
                SendAsync(std::string(kPipeMessageSize, static_cast<char>('a' + t)), t + 1);
        });
    for (std::thread &thread : threads)
        thread.join();
    for (int i = 0; i < kThreads * kEach; ++i) {
        const auto message = peer.Read();
        ASSERT_TRUE(message);
        const char letter = static_cast<char>('a' + message->msgId - 1);
        EXPECT_EQ(std::string(message->body, kPipeBodySize), std::string(kPipeBodySize, letter));
    }
}

TEST_F(SendSyncTest, ARequestIs512BytesWithTheNextIdAndTheReplyIsIts508BodyBytesThenZeros)
{
    RawPeer peer(_folder);
    Connect();
    auto asked = std::async(std::launch::async, [this] { return Request("question", kLong); });
    const auto request = peer.Read();
    ASSERT_TRUE(request);
    EXPECT_EQ(request->msgId, kFirstRequestId);
    EXPECT_EQ(std::string(request->body, kPipeBodySize),
              Padded("question").substr(0, kPipeBodySize));
    ASSERT_TRUE(peer.Write(Message(kFirstRequestId, std::string(kPipeBodySize, 'r'))));
    EXPECT_EQ(asked.get(), std::string(kPipeBodySize, 'r') + std::string(4, '\0'));
    EXPECT_EQ(_sink.Count(), 0u) << "a reply is not for the sink";
}

TEST_F(SendSyncTest, TwoRequestsFromTwoThreadsGetIds16And17AndEachOnlyItsOwnReply)
{
    RawPeer peer(_folder);
    Connect();
    auto a = std::async(std::launch::async, [this] { return Request("a", kLong); });
    auto b = std::async(std::launch::async, [this] { return Request("b", kLong); });
    const auto first = peer.Read();
    const auto second = peer.Read();
    ASSERT_TRUE(first && second);
    EXPECT_EQ((std::set<int>{first->msgId, second->msgId}), (std::set<int>{16, 17}));
    EXPECT_TRUE(SemaphoreExists(SemaphoreName(_name, 16)));
    EXPECT_TRUE(SemaphoreExists(SemaphoreName(_name, 17)));
    // Answered in the other order.
    ASSERT_TRUE(peer.Write(Message(second->msgId, std::string("reply to ") + second->body)));
    ASSERT_TRUE(peer.Write(Message(first->msgId, std::string("reply to ") + first->body)));
    EXPECT_EQ(a.get(), Padded("reply to a"));
    EXPECT_EQ(b.get(), Padded("reply to b"));
    EXPECT_FALSE(SemaphoreExists(SemaphoreName(_name, 16)));
    EXPECT_FALSE(SemaphoreExists(SemaphoreName(_name, 17)));
}

TEST_F(SendSyncTest, ATimeOutIsTrueWithAnAllZeroReply)
{
    RawPeer peer(_folder);
    Connect();
    EXPECT_EQ(Request("unanswered", 2), _noReply);
    EXPECT_FALSE(SemaphoreExists(SemaphoreName(_name, 16)));
}

TEST_F(SendSyncTest, ATimeOutIsCountedInIntervals)
{
    const std::chrono::milliseconds interval(40);
    _connector = std::make_unique<CPipeConnector>(_name, interval);
    RawPeer peer(_folder);
    Connect();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Request("unanswered", 3), _noReply);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 3 * interval);
}

TEST_F(SendSyncTest, AReplyArrivingAfterItsRequesterTimedOutIsDeliveredToTheSink)
{
    RawPeer peer(_folder);
    Connect();
    EXPECT_EQ(Request("slow", 1), _noReply);
    ASSERT_TRUE(peer.Write(Message(16, "too late")));
    ASSERT_TRUE(_sink.AwaitCount(1));
    EXPECT_EQ(_sink.At(0).id, 16);
    EXPECT_STREQ(_sink.At(0).body.c_str(), "too late");
}

TEST_F(SendSyncTest, TimeOut0ReturnsTrueAtOnceWithAnAllZeroReply)
{
    _connector = std::make_unique<CPipeConnector>(_name, std::chrono::hours(1));
    RawPeer peer(_folder);
    Connect();
    EXPECT_EQ(Request("now or never", 0), _noReply);
    ASSERT_TRUE(peer.Read()) << "the end was open, so the request goes out";
}

TEST_F(SendSyncTest, TimeOut0MakesNoAttemptToOpenTheWriteEnd)
{
    Connect();
    RawPeer peer(_folder);
    EXPECT_EQ(Request("unsent", 0), _noReply);
    EXPECT_FALSE(peer.HasInput());
}

TEST_F(SendSyncTest, WithoutAReaderItReturnsFalseAfterAsManyAttemptsAsTheTimeOutSays)
{
    const std::chrono::milliseconds interval(40);
    _connector = std::make_unique<CPipeConnector>(_name, interval);
    Connect();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(Request("nobody", 3), std::nullopt);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, 2 * interval);
    EXPECT_FALSE(SemaphoreExists(SemaphoreName(_name, 16)));
}

TEST_F(SendSyncTest, AfterTheLastAttemptItDoesNotWait)
{
    _connector = std::make_unique<CPipeConnector>(_name, std::chrono::hours(1));
    Connect();
    EXPECT_EQ(Request("nobody", 1), std::nullopt);
}

TEST_F(SendSyncTest, AReaderThatComesDuringTheAttemptsGetsTheRequest)
{
    Connect();
    auto asked = std::async(std::launch::async, [this] { return Request("patient", kLong); });
    RawPeer peer(_folder);
    const auto request = peer.Read();
    ASSERT_TRUE(request);
    ASSERT_TRUE(peer.Write(Message(request->msgId, "there you are")));
    EXPECT_EQ(asked.get(), Padded("there you are"));
}

TEST_F(SendSyncTest, IdsCountUpwardsAndAreNeverUsedAgain)
{
    RawPeer peer(_folder);
    Connect();
    for (int id = kFirstRequestId; id < kFirstRequestId + 5; ++id) {
        EXPECT_EQ(Request("count", 0), _noReply);
        const auto request = peer.Read();
        ASSERT_TRUE(request);
        EXPECT_EQ(request->msgId, id);
    }
}

TEST_F(SendSyncTest, NullOrOutOfRangeArgumentsAreRefused)
{
    RawPeer peer(_folder);
    Connect();
    const std::string data = Padded("a");
    std::string reply(kPipeMessageSize, 'x');
    EXPECT_FALSE(_connector->SendMsg_sync(nullptr, 512, reply.data(), 512, 0));
    EXPECT_FALSE(_connector->SendMsg_sync(data.data(), 512, nullptr, 512, 0));
    EXPECT_FALSE(_connector->SendMsg_sync(data.data(), 513, reply.data(), 512, 0));
    EXPECT_FALSE(_connector->SendMsg_sync(data.data(), -1, reply.data(), 512, 0));
    EXPECT_FALSE(_connector->SendMsg_sync(data.data(), 512, reply.data(), -1, 0));
    EXPECT_FALSE(_connector->SendMsg_sync(data.data(), 512, reply.data(), 512, -1));
    EXPECT_EQ(reply, std::string(kPipeMessageSize, 'x'));
    EXPECT_FALSE(peer.HasInput());
}

TEST_F(SendSyncTest, AConnectorThatIsNotSetUpRefuses)
{
    EXPECT_EQ(Request("a", 0), std::nullopt);
}

TEST_F(SendSyncTest, OnlyAsManyBytesOfTheReplyAreZeroedAsItsLengthSays)
{
    RawPeer peer(_folder);
    Connect();
    std::string reply(kPipeMessageSize, 'x');
    ASSERT_TRUE(_connector->SendMsg_sync("q", 1, reply.data(), 10, 1));
    EXPECT_EQ(reply, std::string(10, '\0') + std::string(kPipeMessageSize - 10, 'x'));
}

TEST_F(SendSyncTest, AShortRequestIsStill512BytesOnTheWire)
{
    RawPeer peer(_folder);
    Connect();
    std::string reply(kPipeMessageSize, 'x');
    ASSERT_TRUE(_connector->SendMsg_sync("query", 5, reply.data(), kWholeMessage, 0));
    const auto request = peer.Read();
    ASSERT_TRUE(request);
    EXPECT_EQ(std::string(request->body, kPipeBodySize), Padded("query").substr(0, kPipeBodySize));
}

// Not every system takes as many as the connector.
size_t LongestSemaphoreName()
{
    const std::string most = UniqueName().substr(0, 20) + std::string(31, 's');
    sem_t *made = sem_open(most.substr(0, 31).c_str(), O_CREAT, 0700, 0);
    if (made == SEM_FAILED)
        return 30;
    sem_close(made);
    sem_unlink(most.substr(0, 31).c_str());
    return 31;
}

TEST_F(SendSyncTest, ASemaphoreNameThatDoesNotFitIsRefused)
{
    RawPeer peer(_folder);
    const size_t room = LongestSemaphoreName() - std::string("z5_sem__16_").size();
    const std::string longest = (UniqueName() + std::string(room, 'n')).substr(0, room);
    _connector = std::make_unique<CPipeConnector>(longest, kFast);
    Connect();
    EXPECT_EQ(Request("fits", 0), _noReply);
    EXPECT_TRUE(peer.Read());
    _connector = std::make_unique<CPipeConnector>(longest + "n", kFast);
    Connect();
    EXPECT_EQ(Request("does not", 0), std::nullopt);
    EXPECT_FALSE(peer.HasInput());
}

TEST_F(SendSyncTest, ASemaphoreThatAKilledProcessLeftBehindFakesNoReply)
{
    const std::string name = SemaphoreName(_name, 16);
    sem_t *stale = sem_open(name.c_str(), O_CREAT, 0700, 3);
    ASSERT_NE(stale, SEM_FAILED);
    sem_close(stale);
    RawPeer peer(_folder);
    Connect();
    auto asked = std::async(std::launch::async, [this] { return Request("question", kLong); });
    ASSERT_TRUE(peer.Read());
    ASSERT_TRUE(peer.Write(Message(16, "the real reply")));
    EXPECT_EQ(asked.get(), Padded("the real reply"));
    EXPECT_FALSE(SemaphoreExists(name));
}

TEST_F(SendSyncTest, ABlockThatCameBeforeItsRequestIsNotTheReply)
{
    // Nothing tells when the reader, which has the block, has looked for its request; on a busy
    // machine that may be late. There is no sink yet, so it then holds the block while the request
    // is made. A reader that looked again and again would take the block for the reply each time.
    std::optional<std::string> reply;
    for (int pause = 20; pause <= 2000 && reply != _noReply; pause *= 10) {
        _connector = std::make_unique<CPipeConnector>(_name, kFast);
        RawPeer peer(_folder);
        const FifoReader reader(_folder.ToClient());
        ASSERT_TRUE(Init(*_connector));
        ASSERT_TRUE(peer.Write(Message(16, "forged ahead of time")));
        ASSERT_TRUE(Eventually([&] { return !reader.HasInput(); }));
        std::this_thread::sleep_for(pause * kFast);
        reply = Request("question", 20);
    }
    EXPECT_EQ(reply, _noReply);
    _connector->SetMsgHander(&_sink);
    ASSERT_TRUE(_sink.AwaitCount(1));
    EXPECT_STREQ(_sink.At(0).body.c_str(), "forged ahead of time");
}

}  // namespace
