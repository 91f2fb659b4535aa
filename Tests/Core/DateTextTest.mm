// An entry's date text is the platform's, whatever the core does to make it faster.
#import "CoreTest.h"

#include <sstream>
#include <thread>

#include "ChildProcess.h"
#import "DateTimes.h"

namespace {

using Strings = std::vector<std::string>;

const char *const kZones[] = {"Europe/Berlin",      "America/New_York",    "Asia/Kolkata",
                              "Asia/Kathmandu",     "Australia/Lord_Howe", "Pacific/Apia",
                              "Pacific/Kiritimati", "America/St_Johns",    "Africa/Monrovia",
                              "Africa/Casablanca",  "Europe/Dublin",       "UTC"};

std::string Text(uint64_t fileTime)
{
    return Utf8([Z5FindData FormatFileTimeToString:fileTime]);
}

void UseZone(const char *name)
{
    NSTimeZone *zone = [NSTimeZone timeZoneWithName:[NSString stringWithUTF8String:name]];
    ASSERT_NE(zone, nil) << name;
    [NSTimeZone setDefaultTimeZone:zone];
}

class DateTextIn : public ::testing::TestWithParam<const char *> {};

}  // namespace

TEST(DateText, EqualsThePlatformsForTimesOverManyYears)
{
    EXPECT_EQ(DateTextsThatDiffer(TimesOverManyYears(6000)), (Strings{}));
}

TEST(DateText, EqualsThePlatformsForEveryMinuteOfADay)
{
    std::vector<uint64_t> times;
    for (uint64_t minute = 0; minute < 24 * 60; ++minute)
        times.push_back(FileTimeOf(1709596800 + minute * 60 + 59));
    EXPECT_EQ(DateTextsThatDiffer(times), (Strings{}));
}

TEST(DateText, EqualsThePlatformsInEveryTimeZoneAndOnDaysWhenItsClockChanges)
{
    for (const char *zone : kZones) {
        UseZone(zone);
        EXPECT_EQ(DateTextsThatDiffer(TimesAroundClockChanges()), (Strings{})) << zone;
        EXPECT_EQ(DateTextsThatDiffer(TimesOverManyYears(200)), (Strings{})) << zone;
    }
}

TEST(DateText, FollowsAChangeOfTheDefaultTimeZoneWhileTheProgramRuns)
{
    UseZone("UTC");
    const std::string before = Text(vx::kScriptedTime);
    EXPECT_EQ(before, PlatformDateText(vx::kScriptedTime));
    UseZone("Asia/Tokyo");
    const std::string after = Text(vx::kScriptedTime);
    EXPECT_NE(after, before);
    EXPECT_EQ(after, PlatformDateText(vx::kScriptedTime));
    UseZone("UTC");
    EXPECT_EQ(Text(vx::kScriptedTime), before);
}

TEST(DateText, DropsTheSubSecondParts)
{
    EXPECT_EQ(Text(FileTimeOf(1709629620) + kFileTimePerSecond - 1), Text(FileTimeOf(1709629620)));
    EXPECT_EQ(Text(FileTimeOf(1709629619) + kFileTimePerSecond - 1), Text(FileTimeOf(1709629619)));
    EXPECT_NE(Text(FileTimeOf(1709629620) - 1), Text(FileTimeOf(1709629620)));
}

TEST(DateText, ARecordWithAZeroLastWriteTimeGivesADateTextFarInTheFutureNot1601Or1970)
{
    const std::string zero = Utf8([EntryOf(RecordOf(u"a", 0x20, 0, 0)) strModifiedDateTime]);
    EXPECT_EQ(zero, PlatformDateText(0));
    EXPECT_EQ(zero.find("1601"), std::string::npos);
    EXPECT_EQ(zero.find("1970"), std::string::npos);
    EXPECT_EQ(zero.find("1969"), std::string::npos);
}

TEST(DateText, ATimeBefore1970WrapsAround)
{
    for (const uint64_t time : {uint64_t(1), kFileTimeOf1970 - 1, kFileTimeOf1970 / 2})
        EXPECT_EQ(Text(time), PlatformDateText(time));
    EXPECT_EQ(Text(kFileTimeOf1970 - 1).find("19"), std::string::npos);
}

TEST(DateText, TheFirstSecondsOf1970AreNotWrapped)
{
    for (const char *zone : {"UTC", "Pacific/Honolulu", "Pacific/Kiritimati"}) {
        UseZone(zone);
        EXPECT_EQ(Text(kFileTimeOf1970), PlatformDateText(kFileTimeOf1970));
        EXPECT_EQ(Text(FileTimeOf(1)), PlatformDateText(FileTimeOf(1)));
    }
}

TEST(DateText, EqualsThePlatformsAtTheEndsOfTheRange)
{
    std::vector<uint64_t> times;
    for (const uint64_t seconds : {2147483647ull, 2147483648ull, 4294967295ull, 4294967296ull,
                                   253402300799ull, 253402300800ull, 253402387200ull, 1ull << 40})
        times.push_back(FileTimeOf(seconds));
    times.push_back(~uint64_t(0));
    EXPECT_EQ(DateTextsThatDiffer(times), (Strings{}));
}

TEST(DateText, EqualsThePlatformsAfterMoreDaysThanAreKept)
{
    constexpr uint64_t kDays = 20000;
    for (uint64_t day = 0; day < kDays; ++day) {
        @autoreleasepool {
            ASSERT_FALSE(Text(FileTimeOf(day * 86400)).empty());
        }
    }
    EXPECT_EQ(DateTextsThatDiffer(TimesOverManyYears(300)), (Strings{}));
}

TEST(DateText, MayBeMadeOnSeveralThreadsAtATime)
{
    const std::string expected = PlatformDateText(vx::kScriptedTime);
    std::vector<std::string> made(4);
    std::vector<std::thread> threads;
    threads.reserve(made.size());
    for (std::string &each : made) {
        threads.emplace_back([&each] {
            @autoreleasepool {
                for (uint64_t i = 0; i < 200; ++i)
                    (void)Text(FileTimeOf(i * 100000));
                each = Text(vx::kScriptedTime);
            }
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    EXPECT_EQ(made, Strings(4, expected));
}

TEST_P(DateTextIn, EqualsThePlatformsInThatLocale)
{
    const std::string locale = GetParam();
    const ChildResult result =
        RunChild({VX_DATE_TEXT_PROBE, "America/New_York", "-AppleLocale", locale},
                 {"LC_ALL=" + locale + ".UTF-8", "LANG=" + locale + ".UTF-8"});
    EXPECT_EQ(result.status, 0) << result.output;
    std::istringstream words(result.output);
    std::string named;
    size_t compared = 0;
    words >> named >> compared;
    EXPECT_EQ(named, locale);
    EXPECT_GT(compared, 2000u);
}

INSTANTIATE_TEST_SUITE_P(Locale, DateTextIn,
                         ::testing::Values("en_US", "en_GB", "de_DE", "fr_FR", "es_ES", "ca_ES",
                                           "it_IT", "ru_RU", "bg_BG", "ja_JP", "zh_CN", "zh_TW",
                                           "ko_KR", "ar_EG", "he_IL", "hi_IN", "fa_IR", "th_TH",
                                           "te_IN", "hu_HU", "vi_VN"),
                         [](const auto &each) { return std::string(each.param); });
