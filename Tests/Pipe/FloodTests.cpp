// Built where the sanitizer does not bring an operator new of its own.
#include "AllocationCount.h"
#include "ConnectorFixture.h"
#include "DecodingSink.h"

namespace {

using FloodTest = ConnectorTest;

TEST_F(FloodTest, AFloodOfMessagesDoesNotGrowTheMemory)
{
    _connector = std::make_unique<CPipeConnector>(_name, std::chrono::milliseconds(0));
    DecodingSink sink;
    ASSERT_TRUE(Init(*_connector));
    _connector->SetMsgHander(&sink);
    RawPeer peer(_folder);
    const _MSG_DATA_PACKAGE message = Message(1, RecordText(12, 13));
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(peer.Write(message));
    ASSERT_TRUE(sink.AwaitCount(100));
    _connector->SetMsgHander(&sink);  // waits for the last call to be over
    const long before = AllocationCount();
    for (int i = 0; i < 3000; ++i)
        ASSERT_TRUE(peer.Write(message));
    ASSERT_TRUE(sink.AwaitCount(3100));
    _connector->SetMsgHander(&sink);
    EXPECT_EQ(AllocationCount(), before);
    _connector.reset();
}

}  // namespace
