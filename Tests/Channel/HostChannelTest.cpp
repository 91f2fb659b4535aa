// What a host does with whatever a child sends.
#include "HostChannel.h"
#include "ChannelPeer.h"

#include <gmock/gmock.h>

namespace vx {
namespace {

std::string Progress()
{
    return Message(2, U32(1) + U64(3) + U64(7) + U32(9));
}

std::string Opened(uint32_t status = 0)
{
    return Message(3, U32(status) + Text("detail"));
}

std::string DamageBody(uint32_t kind, const std::string &path, const std::string &ranges,
                       uint64_t more = 0)
{
    return U32(kind) + U32(8) + Text(path) + ranges + U64(more);
}

std::string Damage()
{
    return Message(4, DamageBody(1, "/a", U32(1) + U64(512) + U64(512)));
}

std::string Key()
{
    return Message(6, std::string(32, 'k'));
}

constexpr uint64_t kHuge = uint64_t{1} << 63;

class HostChannelTest : public testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(host.Prepare({"volume", "none", ""})) << host.Error();
        child = UniqueFd(dup(host.ChildDescriptor()));
        host.CloseChildDescriptor();
        TakeAll(child.Get());
    }

    // How many reports came of these bytes.
    int CountReports(const std::string &bytes)
    {
        EXPECT_TRUE(SendAll(child.Get(), bytes));
        int count = 0;
        while (host.Read())
            ++count;
        return count;
    }

    void ExpectRefused(const std::string &bytes)
    {
        EXPECT_EQ(CountReports(bytes), 0);
        EXPECT_TRUE(host.HasEnded());
        EXPECT_THAT(host.Error(), testing::HasSubstr("cannot be read"));
    }

    HostChannel host;
    UniqueFd child;
};

class MalformedReport : public HostChannelTest, public testing::WithParamInterface<std::string> {};

TEST(HostChannelPrepare, WritesTheOpeningBeforeTheChildIsThere)
{
    HostChannel host;
    ASSERT_TRUE(host.Prepare({"/dev/sdz9", "password", "geheim"}));
    const std::string body = Text("/dev/sdz9") + Text("password") + Text("geheim");
    EXPECT_EQ(TakeAll(host.ChildDescriptor()), Message(1, body));
}

TEST(HostChannelPrepare, TakesTextsOfTheGreatestLength)
{
    const std::string longest(kMostChannelText, 'x');
    HostChannel host;
    ASSERT_TRUE(host.Prepare({longest.c_str(), longest.c_str(), longest.c_str()})) << host.Error();
    EXPECT_EQ(TakeAll(host.ChildDescriptor()).size(), 8 + 3 * (4 + kMostChannelText));
}

TEST(HostChannelPrepare, RefusesLongerTexts)
{
    const std::string tooLong(kMostChannelText + 1, 'x');
    for (const ChannelOpening &opening :
         {ChannelOpening{tooLong.c_str(), "none", ""}, ChannelOpening{"v", tooLong.c_str(), ""},
          ChannelOpening{"v", "password", tooLong.c_str()}}) {
        HostChannel host;
        EXPECT_FALSE(host.Prepare(opening));
        EXPECT_THAT(host.Error(), testing::HasSubstr("longer than 4096 bytes"));
        EXPECT_EQ(host.ChildDescriptor(), -1);
    }
}

TEST_F(HostChannelTest, GivesAReportOnlyWhenAllOfItIsThere)
{
    for (const std::string &message : {Progress(), Opened(), Damage(), Message(5, U64(1)), Key()}) {
        for (size_t i = 0; i + 1 < message.size(); ++i)
            ASSERT_EQ(CountReports(message.substr(i, 1)), 0) << i;
        EXPECT_EQ(CountReports(message.substr(message.size() - 1)), 1);
    }
    EXPECT_FALSE(host.HasEnded());
}

TEST(HostChannelEnd, IsReportedIfAMessageIsCutAtAnyByte)
{
    const std::string begin = Opened();
    for (const std::string &message :
         {Opened(), Damage(), Message(5, U64(1)), Key(), Message(99, "x")}) {
        for (size_t length = 1; length < message.size(); ++length) {
            HostChannel host;
            ASSERT_TRUE(host.Prepare({}));
            ASSERT_TRUE(SendAll(host.ChildDescriptor(), begin + message.substr(0, length)));
            TakeAll(host.ChildDescriptor());
            host.CloseChildDescriptor();
            EXPECT_TRUE(host.Read());
            EXPECT_FALSE(host.Read());
            EXPECT_TRUE(host.HasEnded());
            EXPECT_THAT(host.Error(), testing::HasSubstr("end within")) << length;
        }
    }
}

TEST_F(HostChannelTest, EndsThoughTheChildHasNotReadItsOpening)
{
    HostChannel ignored;
    ASSERT_TRUE(ignored.Prepare({"volume", "none", ""}));
    ignored.CloseChildDescriptor();
    EXPECT_FALSE(ignored.Read());
    EXPECT_TRUE(ignored.HasEnded());
    EXPECT_EQ(ignored.Error(), "");
}

TEST_F(HostChannelTest, SkipsMessagesOfUnknownTypes)
{
    EXPECT_EQ(CountReports(Message(99, "") + Opened() + Message(77, std::string(5000, 'x')) +
                           Message(0xFFFFFFFF, "x") + Message(0, "") + Damage()),
              2);
    EXPECT_FALSE(host.HasEnded());
}

TEST_F(HostChannelTest, ReturnsToItsCallerAmongEndlessUnknownMessages)
{
    std::string many;
    for (int i = 0; i < 200; ++i)
        many += Message(99, "");
    ASSERT_TRUE(SendAll(child.Get(), many + Opened()));
    int calls = 1;
    while (!host.Read() && !host.HasEnded() && IsReadable(host.Descriptor()))
        ++calls;
    EXPECT_EQ(calls, 4);
    EXPECT_EQ(CountReports(Damage()), 1);
}

TEST_F(HostChannelTest, RefusesASecondOpenedReport)
{
    EXPECT_EQ(CountReports(Opened()), 1);
    ExpectRefused(Opened());
}

TEST_F(HostChannelTest, RefusesProgressAfterTheEndOfTheOpening)
{
    EXPECT_EQ(CountReports(Opened()), 1);
    ExpectRefused(Progress());
}

TEST_F(HostChannelTest, RefusesASecondMasterKey)
{
    EXPECT_EQ(CountReports(Opened() + Key()), 2);
    ExpectRefused(Key());
}

TEST_F(HostChannelTest, TakesALossAtAnyTime)
{
    EXPECT_EQ(CountReports(Message(5, U64(1)) + Opened() + Message(5, U64(1)) + Damage()), 4);
}

TEST_F(HostChannelTest, ReadsNothingAfterTheEnd)
{
    ExpectRefused(Damage());
    EXPECT_FALSE(SendAll(child.Get(), Opened()) && host.Read());
    EXPECT_TRUE(host.HasEnded());
}

TEST_P(MalformedReport, EndsTheChannel)
{
    ASSERT_TRUE(SendAll(child.Get(), Opened()));
    ASSERT_TRUE(host.Read());
    ExpectRefused(GetParam());
}

TEST_F(HostChannelTest, TakesTheGreatestNumbersThatAHostCanAddUp)
{
    const std::string ranges = U32(2) + U64(0) + U64(1) + U64(kHuge / 2) + U64(kHuge / 2 - 1);
    EXPECT_EQ(CountReports(Opened() + Message(4, DamageBody(1, "/a", ranges, kHuge - 1)) +
                           Message(5, U64(kHuge - 1))),
              3);
}

TEST_F(HostChannelTest, MayLackReportsOfAnOpenVolumeUntilTheFarewell)
{
    EXPECT_FALSE(host.MayLackReports());
    EXPECT_EQ(CountReports(Opened()), 1);
    EXPECT_TRUE(host.MayLackReports());
    EXPECT_EQ(CountReports(Message(7, "") + Damage()), 2);
    EXPECT_FALSE(host.MayLackReports());
    ExpectRefused(Message(7, ""));
    EXPECT_TRUE(host.MayLackReports());
}

TEST_F(HostChannelTest, LacksNoReportsOfAVolumeThatDidNotOpen)
{
    EXPECT_EQ(CountReports(Opened(22)), 1);
    EXPECT_FALSE(host.MayLackReports());
}

TEST_F(HostChannelTest, TakesNoFarewellBeforeTheOpeningHasEnded)
{
    ExpectRefused(Message(7, ""));
}

const std::string kRange = U64(512) + U64(512);

INSTANTIATE_TEST_SUITE_P(
    AfterOpened, MalformedReport,
    testing::Values(
        Message(1, Text("v") + Text("none") + Text("")),                        // an opening
        Message(7, "x"),                                                        // a body
        Message(5, U64(1) + "x"),                                               // too long
        Message(5, U32(1)),                                                     // too short
        U32(4) + U32(kMostChannelBody + 1),                                     // no such body
        U32(4) + U32(0xFFFFFFFF),                                               //
        U32(6) + U32(kMostChannelKey + 1),                                      // no such key
        Message(6, ""),                                                         //
        Message(4, DamageBody(0, "/a", U32(0))),                                // no such kind
        Message(4, DamageBody(5, "/a", U32(0))),                                //
        Message(4, DamageBody(1, std::string("/\0a", 3), U32(0))),              // a zero in a path
        Message(4, DamageBody(1, "/a", U32(2) + kRange)),                       // fewer ranges
        Message(4, DamageBody(1, "/a", U32(0xFFFFFFFF) + kRange)),              //
        Message(4, DamageBody(1, "/a", U32(1) + kRange + kRange)),              // more ranges
        Message(4, DamageBody(1, "/a", U32(2) + kRange + kRange)),              // not ascending
        Message(4, DamageBody(1, "/a", U32(2) + kRange + U64(1024) + U64(1))),  // touching
        Message(4, DamageBody(1, "/a", U32(1) + U64(512) + U64(0))),            // empty
        Message(4, DamageBody(1, "/a", U32(1) + U64(512) + U64(UINT64_MAX))),   // beyond all
        Message(4, DamageBody(1, "/a", U32(1) + U64(kHuge / 2) + U64(kHuge / 2))),  // longer
        Message(4, DamageBody(1, "/a", U32(1) + U64(0) + U64(kHuge))),              // than any file
        Message(4, DamageBody(1, "/a", U32(1) + U64(kHuge) + U64(1))),              //
        Message(4, DamageBody(3, "/a", U32(0), kHuge)),        // more than can be counted
        Message(5, U64(kHuge)),                                //
        Message(4, U32(1) + U32(8) + U32(0xFFFFFFFF) + "/a"),  // a lying length
        Message(4, DamageBody(1, std::string(kMostChannelPath + 1, 'a'), U32(0)))));

TEST_F(HostChannelTest, RefusesADetailOfALyingLength)
{
    ExpectRefused(Message(3, U32(0) + U32(100) + "short"));
}

TEST_F(HostChannelTest, RefusesDamageBeforeTheEndOfTheOpening)
{
    EXPECT_EQ(CountReports(Progress()), 1);
    ExpectRefused(Damage());
}

TEST_F(HostChannelTest, RefusesAMasterKeyBeforeTheEndOfTheOpening)
{
    ExpectRefused(Key());
}

}  // namespace
}  // namespace vx
