// The explorer's end of the link.
#include "CPipeClientFileExplorerEvent.h"
#include "CPipeFileExplorerClientWrapper.h"

#include "Eventually.h"
#include "LinkFixture.h"
#include "PipeFolder.h"
#include "RawPeer.h"

#include <gtest/gtest.h>

#include <future>
#include <set>

namespace {

// The explorer's sink, with a count of the messages that it has dealt with.
class CountingSink : public CPipeClientFileExplorerEvent {
public:
    void OnCommand_Reply(IIPCConnector *from, const char *msg, int bodyLen) override
    {
        CPipeClientFileExplorerEvent::OnCommand_Reply(from, msg, bodyLen);
        ++_count;
    }
    bool AwaitCount(int count) const
    {
        return Eventually([&] { return _count >= count; });
    }

private:
    std::atomic<int> _count{0};
};

class LinkClientTest : public testing::Test {
protected:
    bool Connect()
    {
        return _link.initClient(_name.c_str(), _folder.ToClient().c_str(), kReadFlags,
                                _folder.ToServer().c_str(), kWriteFlags);
    }

    PipeFolder _folder;
    const std::string _name = UniqueName();
    CountingSink _sink;
    CPipeFileExplorerClientWrapper _link{&_sink, kFast};
    std::string _reply = std::string(kPipeMessageSize, 'x');
};

TEST_F(LinkClientTest, GetInstanceGivesTheSameLinkToEveryThread)
{
    std::vector<std::future<CPipeFileExplorerClientWrapper *>> links;
    for (int i = 0; i < 4; ++i)
        links.push_back(
            std::async(std::launch::async, CPipeFileExplorerClientWrapper::getInstance));
    std::set<CPipeFileExplorerClientWrapper *> different;
    for (auto &link : links)
        different.insert(link.get());
    EXPECT_EQ(different.size(), 1u);
    EXPECT_EQ(different.count(nullptr), 0u);
}

TEST_F(LinkClientTest, TheLinkIsSetUpWhileTheHostIsNotListening)
{
    EXPECT_TRUE(Connect());
}

TEST_F(LinkClientTest, QuittingWhileTheHostHasNeverOpenedItsEndReturnsFalseWithoutDelay)
{
    CPipeFileExplorerClientWrapper link(&_sink, std::chrono::hours(1));
    ASSERT_TRUE(link.initClient(_name.c_str(), _folder.ToClient().c_str(), kReadFlags,
                                _folder.ToServer().c_str(), kWriteFlags));
    EXPECT_FALSE(link.SendCmd_async(&kExplorerQuitNotice));
}

TEST_F(LinkClientTest, TheQuitNoticeIsId1The13RecordBytesAndZeros)
{
    RawPeer host(_folder);
    ASSERT_TRUE(Connect());
    ASSERT_TRUE(_link.SendCmd_async(&kExplorerQuitNotice));
    const auto message = host.Read();
    ASSERT_TRUE(message);
    EXPECT_EQ(message->msgId, 1);
    const std::string record("\x0c\0\0\0\0\0\0\0\x0d\0\0\0\0", 13);
    EXPECT_EQ(std::string(message->body, kPipeBodySize), record + std::string(495, '\0'));
}

TEST_F(LinkClientTest, ARecordWithAnUnknownCodeGoesOutAsZeros)
{
    RawPeer host(_folder);
    ASSERT_TRUE(Connect());
    const CCommandDataWrapper<char> unknown = {static_cast<COMMAND_TYPE>(13), 0, 13, 'p'};
    ASSERT_TRUE(_link.SendCmd_async(&unknown));
    const auto message = host.Read();
    ASSERT_TRUE(message);
    EXPECT_EQ(message->msgId, 1);
    EXPECT_EQ(std::string(message->body, kPipeBodySize), std::string(kPipeBodySize, '\0'));
}

TEST_F(LinkClientTest, ASynchronousCommandReturnsTheBodyOfItsReply)
{
    RawPeer host(_folder);
    ASSERT_TRUE(Connect());
    auto asked = std::async(std::launch::async, [this] {
        return _link.SendCmd_sync(&kExplorerQuitNotice, _reply.data(), 4000);
    });
    const auto request = host.Read();
    ASSERT_TRUE(request);
    EXPECT_EQ(request->msgId, 16);
    ASSERT_TRUE(host.Write(Message(16, RecordText(3, 12))));
    EXPECT_TRUE(asked.get());
    EXPECT_EQ(_reply, Padded(RecordText(3, 12)));
}

TEST_F(LinkClientTest, ASynchronousCommandWithoutAReplyIsTrueAndAllZero)
{
    RawPeer host(_folder);
    ASSERT_TRUE(Connect());
    EXPECT_TRUE(_link.SendCmd_sync(&kExplorerQuitNotice, _reply.data(), 2));
    EXPECT_EQ(_reply, std::string(kPipeMessageSize, '\0'));
}

TEST_F(LinkClientTest, NullArgumentsAreFalse)
{
    RawPeer host(_folder);
    ASSERT_TRUE(Connect());
    EXPECT_FALSE(_link.SendCmd_async(nullptr));
    EXPECT_FALSE(_link.SendCmd_sync(nullptr, _reply.data(), 0));
    EXPECT_FALSE(_link.SendCmd_sync(&kExplorerQuitNotice, nullptr, 0));
    EXPECT_FALSE(host.HasInput());
}

TEST_F(LinkClientTest, ALinkWithoutASinkHasNoClientAndEveryCallIsFalse)
{
    CPipeFileExplorerClientWrapper link(nullptr);
    EXPECT_FALSE(link.initClient("n", _folder.ToClient().c_str(), kReadFlags,
                                 _folder.ToServer().c_str(), kWriteFlags));
    EXPECT_FALSE(link.SendCmd_async(&kExplorerQuitNotice));
    EXPECT_FALSE(link.SendCmd_sync(&kExplorerQuitNotice, _reply.data(), 0));
}

TEST_F(LinkClientTest, ALinkThatWasNeverConnectedRefusesToSend)
{
    EXPECT_FALSE(_link.SendCmd_async(&kExplorerQuitNotice));
    EXPECT_FALSE(_link.SendCmd_sync(&kExplorerQuitNotice, _reply.data(), 0));
    EXPECT_FALSE(_link.initClient(nullptr, nullptr, 0, nullptr, 0));
}

TEST_F(LinkClientTest, AMessageWithAValidCodeReachesTheSinkIsDecodedAndCausesNoChange)
{
    RawPeer host(_folder);
    ASSERT_TRUE(Connect());
    for (uint32_t code = 1; code <= 12; ++code)
        ASSERT_TRUE(host.Write(Message(1, RecordText(code, 12))));
    ASSERT_TRUE(_sink.AwaitCount(12));
    EXPECT_FALSE(host.HasInput()) << "nothing is answered";
    EXPECT_TRUE(_link.SendCmd_async(&kExplorerQuitNotice));
}

TEST_F(LinkClientTest, AMessageWithAnUnknownCodeIsDecodedToAnEmptyEnvelopeAndDropped)
{
    RawPeer host(_folder);
    ASSERT_TRUE(Connect());
    for (uint32_t code : {0u, 13u, 0xffffffffu})
        ASSERT_TRUE(host.Write(Message(1, RecordText(code, 0xffffffffu))));
    ASSERT_TRUE(_sink.AwaitCount(3));
    EXPECT_FALSE(host.HasInput());
    EXPECT_TRUE(_link.SendCmd_async(&kExplorerQuitNotice));
}

}  // namespace
