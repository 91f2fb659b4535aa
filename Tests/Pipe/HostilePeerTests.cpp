// The FIFO paths are public: any local process can write to them.
#include "ConnectorFixture.h"

#include "DecodingSink.h"

#include <fstream>
#include <future>
#include <unistd.h>

namespace {

using HostilePeerTest = ConnectorTest;

TEST_F(HostilePeerTest, AShortBlockIsTakenAsOneWhoseMissingBytesAreZero)
{
    Connect();
    RawPeer peer(_folder);
    const int32_t id = 5;
    ASSERT_TRUE(peer.Write(&id, sizeof(id)));
    ASSERT_TRUE(_sink.AwaitCount(1));
    EXPECT_EQ(_sink.At(0).id, id);
    EXPECT_EQ(_sink.At(0).body, std::string(kPipeBodySize, '\0'));
}

TEST_F(HostilePeerTest, AfterAShortBlockTheNextMessageIsReadWhole)
{
    Connect();
    RawPeer peer(_folder);
    ASSERT_TRUE(peer.Write("\x05", 1));
    ASSERT_TRUE(_sink.AwaitCount(1));
    ASSERT_TRUE(peer.Write(Message(6, "whole")));
    ASSERT_TRUE(_sink.AwaitCount(2));
    EXPECT_EQ(_sink.At(1).id, 6);
    EXPECT_STREQ(_sink.At(1).body.c_str(), "whole");
}

TEST_F(HostilePeerTest, UnknownCodesAndLengthsThatLieAreDecodedToWhatTheTableSays)
{
    DecodingSink sink;
    ASSERT_TRUE(Init(*_connector));
    _connector->SetMsgHander(&sink);
    RawPeer peer(_folder);
    for (uint32_t code : {0u, 12u, 13u, 0x80000000u, 0xffffffffu})
        for (uint32_t length : {0u, 509u, 0xffffffffu})
            ASSERT_TRUE(peer.Write(Message(1, RecordText(code, length))));
    EXPECT_TRUE(sink.AwaitCount(15));
    _connector.reset();
}

TEST_F(HostilePeerTest, IdsThatNobodyAskedForReachTheSinkAndNoRequest)
{
    RawPeer peer(_folder);
    Connect();
    auto asked = std::async(std::launch::async, [this] { return Request("question", kLong); });
    ASSERT_TRUE(peer.Read());
    for (int32_t id : {-1, INT32_MIN, INT32_MAX, 15, 17})
        ASSERT_TRUE(peer.Write(Message(id, "stray")));
    ASSERT_TRUE(_sink.AwaitCount(5));
    ASSERT_TRUE(peer.Write(Message(16, "reply")));
    EXPECT_EQ(asked.get(), Padded("reply"));
}

TEST_F(HostilePeerTest, ASecondReplyToOneRequestIsNotTheNextOnes)
{
    RawPeer peer(_folder);
    Connect();
    for (int id = 16; id < 26; ++id) {
        auto asked = std::async(std::launch::async, [this] { return Request("q", kLong); });
        ASSERT_TRUE(peer.Read());
        const std::string reply = "reply " + std::to_string(id);
        ASSERT_TRUE(peer.Write(Message(id, reply)));
        ASSERT_TRUE(peer.Write(Message(id, reply)));
        EXPECT_EQ(asked.get(), Padded(reply));
    }
}

TEST_F(HostilePeerTest, APeerMayOpenAndCloseAThousandTimes)
{
    _connector = std::make_unique<CPipeConnector>(_name, std::chrono::milliseconds(1));
    Connect();
    for (int i = 0; i < 1000; ++i) {
        RawPeer peer(_folder);
        if (i % 100 == 0)
            ASSERT_TRUE(peer.Write(Message(1, "still here")));
        SendAsync(Padded("are you?"));
    }
    EXPECT_TRUE(_sink.AwaitCount(10));
    RawPeer peer(_folder);
    ASSERT_TRUE(SendAsync(Padded("last")));
    EXPECT_TRUE(peer.Read());
}

TEST_F(HostilePeerTest, APeerThatGoesAwayInTheMiddleOfARequestLeavesAnAllZeroReply)
{
    auto peer = std::make_unique<RawPeer>(_folder);
    Connect();
    auto asked = std::async(std::launch::async, [this] { return Request("question", 50); });
    ASSERT_TRUE(peer->Read());
    ASSERT_TRUE(peer->Write("\x10\0\0", 3));  // the beginning of a reply is a reply cut short
    peer.reset();
    EXPECT_EQ(asked.get(), _noReply);
    EXPECT_FALSE(SemaphoreExists(SemaphoreName(_name, 16)));
    RawPeer next(_folder);
    ASSERT_TRUE(SendAsync(Padded("to the next peer")));
    EXPECT_TRUE(next.Read());
}

TEST_F(HostilePeerTest, NothingIsWrittenIntoAFileThatStandsInTheFifosPlace)
{
    std::ofstream(_folder.ToServer()) << "somebody's file";
    Connect();
    EXPECT_FALSE(SendAsync(Padded("notice")));
    EXPECT_EQ(Request("question", 2), std::nullopt);
    std::string content;
    std::getline(std::ifstream(_folder.ToServer()), content, '\0');
    EXPECT_EQ(content, "somebody's file");
}

TEST_F(HostilePeerTest, NothingIsReadFromAFileThatStandsInTheFifosPlace)
{
    const _MSG_DATA_PACKAGE message = Message(1, "planted");
    std::ofstream(_folder.ToClient(), std::ios::binary)
        .write(reinterpret_cast<const char *>(&message), sizeof(message));
    Connect();
    ASSERT_EQ(unlink(_folder.ToClient().c_str()), 0);
    RawPeer peer(_folder);
    ASSERT_TRUE(peer.Write(Message(1, "genuine")));
    ASSERT_TRUE(_sink.AwaitCount(1));
    EXPECT_STREQ(_sink.At(0).body.c_str(), "genuine");
}

}  // namespace
