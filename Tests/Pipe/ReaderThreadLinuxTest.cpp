// A connector in a process that gets no thread.
#include "ConnectorFixture.h"
#include "NoNewThreads.h"

#include <gtest/gtest.h>

namespace {

class ReaderThreadTest : public ConnectorTest {};

TEST_F(ReaderThreadTest, AConnectorThatGetsNoThreadStillSends)
{
    const RawPeer peer(_folder);
    {
        const NoNewThreads none;
        Connect();
        EXPECT_FALSE(_connector->initReadMsgThread());
    }
    EXPECT_TRUE(SendAsync(Padded("sent")));
    EXPECT_TRUE(peer.HasInput());
}

TEST_F(ReaderThreadTest, AConnectorThatGotNoThreadGetsOneWhenItIsAskedAgain)
{
    {
        const NoNewThreads none;
        Connect();
    }
    EXPECT_TRUE(_connector->initReadMsgThread());
}

TEST_F(ReaderThreadTest, AConnectorThatNeverGotAThreadGoesQuietly)
{
    const NoNewThreads none;
    Connect();
    _connector.reset();
}

}  // namespace
