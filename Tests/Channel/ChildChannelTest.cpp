// What the library does with whatever a host sends, or does not send or read.
#include "ChildChannel.h"
#include "ChannelPeer.h"

#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <thread>

namespace vx {
namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

std::string OpeningMessage()
{
    return Message(1, Text("/dev/sdz9") + Text("password") + Text("geheim"));
}

class ChildChannelTest : public testing::Test {
protected:
    ChildChannelTest() : child(std::move(pair.one)), host(std::move(pair.other)) {}

    bool Reads(const std::string &bytes, std::chrono::milliseconds patience = 20ms)
    {
        EXPECT_TRUE(SendAll(host.Get(), bytes));
        return child.ReadOpening(&opening, patience);
    }

    ChannelDamage Damage() const
    {
        return {ChannelDamageKind::kFileData, 8, "/" + std::string(200, 'a'), {{512, 512}}, 0};
    }

    RawPair pair;
    ChildChannel child;
    UniqueFd host;
    ChildChannel::Opening opening;
};

TEST_F(ChildChannelTest, ReadsTheThreeTexts)
{
    ASSERT_TRUE(Reads(OpeningMessage()));
    EXPECT_STREQ(opening.Texts().volume, "/dev/sdz9");
    EXPECT_STREQ(opening.Texts().kind, "password");
    EXPECT_STREQ(opening.Texts().secret, "geheim");
}

TEST_F(ChildChannelTest, ReadsEmptyTexts)
{
    ASSERT_TRUE(Reads(Message(1, Text("") + Text("") + Text(""))));
    EXPECT_STREQ(opening.Texts().volume, "");
    EXPECT_STREQ(opening.Texts().kind, "");
    EXPECT_STREQ(opening.Texts().secret, "");
}

TEST_F(ChildChannelTest, ReadsTextsOfTheGreatestLength)
{
    const std::string longest(kMostChannelText, 'x');
    ASSERT_TRUE(Reads(Message(1, Text(longest) + Text(longest) + Text(longest))));
    EXPECT_EQ(opening.Texts().volume, longest);
    EXPECT_EQ(opening.Texts().secret, longest);
}

TEST_F(ChildChannelTest, SkipsMessagesOfUnknownTypesBeforeTheOpening)
{
    ASSERT_TRUE(Reads(Message(99, std::string(3000, 'x')) + Message(77, "") + OpeningMessage()));
    EXPECT_STREQ(opening.Texts().secret, "geheim");
}

TEST_F(ChildChannelTest, WaitsForAnOpeningThatComesInPieces)
{
    std::thread slow([this] {
        for (const char byte : OpeningMessage()) {
            EXPECT_TRUE(SendAll(host.Get(), {&byte, 1}));
            std::this_thread::sleep_for(1ms);  // a slow host
        }
    });
    EXPECT_TRUE(child.ReadOpening(&opening, 10s));
    slow.join();
    EXPECT_STREQ(opening.Texts().secret, "geheim");
}

TEST_F(ChildChannelTest, WaitsNoLongerThanItsPatience)
{
    const Clock::time_point begin = Clock::now();
    EXPECT_FALSE(Reads(OpeningMessage().substr(0, 20), 200ms));
    EXPECT_GE(Clock::now() - begin, 190ms);
    EXPECT_LT(Clock::now() - begin, 5s);
}

TEST_F(ChildChannelTest, DoesNotWaitForADeadHost)
{
    host.Close();
    const Clock::time_point begin = Clock::now();
    EXPECT_FALSE(child.ReadOpening(&opening, 60s));
    EXPECT_LT(Clock::now() - begin, 10s);
}

TEST(ChildChannelOpening, IsRefusedIfItIsCutAtAnyByteByADyingHost)
{
    for (size_t length = 0; length < OpeningMessage().size(); ++length) {
        RawPair pair;
        ChildChannel child(std::move(pair.one));
        ASSERT_TRUE(SendAll(pair.other.Get(), OpeningMessage().substr(0, length)));
        pair.other.Close();
        ChildChannel::Opening opening;
        const Clock::time_point begin = Clock::now();
        EXPECT_FALSE(child.ReadOpening(&opening, 60s)) << length;
        EXPECT_LT(Clock::now() - begin, 10s);
    }
}

class MalformedOpening : public testing::TestWithParam<std::string> {};

TEST_P(MalformedOpening, IsRefusedAtOnce)
{
    RawPair pair;
    ChildChannel child(std::move(pair.one));
    // As much as fits: what is too long is refused by its header.
    ASSERT_TRUE(SendAll(pair.other.Get(), GetParam()));
    ChildChannel::Opening opening;
    const Clock::time_point begin = Clock::now();
    EXPECT_FALSE(child.ReadOpening(&opening, 60s));
    EXPECT_LT(Clock::now() - begin, 10s);
    EXPECT_STREQ(opening.Texts().secret, "");
}

INSTANTIATE_TEST_SUITE_P(
    All, MalformedOpening,
    testing::Values(
        Message(1, ""), Message(1, Text("v") + Text("none")),                 // texts missing
        Message(1, Text("v") + Text("none") + Text("s") + "x"),               // one more byte
        Message(1, Text("v") + Text("none") + Text(std::string("a\0b", 3))),  // a zero in it
        Message(1, Text("v") + Text("none") + U32(100) + "secret"),           // lying lengths
        Message(1, U32(0xFFFFFFFF) + "v" + Text("none") + Text("s")),         //
        Message(1, Text("v") + Text("none") + Text(std::string(kMostChannelText + 1, 'x'))),
        U32(1) + U32(0xFFFFFFFF), U32(99) + U32(kMostChannelBody + 1),  // too long
        Message(3, U32(0) + Text("")),
        Message(6, std::string(32, 'k'))));  // what only a child says

TEST_F(ChildChannelTest, IsNeverBlockedByAHostThatDoesNotRead)
{
    constexpr uint64_t kReports = 20000;  // several MiB
    const Clock::time_point begin = Clock::now();
    child.Report(ChannelOpened{});
    for (uint64_t i = 0; i < kReports; ++i)
        child.Report(Damage());
    EXPECT_LT(Clock::now() - begin, 10s);
    EXPECT_FALSE(child.SendKept());

    // What was dropped is counted when the host reads again.
    std::string all;
    do
        all += TakeAll(host.Get());
    while (!child.SendKept());
    all += TakeAll(host.Get());
    uint64_t arrived = 0;
    uint64_t lost = 0;
    ChannelBytes bytes(all);
    while (bytes.Left() > 0 && bytes.IsGood()) {
        const uint32_t type = bytes.TakeU32();
        const auto report = ParseChannelReport(type, bytes.Take(bytes.TakeU32()));
        ASSERT_TRUE(report);
        arrived += std::holds_alternative<ChannelDamage>(*report) ? 1 : 0;
        if (const auto *loss = std::get_if<ChannelLoss>(&*report))
            lost += loss->count;
    }
    EXPECT_TRUE(bytes.IsDone());
    EXPECT_EQ(arrived + lost, kReports);
    EXPECT_GT(arrived * Damage().path.size(), ChildChannel::kMostUnsentBytes / 2);
    EXPECT_GT(lost, 0U);
}

TEST_F(ChildChannelTest, ForgetsProgressThatDoesNotFitAndDoesNotCountIt)
{
    for (int i = 0; i < 100000; ++i)
        child.Report(ChannelProgress{1, 2, 3, 4});
    child.Report(ChannelOpened{7, "why"});
    std::string all;
    do
        all += TakeAll(host.Get());
    while (!child.SendKept());
    all += TakeAll(host.Get());
    ASSERT_GT(all.size(), 19U);
    EXPECT_EQ(all.substr(all.size() - 19), Message(3, U32(7) + Text("why")));
}

TEST_F(ChildChannelTest, KeepsTheMasterKeyForAHostThatDoesNotRead)
{
    child.Report(ChannelOpened{});
    for (int i = 0; i < 3000; ++i)
        child.Report(Damage());
    ASSERT_FALSE(child.SendKept());
    child.Report(ChannelMasterKey{ProtectedBytes("0123456789abcdef", 16)});
    child.Report(ChannelMasterKey{ProtectedBytes("another", 7)});
    child.Report(Damage());
    std::string all;
    do
        all += TakeAll(host.Get());
    while (!child.SendKept());
    all += TakeAll(host.Get());
    const std::string key = Message(6, "0123456789abcdef");
    EXPECT_NE(all.find(key), all.npos);
    EXPECT_EQ(all.find("another"), all.npos);
    EXPECT_EQ(all.substr(all.size() - 16, 8), U32(5) + U32(8));  // the second is counted as lost
}

TEST_F(ChildChannelTest, SurvivesAHostThatDiesAtAnyTime)
{
    child.Report(ChannelOpened{});
    EXPECT_FALSE(child.HasEnded());
    host.Close();
    child.Report(Damage());  // no SIGPIPE, which would end this test
    child.Report(ChannelMasterKey{ProtectedBytes("key", 3)});
    EXPECT_TRUE(child.HasEnded());
    const Clock::time_point begin = Clock::now();
    EXPECT_FALSE(child.SendKept(60s));
    EXPECT_LT(Clock::now() - begin, 10s);
}

TEST_F(ChildChannelTest, EndsItsWaitWhenAHostThatDoesNotReadDies)
{
    child.Report(ChannelOpened{});
    for (int i = 0; i < 3000; ++i)
        child.Report(Damage());
    std::thread killed([this] {
        std::this_thread::sleep_for(50ms);  // the wait begins meanwhile
        host.Close();
    });
    const Clock::time_point begin = Clock::now();
    EXPECT_FALSE(child.SendKept(60s));
    EXPECT_LT(Clock::now() - begin, 10s);
    killed.join();
}

TEST_F(ChildChannelTest, WaitsForAHostNoLongerThanItsPatienceAtTheEnd)
{
    child.Report(ChannelOpened{});
    for (int i = 0; i < 3000; ++i)
        child.Report(Damage());
    const Clock::time_point begin = Clock::now();
    EXPECT_FALSE(child.SendKept(100ms));
    EXPECT_GE(Clock::now() - begin, 90ms);
    EXPECT_LT(Clock::now() - begin, 5s);
}

TEST_F(ChildChannelTest, LooksForTheEndBeyondWhatTheHostHasSaidBesides)
{
    ASSERT_TRUE(SendAll(host.Get(), std::string(5000, 'x')));
    EXPECT_FALSE(child.HasEnded());
    host.Close();
    EXPECT_TRUE(child.HasEnded());
}

TEST_F(ChildChannelTest, IsCloseOnExecAndDoesNotBlock)
{
    EXPECT_EQ(fcntl(child.Descriptor(), F_GETFD), FD_CLOEXEC);
    EXPECT_NE(fcntl(child.Descriptor(), F_GETFL) & O_NONBLOCK, 0);
}

TEST(InheritedChannel, IsAPlainNumberOfAConnectedSocket)
{
    RawPair pair;
    const std::string number = std::to_string(pair.one.Get());
    for (const std::string &text :
         std::vector<std::string>{std::string(), " " + number, number + " ", "+" + number, "-1",
                                  number + "x", "0x" + number, number + ".0",
                                  std::string("99999999999999999999"), std::string("4096")})
        EXPECT_FALSE(ChildChannel::Inherited(text.c_str())) << text;
    EXPECT_EQ(pair.one.Get(), ChildChannel::Inherited(number.c_str()).Release());
}

TEST(InheritedChannel, IsNoOtherKindOfDescriptor)
{
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    const UniqueFd reading(ends[0]);
    const UniqueFd writing(ends[1]);
    EXPECT_FALSE(ChildChannel::Inherited(std::to_string(reading.Get()).c_str()));
    const UniqueFd file(open("/dev/null", O_RDWR));
    EXPECT_FALSE(ChildChannel::Inherited(std::to_string(file.Get()).c_str()));
    const UniqueFd unconnected(socket(AF_UNIX, SOCK_STREAM, 0));
    EXPECT_FALSE(ChildChannel::Inherited(std::to_string(unconnected.Get()).c_str()));
    const UniqueFd datagrams(socket(AF_UNIX, SOCK_DGRAM, 0));
    EXPECT_FALSE(ChildChannel::Inherited(std::to_string(datagrams.Get()).c_str()));
}

TEST(InheritedChannel, IsTakenOnlyOnce)
{
    RawPair pair;
    const std::string number = std::to_string(pair.one.Get());
    ChildChannel child(ChildChannel::Inherited(number.c_str()));
    EXPECT_EQ(pair.one.Release(), child.Descriptor());
    EXPECT_FALSE(ChildChannel::Inherited(number.c_str()));
}

}  // namespace
}  // namespace vx
