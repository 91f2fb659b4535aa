#include "OptionValues.h"

#include "IsoTime.h"
#include "IsoTimeReader.h"

#include <cstdlib>
#include <ctime>
#include <gtest/gtest.h>

namespace vx {
namespace {

// Makes a zone that of this process.
class LocalZone {
public:
    explicit LocalZone(const char *zone)
    {
        const char *old = getenv("TZ");
        _hasOld = old != nullptr;
        _old = _hasOld ? old : "";
        setenv("TZ", zone, 1);
        tzset();
    }
    ~LocalZone()
    {
        _hasOld ? setenv("TZ", _old.c_str(), 1) : unsetenv("TZ");
        tzset();
    }
    LocalZone(const LocalZone &) = delete;
    LocalZone &operator=(const LocalZone &) = delete;

private:
    std::string _old;
    bool _hasOld = false;
};

std::string Utc(const std::string &text)
{
    const auto time = ReadIsoTime(text);
    return time ? IsoTime(*time) : "nothing";
}

TEST(OptionValues, ASizeIsInBytesOrInPowersOf1024)
{
    EXPECT_EQ(ReadSize("0"), 0);
    EXPECT_EQ(ReadSize("4096"), 4096);
    EXPECT_EQ(ReadSize("10K"), 10240);
    EXPECT_EQ(ReadSize("4M"), 4194304);
    EXPECT_EQ(ReadSize("2g"), 2147483648);
    EXPECT_EQ(ReadSize("1T"), 1099511627776);
    EXPECT_EQ(ReadSize("1P"), 1125899906842624);
}

TEST(OptionValues, ASizeIsBelow2To63)
{
    EXPECT_EQ(ReadSize("9223372036854775807"), INT64_MAX);
    EXPECT_FALSE(ReadSize("9223372036854775808"));
    EXPECT_FALSE(ReadSize("99999999999999999999999"));
    EXPECT_EQ(ReadSize("8191P"), INT64_C(8191) << 50);
    EXPECT_FALSE(ReadSize("8192P"));
}

TEST(OptionValues, OtherTextsAreNoSizes)
{
    for (const char *text : {"", "K", "-1", "+1", " 1", "1 ", "1.5G", "1KB", "1Ki", "0x10", "1E",
                             "1B", "\xC2\xB2", "1\xC2\xB2"})
        EXPECT_FALSE(ReadSize(text)) << text;
}

TEST(OptionValues, ACountHasAHighest)
{
    EXPECT_EQ(ReadCount("0", 10), 0u);
    EXPECT_EQ(ReadCount("10", 10), 10u);
    EXPECT_FALSE(ReadCount("11", 10));
    EXPECT_FALSE(ReadCount("4294967296", 10));
    EXPECT_FALSE(ReadCount("", 10));
    EXPECT_FALSE(ReadCount("-0", 10));
}

TEST(OptionValues, SecondsMayHaveThreeDigitsAfterThePoint)
{
    EXPECT_EQ(ReadMilliseconds("2", 5000), 2000u);
    EXPECT_EQ(ReadMilliseconds("0.25", 5000), 250u);
    EXPECT_EQ(ReadMilliseconds("1.001", 5000), 1001u);
    EXPECT_EQ(ReadMilliseconds("5.000", 5000), 5000u);
    for (const char *text : {"5.001", "6", "1.0001", "1.", ".5", "1.-5", "1,5", "", "4294968"})
        EXPECT_FALSE(ReadMilliseconds(text, 5000)) << text;
}

TEST(IsoTimeReader, ATimeInUtcIsReadToTheLastDigit)
{
    EXPECT_EQ(ReadIsoTime("2020-09-30T17:00:00.1234567Z"), 132459588001234567u);
    EXPECT_EQ(Utc("2020-09-30T17:00:00.12345679Z"), "2020-09-30T17:00:00.1234567Z");
    EXPECT_EQ(Utc("2020-09-30T17:00:00.5Z"), "2020-09-30T17:00:00.5000000Z");
    EXPECT_EQ(Utc("2020-09-30T17:01Z"), "2020-09-30T17:01:00.0000000Z");
    EXPECT_EQ(ReadIsoTime("1601-01-01T00:00Z"), 0u);
    EXPECT_EQ(Utc("9999-12-31T23:59:59Z"), "9999-12-31T23:59:59.0000000Z");
}

TEST(IsoTimeReader, AnOffsetIsTakenAway)
{
    EXPECT_EQ(Utc("2019-03-02T10:00+01:00"), "2019-03-02T09:00:00.0000000Z");
    EXPECT_EQ(Utc("2019-03-02T10:00:30+0130"), "2019-03-02T08:30:30.0000000Z");
    EXPECT_EQ(Utc("2019-03-02T10:00-05"), "2019-03-02T15:00:00.0000000Z");
    EXPECT_EQ(Utc("1601-01-01T00:00+00:01"), "nothing");
}

TEST(IsoTimeReader, WithoutAZoneTheTimeIsLocal)
{
    const LocalZone berlin("CET-1CEST,M3.5.0,M10.5.0/3");
    EXPECT_EQ(Utc("2019-03-02"), "2019-03-01T23:00:00.0000000Z");
    EXPECT_EQ(Utc("2019-07-02"), "2019-07-01T22:00:00.0000000Z");
    EXPECT_EQ(Utc("2019-07-02T10:00:00.5"), "2019-07-02T08:00:00.5000000Z");
    EXPECT_EQ(Utc("1970-01-01T00:59:59"), "1969-12-31T23:59:59.0000000Z");
}

TEST(IsoTimeReader, AgreesWithWhatIsPrinted)
{
    for (uint64_t time = 1; time < 2650467744000000000; time += 7654321012345677)
        ASSERT_EQ(ReadIsoTime(IsoTime(time)), time);
}

TEST(IsoTimeReader, OtherTextsAreNoTimes)
{
    for (const char *text : {"",
                             "2019",
                             "2019-03",
                             "2019-3-2",
                             "2019-13-01",
                             "2019-00-01",
                             "2019-02-29",
                             "2019-04-31",
                             "2019-01-00",
                             "1600-12-31",
                             "2019-03-02Z",
                             "2019-03-02T",
                             "2019-03-02T10",
                             "2019-03-02 10:00",
                             "2019-03-02T24:00",
                             "2019-03-02T10:60",
                             "2019-03-02T10:00:60",
                             "2019-03-02T10:00:00.Z",
                             "2019-03-02T10:00z",
                             "2019-03-02T10:00+1",
                             "2019-03-02T10:00+01:",
                             "2019-03-02T10:00+01:60",
                             "2019-03-02T10:00Z ",
                             "02.03.2019",
                             "-2019-03-02",
                             "today"})
        EXPECT_FALSE(ReadIsoTime(text)) << text;
    EXPECT_EQ(Utc("2020-02-29T00:00Z"), "2020-02-29T00:00:00.0000000Z");
}

}  // namespace
}  // namespace vx
