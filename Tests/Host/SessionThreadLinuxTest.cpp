// A session for which the system has no thread.
#include "SessionThread.h"

#include "NoNewThreads.h"
#include "RecordingObserver.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

TEST(SessionWithoutThread, EndsAtOnceAndItsSecretIsGone)
{
    auto request = std::make_unique<vx::HostRequest>();
    const vx::TypedSecret &secret = request->secret;
    ASSERT_TRUE(request->secret.Append('x'));
    std::vector<vx::SessionEnd> ends;
    RecordingObserver observer;
    const NoNewThreads none;
    const vx::SessionThread thread(std::move(request), observer,
                                   [&](const vx::SessionEnd &end) { ends.push_back(end); });
    ASSERT_EQ(ends.size(), 1u);
    EXPECT_EQ(ends[0].kind, vx::SessionEndKind::kNotStarted);
    EXPECT_THAT(ends[0].text, testing::HasSubstr("no thread is left"));
    EXPECT_TRUE(secret.IsEmpty());
}

}  // namespace
