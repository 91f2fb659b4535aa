// The semaphores that this process holds, as only this system shows them.
#include "ConnectorFixture.h"

#include <gtest/gtest.h>

#include <fstream>
#include <future>

namespace {

class SemaphoreTest : public ConnectorTest {
protected:
    // One whose name is gone is held until it is closed.
    static int Held()
    {
        int held = 0;
        std::ifstream maps("/proc/self/maps");
        for (std::string line; std::getline(maps, line);)
            held += line.find("/dev/shm/sem.") != std::string::npos ? 1 : 0;
        return held;
    }

    const int _before = Held();
};

TEST_F(SemaphoreTest, IsClosedWhenItsRequestIsOver)
{
    const RawPeer peer(_folder);
    Connect();
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Request("nobody answers", 0), _noReply);
    EXPECT_EQ(Held(), _before);
}

TEST_F(SemaphoreTest, IsHeldWhileItsRequestWaits)
{
    RawPeer peer(_folder);
    Connect();
    auto asked = std::async(std::launch::async, [this] { return Request("question", kLong); });
    const auto question = peer.Read();
    ASSERT_TRUE(question);
    EXPECT_EQ(Held(), _before + 1);
    EXPECT_TRUE(peer.Write(Message(question->msgId, "answer")));
    asked.wait();
    EXPECT_EQ(Held(), _before);
}

}  // namespace
