#include "NameMapping.h"

#include <gtest/gtest.h>
#include <map>
#include <random>

namespace vx {
namespace {

std::u16string Mapped(const std::string &name)
{
    char16_t units[540];
    NameToUtf16(name.c_str(), units, 540);
    return units;
}

std::optional<std::string> MappedBack(const std::u16string &units)
{
    std::string bytes;
    const bool valid = AppendNameBytes(units.data(), units.size(), &bytes);
    return valid ? std::optional(bytes) : std::nullopt;
}

TEST(NameMapping, AnAsciiNameIsKept)
{
    EXPECT_EQ(Mapped("summary.txt"), u"summary.txt");
    EXPECT_EQ(MappedBack(u"summary.txt"), "summary.txt");
}

TEST(NameMapping, NamesOfSeveralScriptsAreConverted)
{
    EXPECT_EQ(Mapped("Grüße"), u"Grüße");
    EXPECT_EQ(Mapped("Отчёт"), u"Отчёт");
    EXPECT_EQ(Mapped("報告書"), u"報告書");
    EXPECT_EQ(MappedBack(u"Grüße Отчёт 報告書"), "Grüße Отчёт 報告書");
}

TEST(NameMapping, ACharacterBeyondTheBasicPlaneIsASurrogatePair)
{
    EXPECT_EQ(Mapped("\xF0\x9F\x98\x80"), u"\xD83D\xDE00");
    EXPECT_EQ(MappedBack(u"\xD83D\xDE00"), "\xF0\x9F\x98\x80");
}

TEST(NameMapping, TheFirstAndLastCharacterOfEachLengthAreConverted)
{
    EXPECT_EQ(Mapped("\x01\x7F\xC2\x80\xDF\xBF"), u"\x01\x7F\x80\x7FF");
    EXPECT_EQ(Mapped("\xE0\xA0\x80\xEF\xBF\xBF"), u"\x800\xFFFF");
    EXPECT_EQ(Mapped("\xF0\x90\x80\x80\xF4\x8F\xBF\xBF"), u"\xD800\xDC00\xDBFF\xDFFF");
    EXPECT_EQ(MappedBack(u"\xD800\xDC00\xDBFF\xDFFF"), "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
}

TEST(NameMapping, AByteThatIsNotUtf8BecomesItsPrivateUseUnit)
{
    EXPECT_EQ(Mapped("a\xE9.txt"), u"a\xEFE9.txt");
    EXPECT_EQ(MappedBack(u"a\xEFE9.txt"), "a\xE9.txt");
}

TEST(NameMapping, ASequenceThatTheNameCutsShortIsEscapedByteByByte)
{
    EXPECT_EQ(Mapped("\xE2\x82"), u"\xEFE2\xEF82");
    EXPECT_EQ(Mapped("\xF0\x9F\x98z"), u"\xEFF0\xEF9F\xEF98z");
}

TEST(NameMapping, AnOverlongFormIsEscapedByteByByte)
{
    EXPECT_EQ(Mapped("\xC0\xAF"), u"\xEFC0\xEFAF");
    EXPECT_EQ(Mapped("\xE0\x80\xAF"), u"\xEFE0\xEF80\xEFAF");
    EXPECT_EQ(Mapped("\xF0\x80\x80\xAF"), u"\xEFF0\xEF80\xEF80\xEFAF");
}

TEST(NameMapping, AnEncodedSurrogateIsEscapedByteByByte)
{
    EXPECT_EQ(Mapped("\xED\xA0\x80"), u"\xEFED\xEFA0\xEF80");
}

TEST(NameMapping, ACharacterBeyondTheLastOneIsEscapedByteByByte)
{
    EXPECT_EQ(Mapped("\xF4\x90\x80\x80"), u"\xEFF4\xEF90\xEF80\xEF80");
    EXPECT_EQ(Mapped("\xF8\x88\x80\x80"), u"\xEFF8\xEF88\xEF80\xEF80");
}

TEST(NameMapping, TheCharactersThatStandForBytesAreThemselvesEscaped)
{
    EXPECT_EQ(Mapped("\xEE\xBE\x80"), u"\xEFEE\xEFBE\xEF80");
    EXPECT_EQ(Mapped("\xEE\xBF\xBF"), u"\xEFEE\xEFBF\xEFBF");
    EXPECT_EQ(MappedBack(u"\xEFEE\xEFBF\xEFBF"), "\xEE\xBF\xBF");
}

TEST(NameMapping, TheNeighboursOfThoseCharactersAreConverted)
{
    EXPECT_EQ(Mapped("\xEE\xBD\xBF\xEF\x80\x80"), u"\xEF7F\xF000");
    EXPECT_EQ(MappedBack(u"\xEF7F\xF000"), "\xEE\xBD\xBF\xEF\x80\x80");
}

void ExpectOneToOne(const std::string &name, std::map<std::u16string, std::string> *names)
{
    const std::u16string units = Mapped(name);
    EXPECT_EQ(MappedBack(units), name);
    EXPECT_EQ(names->emplace(units, name).first->second, name);
}

TEST(NameMapping, EveryNameOfTwoBytesComesBackAndIsLikeNoOther)
{
    std::map<std::u16string, std::string> names;
    for (int first = 1; first < 256; ++first) {
        for (int second = 1; second < 256; ++second)
            ExpectOneToOne({static_cast<char>(first), static_cast<char>(second)}, &names);
    }
}

TEST(NameMapping, LongerNamesOfTroublesomeBytesComeBackAndAreLikeNoOther)
{
    constexpr char kBytes[] = "\xEE\xBE\xBF\x80\xED\xA0\xF0\x9F\xC3\xA9\xFF/a";
    std::mt19937 random(7);
    std::map<std::u16string, std::string> names;
    for (int i = 0; i < 50000; ++i) {
        std::string name;
        for (size_t length = 1 + random() % 8; length > 0; --length)
            name.push_back(kBytes[random() % (sizeof kBytes - 1)]);
        ExpectOneToOne(name, &names);
    }
}

TEST(NameMapping, ASurrogateThatStandsAloneIsRefused)
{
    EXPECT_EQ(MappedBack(u"a\xD800z"), std::nullopt);
    EXPECT_EQ(MappedBack(u"a\xDC00z"), std::nullopt);
    EXPECT_EQ(MappedBack(u"a\xD800"), std::nullopt);
    EXPECT_EQ(MappedBack(u"\xD800\xD800\xDC00"), std::nullopt);
}

TEST(NameMapping, ANameTooLongIsCutAndEndsWithZero)
{
    char16_t units[5] = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    NameToUtf16("abcdef", units, 4);
    EXPECT_EQ(std::u16string(units), u"abc");
    EXPECT_EQ(units[4], 0xFFFF);
}

TEST(NameMapping, ASurrogatePairIsNotCutInTwo)
{
    char16_t units[4];
    NameToUtf16("ab\xF0\x9F\x98\x80", units, 4);
    EXPECT_EQ(std::u16string(units), u"ab");
}

}  // namespace
}  // namespace vx
