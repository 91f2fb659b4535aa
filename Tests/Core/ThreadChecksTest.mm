// Methods that are bound to a thread stop a debug build that calls them on another one. In a
// release build the same calls are made and nothing stops.
#import "ExportTest.h"

#include <thread>
#include <utility>

#include "ThreadChecks.h"

namespace {

class ThreadChecks : public ExportTest {
protected:
    ThreadChecks() { testing::FLAGS_gtest_death_test_style = "threadsafe"; }

    static void OnAnotherThread(const std::function<void()> &job)
    {
        std::thread([&] {
            @autoreleasepool {
                job();
            }
        }).join();
    }
};

}  // namespace

TEST_F(ThreadChecks, TheThreadThatRunsMainIsTheMainThread)
{
    bool isMain = true;
    OnAnotherThread([&] { isMain = vx::IsMainThread(); });
    EXPECT_FALSE(isMain);
    EXPECT_TRUE(vx::IsMainThread());
}

TEST_F(ThreadChecks, AFolderIsListedOnTheMainThreadOnly)
{
    Root().Folder(u"a");
    Open();
    Z5FindData *entry = At({"a"});
    EXPECT_DEBUG_DEATH(OnAnotherThread([&] { [explorer findFiles:entry]; }),
                       "findFiles.*IsMainThread");
}

TEST_F(ThreadChecks, AnExportIsPlannedOnTheMainThreadOnly)
{
    Root().File(u"a", 1);
    Open();
    EXPECT_DEBUG_DEATH(OnAnotherThread([&] { [PlanEntries([explorer rootDirectory]) release]; }),
                       "initWithSourceFiles.*IsMainThread");
    engine = nil;
}

TEST_F(ThreadChecks, AnExportIsCopiedOnAWorkerOnly)
{
    Root().File(u"a", 1);
    Plan();
    EXPECT_DEBUG_DEATH([engine copyToInThread:nil], "copyToInThread.*IsMainThread");
}

TEST_F(ThreadChecks, AProgramThatDoesNotBeginThemHasNone)
{
    Root().Folder(u"a");
    Open();
    Z5FindData *entry = At({"a"});
    const std::thread::id thread = std::exchange(vx::mainThread, {});
    OnAnotherThread([&] { [explorer findFiles:entry]; });
    vx::mainThread = thread;
    EXPECT_TRUE(vx::IsMainThread());
}
