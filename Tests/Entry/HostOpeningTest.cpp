// The library opens what a host says over its channel.
#include "HostPeer.h"

#include "TemporaryFolder.h"
#include "TestImage.h"
#include "VolumeLibraryStatus.h"
#include "VolumeReader.h"

#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>

namespace vx {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto kMalformed = static_cast<int32_t>(VolumeLibraryStatus::kSecretMalformed);

int32_t OpenNumber(const std::string &number)
{
    char something = 0;
    IVolume *volume = reinterpret_cast<IVolume *>(&something);
    const int32_t status = open_bitlocker_device("v", kChannelUnlockKind, number.c_str(), &volume);
    EXPECT_EQ(volume, nullptr);
    return status;
}

void TakeDigits(void *context, const uint8_t *key, uint64_t length)
{
    const ChannelMasterKey report{ProtectedBytes(key, length)};
    *static_cast<std::string *>(context) = report.Digits().Text();
}

TEST(HostOpening, OpensWhatTheHostNames)
{
    const TemporaryFolder folder;
    folder.WriteFile("file", "contents");
    HostPeer host(folder.Path(), "none", "");
    IVolume *volume = nullptr;
    ASSERT_EQ(host.Open(&volume), 0) << volume_library_last_error();
    EXPECT_EQ(ReadWholeFile(*volume, u"/file"), "contents");
    host.TakeReports();
    EXPECT_EQ(host.opened.status, 0);
    EXPECT_EQ(host.opened.detail, "");
    EXPECT_TRUE(host.damages.empty());
}

TEST(HostOpening, ReportsAFailureAsItAnswers)
{
    const TemporaryFolder folder;
    struct Case {
        std::string volume;
        const char *kind;
    };
    for (const Case &request : {Case{folder.At("missing"), "none"}, Case{folder.Path(), "password"},
                                Case{folder.Path(), "no such kind"}, Case{"", ""}}) {
        IVolume *volume = nullptr;
        const int32_t direct =
            open_bitlocker_device(request.volume.c_str(), request.kind, "s", &volume);
        const std::string detail = volume_library_last_error();
        HostPeer host(request.volume, request.kind, "s");
        EXPECT_EQ(host.Open(&volume), direct);
        EXPECT_EQ(volume_library_last_error(), detail);
        host.TakeReports();
        EXPECT_EQ(host.opened.status, direct);
        EXPECT_EQ(host.opened.detail, detail);
        EXPECT_NE(direct, 0);
        EXPECT_TRUE(host.channel.HasEnded());
    }
}

TEST(HostOpening, RefusesAChannelOverAChannel)
{
    HostPeer host("volume", kChannelUnlockKind, "5");
    IVolume *volume = nullptr;
    EXPECT_EQ(host.Open(&volume),
              static_cast<int32_t>(VolumeLibraryStatus::kUnlockKindNotSupported));
    host.TakeReports();
    EXPECT_EQ(host.opened.status, 2);
}

TEST(HostOpening, RefusesWhatIsNoInheritedSocket)
{
    const UniqueFd file(open("/dev/null", O_RDWR));
    for (const std::string &number : {std::string(), std::string("-1"), std::string("5 "),
                                      std::string("9999"), std::to_string(file.Get())})
        EXPECT_EQ(OpenNumber(number), kMalformed) << number;
    EXPECT_STRNE(volume_library_last_error(), "");
    EXPECT_NE(fcntl(file.Get(), F_GETFD), -1);
}

TEST(HostOpening, TakesAChannelOnlyOnce)
{
    const TemporaryFolder folder;
    HostPeer host(folder.Path(), "none", "");
    IVolume *volume = nullptr;
    ASSERT_EQ(host.Open(&volume), 0);
    EXPECT_EQ(OpenNumber(std::to_string(host.descriptor)), kMalformed);
    EXPECT_FALSE(Opens(*volume, u"/missing"));
    host.TakeReports();
    EXPECT_EQ(host.damages.size(), 1u);
}

TEST(HostOpening, KeepsTheChannelFromTheProgramsThatTheProcessStarts)
{
    const TemporaryFolder folder;
    HostPeer host(folder.Path(), "none", "");
    IVolume *volume = nullptr;
    ASSERT_EQ(host.Open(&volume), 0);
    ASSERT_LT(host.descriptor, 10);
    const std::string use = "true 2>/dev/null <&" + std::to_string(host.descriptor);
    EXPECT_NE(system(("exec 2>/dev/null; " + use).c_str()), 0);
    EXPECT_EQ(fcntl(host.descriptor, F_GETFD), FD_CLOEXEC);
}

TEST(HostOpening, DoesNotWaitForADeadHost)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    close(ends[0]);
    const Clock::time_point begin = Clock::now();
    EXPECT_EQ(OpenNumber(std::to_string(ends[1])), kMalformed);
    EXPECT_LT(Clock::now() - begin, 5s);
}

TEST(HostOpening, WaitsTenSecondsForAHostThatSaysNothing)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    const UniqueFd silent(ends[0]);
    const Clock::time_point begin = Clock::now();
    EXPECT_EQ(OpenNumber(std::to_string(ends[1])), kMalformed);
    EXPECT_GT(Clock::now() - begin, 9s);
    EXPECT_LT(Clock::now() - begin, 20s);
}

TEST(HostOpening, GoesOnWhenTheHostDies)
{
    const TemporaryFolder folder;
    folder.WriteFile("file", "contents");
    auto host = std::make_unique<HostPeer>(folder.Path(), "none", "");
    IVolume *volume = nullptr;
    ASSERT_EQ(host->Open(&volume), 0);
    host.reset();
    for (int i = 0; i < 100; ++i)
        EXPECT_FALSE(Opens(*volume, u"/missing"));
    EXPECT_EQ(ReadWholeFile(*volume, u"/file"), "contents");
}

TEST(HostOpening, OpensThoughTheHostDiesAtOnce)
{
    const TemporaryFolder folder;
    auto host = std::make_unique<HostPeer>(folder.Path(), "none", "");
    const std::string number = host->InheritedNumber();
    host.reset();
    IVolume *volume = nullptr;
    EXPECT_EQ(open_bitlocker_device("v", kChannelUnlockKind, number.c_str(), &volume), 0);
}

TEST(HostOpening, IsNotDelayedByAHostThatDoesNotRead)
{
    const TemporaryFolder folder;
    HostPeer host(folder.Path(), "none", "");
    IVolume *volume = nullptr;
    ASSERT_EQ(host.Open(&volume), 0);
    const std::u16string missing = u"/" + std::u16string(200, u'm');
    constexpr uint64_t kTimes = 20000;
    const Clock::time_point begin = Clock::now();
    for (uint64_t i = 0; i < kTimes; ++i)
        EXPECT_FALSE(Opens(*volume, missing));
    EXPECT_LT(Clock::now() - begin, 20s);
    // All that was kept comes as soon as the host reads and the volume is used, with the number of
    // what was not kept.
    uint64_t uses = 0;
    for (host.TakeReports(); host.lost == 0 && uses < kTimes; host.TakeReports())
        uses += Opens(*volume, missing) ? 0 : 1;
    EXPECT_EQ(host.damages.size() + host.lost, kTimes + uses);
    EXPECT_GT(host.lost, 0u);
}

TEST(HostOpening, PassesOnWhatTheVolumeAnswers)
{
    const TemporaryFolder folder;
    folder.WriteFile("sub/file", "contents");
    HostPeer host(folder.Path(), "none", "");
    IVolume *volume = nullptr;
    ASSERT_EQ(host.Open(&volume), 0);
    VolumeEntryReport entry;
    EXPECT_TRUE(volume_library_describe_entry(volume, u"/sub/file", &entry));
    VolumeFileSystemReport system;
    EXPECT_TRUE(volume_library_describe_file_system(volume, &system));
    EXPECT_STREQ(system.name, "folder");
    VolumeFindData record = {};
    const VolumeHandle search = volume->FindFirstFile(u"/*", &record);
    VolumeListingReport listing;
    EXPECT_TRUE(volume_library_describe_listing(volume, search, &listing));
    EXPECT_TRUE(volume->FindClose(search));
    EXPECT_FALSE(volume->FindClose(nullptr));
    EXPECT_FALSE(volume->CloseHandle(nullptr));
    EXPECT_FALSE(volume->FindNextFile(nullptr, &record));
    uint32_t done = 0;
    EXPECT_FALSE(volume->ReadFile(nullptr, nullptr, 0, &done));
    EXPECT_EQ(volume->FindFirstFile(nullptr, &record), nullptr);
    EXPECT_EQ(volume->OpenFile(nullptr, 0, 0, 0), nullptr);
    EXPECT_FALSE(volume_library_is_gone(volume));
    EXPECT_FALSE(volume_library_visit_master_key(volume, TakeDigits, nullptr));
}

// --- Encrypted images

class HostOpeningOfImages : public testing::Test {
protected:
    void SetUp() override
    {
        VX_NEEDS("mkfs.fat");
        VX_NEEDS("mcopy");
        ASSERT_TRUE(image.MakeFat(8, "-F 16 -s 1"));
        ASSERT_TRUE(image.FillFat(tree));
        ASSERT_TRUE(image.Encrypt("--password right"));
    }

    void TearDown() override { volume_library_set_opening_options(nullptr); }

    const TestImage image{};
    const TestTree tree = SampleTree();
};

TEST_F(HostOpeningOfImages, OpensWithThePasswordAndReadsTheSameBytes)
{
    HostPeer host(image.Path(), "password", "right");
    IVolume *volume = nullptr;
    ASSERT_EQ(host.Open(&volume), 0) << volume_library_last_error();
    ExpectSameTree(ReadTree(*volume), tree);
    host.TakeReports();
    EXPECT_TRUE(host.damages.empty());
}

TEST_F(HostOpeningOfImages, OpensWithTheMasterKeyThatATrialHandedOver)
{
    VolumeOpeningOptions options;
    options.keepsMasterKey = 1;
    ASSERT_TRUE(volume_library_set_opening_options(&options));
    IVolume *trial = nullptr;
    ASSERT_EQ(open_bitlocker_device(image.Path().c_str(), "password", "right", &trial), 0);
    ASSERT_TRUE(volume_library_set_opening_options(nullptr));
    std::string digits;
    ASSERT_TRUE(volume_library_visit_master_key(trial, TakeDigits, &digits));
    HostPeer host(image.Path(), "vmk", digits.c_str());
    IVolume *volume = nullptr;
    ASSERT_EQ(host.Open(&volume), 0) << volume_library_last_error();
    VolumeUnlockingReport unlocking;
    EXPECT_TRUE(volume_library_describe_unlocking(volume, &unlocking));
    EXPECT_STREQ(unlocking.kind, "vmk");
    ExpectSameTree(ReadTree(*volume), tree);
}

TEST_F(HostOpeningOfImages, ReportsAWrongPassword)
{
    HostPeer host(image.Path(), "password", "wrong");
    IVolume *volume = nullptr;
    EXPECT_EQ(host.Open(&volume), static_cast<int32_t>(VolumeLibraryStatus::kWrongSecret));
    host.TakeReports();
    EXPECT_EQ(host.opened.status, static_cast<int32_t>(VolumeLibraryStatus::kWrongSecret));
    EXPECT_EQ(host.opened.detail, volume_library_last_error());
}

}  // namespace
}  // namespace vx
