// What the one end says arrives at the other.
#include "ChannelPeer.h"
#include "ChildChannel.h"
#include "HostChannel.h"

#include <atomic>
#include <gmock/gmock.h>
#include <thread>

namespace vx {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;

class ChannelReports : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(host.Prepare({"/dev/sdz9", "password", "geheim"})) << host.Error();
        child = std::make_unique<ChildChannel>(UniqueFd(dup(host.ChildDescriptor())));
        host.CloseChildDescriptor();
        ChildChannel::Opening opening;
        ASSERT_TRUE(child->ReadOpening(&opening, 5s));
    }

    template <typename Report>
    Report Next()
    {
        const auto report = host.Read();
        if (report && std::holds_alternative<Report>(*report))
            return std::get<Report>(*report);
        ADD_FAILURE() << "another report, or none: " << host.Error();
        return {};
    }

    HostChannel host;
    std::unique_ptr<ChildChannel> child;
};

std::vector<std::pair<uint64_t, uint64_t>> Pairs(const ByteRanges &ranges)
{
    std::vector<std::pair<uint64_t, uint64_t>> pairs;
    for (const ByteRange &range : ranges)
        pairs.emplace_back(range.offset, range.length);
    return pairs;
}

TEST_F(ChannelReports, ArriveWithAllTheySay)
{
    constexpr uint64_t kMuch = 0x7EDCBA9876543210;
    child->Report(ChannelProgress{2, UINT64_MAX - 1, UINT64_MAX, 0xFEDCBA98});
    child->Report(ChannelOpened{-3, "one\ntwo"});
    child->Report(ChannelDamage{
        ChannelDamageKind::kFileData, 8, "/a/\xED\xA0\x80", {{512, 1024}, {kMuch, 4096}}, 7});
    child->Report(ChannelLoss{kMuch});

    const auto progress = Next<ChannelProgress>();
    EXPECT_EQ(progress.step, 2U);
    EXPECT_EQ(progress.done, UINT64_MAX - 1);
    EXPECT_EQ(progress.total, UINT64_MAX);
    EXPECT_EQ(progress.seconds, 0xFEDCBA98);
    const auto opened = Next<ChannelOpened>();
    EXPECT_EQ(opened.status, -3);
    EXPECT_EQ(opened.detail, "one\ntwo");
    const auto damage = Next<ChannelDamage>();
    EXPECT_EQ(damage.kind, ChannelDamageKind::kFileData);
    EXPECT_EQ(damage.obstacle, 8U);
    EXPECT_EQ(damage.path, "/a/\xED\xA0\x80");
    EXPECT_THAT(Pairs(damage.ranges), ElementsAre(std::pair(uint64_t{512}, uint64_t{1024}),
                                                  std::pair(kMuch, uint64_t{4096})));
    EXPECT_EQ(damage.more, 7U);
    EXPECT_EQ(Next<ChannelLoss>().count, kMuch);
    EXPECT_FALSE(host.Read());
    EXPECT_FALSE(host.HasEnded());
}

TEST_F(ChannelReports, HaveTheMasterKeyAsTheKindVmkTakesIt)
{
    child->Report(ChannelOpened{});
    child->Report(ChannelMasterKey{ProtectedBytes("\x00\x7f\x80\xff", 4)});
    Next<ChannelOpened>();
    const auto report = host.Read();
    ASSERT_TRUE(report);
    const auto *key = std::get_if<ChannelMasterKey>(&*report);
    ASSERT_NE(key, nullptr);
    EXPECT_EQ(std::string(key->key.Text(), key->key.Size()), std::string("\x00\x7f\x80\xff", 4));
    EXPECT_STREQ(key->Digits().Text(), "007f80ff");
}

TEST_F(ChannelReports, LeaveOutRangesThatDoNotFitAndCountThem)
{
    ChannelDamage damage;
    damage.path = "/file";
    for (uint64_t i = 0; i < 20000; ++i)
        damage.ranges.push_back({1024 * i, 512});
    damage.more = 3;
    child->Report(ChannelOpened{});
    child->Report(damage);
    Next<ChannelOpened>();
    std::optional<ChannelReport> report;
    while (!report && !host.HasEnded()) {
        report = host.Read();
        child->SendKept();
    }
    ASSERT_TRUE(report);
    const auto &arrived = std::get<ChannelDamage>(*report);
    EXPECT_GT(arrived.ranges.size(), 16000U);
    EXPECT_EQ(arrived.ranges.size() + arrived.more, 20003U);
    EXPECT_EQ(arrived.ranges.back().offset, 1024 * (arrived.ranges.size() - 1));
}

TEST_F(ChannelReports, CutALongDetailAtTheEndOfALineAndSaySo)
{
    std::string detail;
    for (int i = 0; i < 5000; ++i)
        detail += "the record of file " + std::to_string(i) + " is damaged\n";
    child->Report(ChannelOpened{0, detail});
    const std::string arrived = Next<ChannelOpened>().detail;
    EXPECT_LE(arrived.size(), kMostChannelDetail);
    EXPECT_GT(arrived.size(), kMostChannelDetail - 200);
    EXPECT_THAT(arrived, testing::EndsWith("is damaged\nmore was noticed; the list was cut"));
}

TEST_F(ChannelReports, CutALongLineAtTheEndOfACharacter)
{
    std::string detail = "x";
    for (int i = 0; i < 50000; ++i)
        detail += "\xC3\xA9";
    child->Report(ChannelOpened{0, detail});
    const std::string arrived = Next<ChannelOpened>().detail;
    EXPECT_EQ(arrived.find('\n') % 2, 1U);
    EXPECT_GT(arrived.size(), kMostChannelDetail - 200);
}

TEST_F(ChannelReports, OfAPathThatIsTooLongAreCountedAsLost)
{
    child->Report(ChannelOpened{});
    child->Report(ChannelDamage{
        ChannelDamageKind::kFolder, 7, std::string(kMostChannelPath + 1, 'a'), {}, 0});
    Next<ChannelOpened>();
    EXPECT_EQ(Next<ChannelLoss>().count, 1U);
}

TEST_F(ChannelReports, EndWithAFarewellAfterAllThatWasLost)
{
    child->Report(ChannelOpened{});
    child->Report(ChannelDamage{
        ChannelDamageKind::kFolder, 7, std::string(kMostChannelPath + 1, 'a'), {}, 0});
    child->SayFarewell();
    Next<ChannelOpened>();
    EXPECT_EQ(Next<ChannelLoss>().count, 1U);
    EXPECT_TRUE(host.MayLackReports());
    Next<ChannelFarewell>();
    EXPECT_FALSE(host.MayLackReports());
}

TEST_F(ChannelReports, EndWithoutAFarewellIfAHostThatDoesNotReadMissesSome)
{
    child->Report(ChannelOpened{});
    for (int i = 0; i < 20000; ++i)
        child->Report(ChannelDamage{ChannelDamageKind::kFileData, 8, "/a long name", {}, 0});
    child->SayFarewell();
    child.reset();
    while (host.Read())
        continue;
    EXPECT_TRUE(host.HasEnded());
    EXPECT_TRUE(host.MayLackReports());
}

TEST_F(ChannelReports, EndInOrderWhenTheChildEnds)
{
    child->Report(ChannelOpened{});
    child.reset();
    Next<ChannelOpened>();
    EXPECT_FALSE(host.Read());
    EXPECT_TRUE(host.HasEnded());
    EXPECT_EQ(host.Error(), "");
    EXPECT_EQ(host.Descriptor(), -1);
}

TEST_F(ChannelReports, OfSeveralThreadsDoNotMix)
{
    constexpr int kEach = 3000;
    child->Report(ChannelOpened{});
    const auto report = [this](const char *path) {
        for (int i = 0; i < kEach; ++i)
            child->Report(ChannelDamage{ChannelDamageKind::kFileData, 8, path, {{512, 512}}, 0});
    };
    std::thread one(report, "/one");
    std::thread two(report, "/another, longer one");
    std::thread ender([&] {
        one.join();
        two.join();
        EXPECT_TRUE(child->SendKept(30s));
        child.reset();
    });
    uint64_t ones = 0;
    uint64_t others = 0;
    uint64_t lost = 0;
    while (!host.HasEnded()) {
        const auto got = host.Read();
        if (got && std::holds_alternative<ChannelDamage>(*got)) {
            const std::string &path = std::get<ChannelDamage>(*got).path;
            ones += path == "/one" ? 1 : 0;
            others += path == "/another, longer one" ? 1 : 0;
        } else if (got && std::holds_alternative<ChannelLoss>(*got)) {
            lost += std::get<ChannelLoss>(*got).count;
        } else if (!got && !host.HasEnded()) {
            pollfd polled = {host.Descriptor(), POLLIN, 0};
            poll(&polled, 1, 1000);
        }
    }
    ender.join();
    EXPECT_EQ(host.Error(), "");
    EXPECT_EQ(ones + others + lost, 2U * kEach);
    EXPECT_GT(ones, 0U);
    EXPECT_GT(others, 0U);
}

}  // namespace
}  // namespace vx
