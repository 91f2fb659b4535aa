#include "VolumePath.h"

#include <gtest/gtest.h>

namespace vx {
namespace {

std::optional<std::string> File(const std::u16string &path)
{
    const auto checked = VolumePath::FromFile(path.c_str());
    return checked ? std::optional(checked->Relative()) : std::nullopt;
}

std::optional<std::string> Pattern(const std::u16string &pattern)
{
    const auto checked = VolumePath::FromPattern(pattern.c_str());
    return checked ? std::optional(checked->Relative()) : std::nullopt;
}

std::u16string PathOfUnits(size_t units)
{
    return u"/" + std::u16string(units - 1, u'a');
}

TEST(VolumePath, AFileIsNamedFromTheRoot)
{
    EXPECT_EQ(File(u"/Reports/2019/summary.txt"), "Reports/2019/summary.txt");
}

TEST(VolumePath, APatternNamesTheFolderInFrontOfIt)
{
    EXPECT_EQ(Pattern(u"/Reports/2019/*"), "Reports/2019");
}

TEST(VolumePath, ThePatternOfTheRootNamesTheRoot)
{
    EXPECT_EQ(Pattern(u"/*"), "");
}

TEST(VolumePath, OnlyTheStarIsAPattern)
{
    EXPECT_EQ(Pattern(u"/Reports"), std::nullopt);
    EXPECT_EQ(Pattern(u"/Reports/"), std::nullopt);
    EXPECT_EQ(Pattern(u"/Reports*"), std::nullopt);
    EXPECT_EQ(Pattern(u"/Reports/*.txt"), std::nullopt);
    EXPECT_EQ(Pattern(u"/Reports/**"), std::nullopt);
    EXPECT_EQ(Pattern(u"*"), std::nullopt);
    EXPECT_EQ(Pattern(u""), std::nullopt);
}

TEST(VolumePath, ANullTextIsRefused)
{
    EXPECT_FALSE(VolumePath::FromFile(nullptr));
    EXPECT_FALSE(VolumePath::FromPattern(nullptr));
}

TEST(VolumePath, APathWithoutTheLeadingSlashIsRefused)
{
    EXPECT_EQ(File(u"a.txt"), std::nullopt);
    EXPECT_EQ(Pattern(u"Reports/*"), std::nullopt);
}

TEST(VolumePath, AComponentOfOneOrTwoDotsIsRefused)
{
    for (const char16_t *path : {u"/.", u"/..", u"/a/.", u"/a/..", u"/./a", u"/../a", u"/a/../b"}) {
        EXPECT_EQ(File(path), std::nullopt);
        EXPECT_EQ(Pattern(std::u16string(path) + u"/*"), std::nullopt);
    }
}

TEST(VolumePath, AComponentThatOnlyBeginsWithDotsIsTaken)
{
    EXPECT_EQ(File(u"/.../..a/.b/c.."), ".../..a/.b/c..");
}

TEST(VolumePath, AnEmptyComponentIsRefused)
{
    for (const char16_t *path : {u"/", u"//", u"//a", u"/a//b", u"/a/"}) {
        EXPECT_EQ(File(path), std::nullopt);
        EXPECT_EQ(Pattern(std::u16string(path) + u"/*"), std::nullopt);
    }
}

TEST(VolumePath, AStarInAFileNameIsAName)
{
    EXPECT_EQ(File(u"/a/*"), "a/*");
    EXPECT_EQ(Pattern(u"/*/*"), "*");
}

TEST(VolumePath, ASurrogateThatStandsAloneIsRefused)
{
    EXPECT_EQ(File(u"/a\xD800"), std::nullopt);
    EXPECT_EQ(Pattern(u"/a\xDC00/*"), std::nullopt);
}

TEST(VolumePath, APathOfTheGreatestLengthIsTakenAndALongerOneRefused)
{
    EXPECT_TRUE(File(PathOfUnits(VolumePath::kMaxUnits)));
    EXPECT_EQ(File(PathOfUnits(VolumePath::kMaxUnits + 1)), std::nullopt);
}

TEST(VolumePath, ParentNameAndJoinTakeAPathApartAndTogether)
{
    EXPECT_EQ(ParentOfRelative("a/b/c"), "a/b");
    EXPECT_EQ(NameOfRelative("a/b/c"), "c");
    EXPECT_EQ(JoinRelative("a/b", "c"), "a/b/c");
    EXPECT_EQ(ParentOfRelative("c"), "");
    EXPECT_EQ(NameOfRelative("c"), "c");
    EXPECT_EQ(JoinRelative("", "c"), "c");
}

}  // namespace
}  // namespace vx
