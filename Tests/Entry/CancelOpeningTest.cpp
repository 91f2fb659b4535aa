// Cancelling an opening that derives a key, which takes the longest part of it.
#include "Maker/VolumeMaker.h"
#include "TestVolume.h"

#include "TemporaryFolder.h"
#include "VolumeLibrary.h"
#include "VolumeLibraryStatus.h"

#include <chrono>
#include <csignal>
#include <future>
#include <gtest/gtest.h>
#include <pthread.h>

namespace vx::bitlocker {
namespace {

using Clock = std::chrono::steady_clock;
using maker::ProtectorRecipe;

class CancelOpeningTest : public testing::Test {
protected:
    // A wrong password is stretched for every protector, with the rounds of the format.
    CancelOpeningTest()
    {
        constexpr size_t kProtectors = 8;
        maker::VolumeRecipe recipe;
        recipe.protectors.assign(kProtectors, ProtectorRecipe::Password("another one"));
        recipe.protectors.front() = ProtectorRecipe::Password(kPassword);
        maker::MemorySink sink;
        maker::VolumeMaker(recipe).Make(MemoryByteSource(MakePlainImage(64 * 1024)), sink);
        const std::vector<uint8_t> &image = sink.Bytes();
        path =
            folder.WriteFile("image", {reinterpret_cast<const char *>(image.data()), image.size()});
    }

    VolumeLibraryStatus Open(const char *password) const
    {
        IVolume *volume = nullptr;
        return static_cast<VolumeLibraryStatus>(
            open_bitlocker_device(path.c_str(), "password", password, &volume));
    }

    Clock::duration TimeOfAWholeOpening() const
    {
        const auto begin = Clock::now();
        EXPECT_EQ(Open("wrong"), VolumeLibraryStatus::kWrongSecret);
        return Clock::now() - begin;
    }

    // The plain image has no file system that opens, but its key was found.
    void ExpectTheNextOpeningWorks() const
    {
        EXPECT_EQ(Open(kPassword), VolumeLibraryStatus::kFileSystemDamaged);
    }

    // Lets an opening run for a part of its time, calls cancel and expects it to end soon.
    template <typename Cancel>
    void ExpectEndsSoonAfter(Cancel cancel) const
    {
        const Clock::duration whole = TimeOfAWholeOpening();
        std::promise<pthread_t> started;
        auto status = std::async(std::launch::async, [&] {
            started.set_value(pthread_self());
            return Open("wrong");
        });
        const pthread_t thread = started.get_future().get();
        ASSERT_EQ(status.wait_for(whole / 8), std::future_status::timeout);
        cancel(thread);
        EXPECT_EQ(status.wait_for(whole / 4), std::future_status::ready);
        EXPECT_EQ(status.get(), VolumeLibraryStatus::kCancelled);
    }

    const TemporaryFolder folder;
    std::string path;
};

TEST_F(CancelOpeningTest, AnotherThreadCancelsItWhileItDerivesAKeyAndTheNextOneWorks)
{
    ExpectEndsSoonAfter([](pthread_t) { volume_library_cancel_opening(); });
    ExpectTheNextOpeningWorks();
}

TEST_F(CancelOpeningTest, ASignalHandlerOnItsOwnThreadCancelsIt)
{
    struct sigaction action {};
    struct sigaction before {};
    action.sa_handler = [](int) { volume_library_cancel_opening(); };
    ASSERT_EQ(sigaction(SIGUSR1, &action, &before), 0);
    ExpectEndsSoonAfter([](pthread_t thread) { EXPECT_EQ(pthread_kill(thread, SIGUSR1), 0); });
    sigaction(SIGUSR1, &before, nullptr);
}

TEST_F(CancelOpeningTest, WithoutARunningOpeningItDoesNothing)
{
    volume_library_cancel_opening();
    ExpectTheNextOpeningWorks();
}

}  // namespace
}  // namespace vx::bitlocker
