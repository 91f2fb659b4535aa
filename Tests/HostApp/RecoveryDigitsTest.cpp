// A recovery password while it is typed. The example is the one that Microsoft Learn shows for
// manage-bde; the limits are those of Win32_EncryptableVolume.
#include "RecoveryDigits.h"

#include <gtest/gtest.h>

namespace {

constexpr char16_t kExample[] = u"111111-222222-333333-444444-555555-666666-000000-000011";

std::string Grouped(const std::u16string &typed)
{
    return vx::GroupRecoveryDigits(typed, typed.size()).text;
}

TEST(RecoveryDigits, DigitsAreGroupedInSixes)
{
    EXPECT_EQ(Grouped(u""), "");
    EXPECT_EQ(Grouped(u"123456"), "123456");
    EXPECT_EQ(Grouped(u"1234567"), "123456-7");
    EXPECT_EQ(Grouped(u"123456-"), "123456");
    EXPECT_EQ(Grouped(u"1-2 3x4"), "1234");
}

TEST(RecoveryDigits, PastedTextMayHaveAnyMarksBetweenAndFullWidthDigits)
{
    EXPECT_EQ(Grouped(u"１２３４５６７"), "123456-7");
    EXPECT_EQ(Grouped(u"111111 222222\n333333"), "111111-222222-333333");
    EXPECT_EQ(Grouped(u"111111–222222"), "111111-222222");
}

TEST(RecoveryDigits, TheCursorStaysBehindItsDigit)
{
    EXPECT_EQ(vx::GroupRecoveryDigits(u"1234567", 7).cursor, 8u);
    EXPECT_EQ(vx::GroupRecoveryDigits(u"1234567", 6).cursor, 6u);
    EXPECT_EQ(vx::GroupRecoveryDigits(u"1234567", 0).cursor, 0u);
    // Typed in the middle: what follows moves into the next group.
    EXPECT_EQ(vx::GroupRecoveryDigits(u"1239456-789", 4).cursor, 4u);
    EXPECT_EQ(vx::GroupRecoveryDigits(u"1239456-789", 4).text, "123945-6789");
}

TEST(RecoveryDigits, AGroupThatIsNoMultipleOfElevenIsWrong)
{
    const auto digits = vx::GroupRecoveryDigits(u"111111-222223-333333", 0);
    EXPECT_EQ(digits.WrongGroups(), std::vector<size_t>{2});
    EXPECT_EQ(digits.groups[1].begin, 7u);
    EXPECT_EQ(digits.groups[1].length, 6u);
}

TEST(RecoveryDigits, AGroupFrom720896OnIsWrong)
{
    // Both are multiples of 11.
    EXPECT_TRUE(vx::GroupRecoveryDigits(u"720885", 0).WrongGroups().empty());
    EXPECT_FALSE(vx::GroupRecoveryDigits(u"720896", 0).WrongGroups().empty());
}

TEST(RecoveryDigits, AnUnfinishedGroupIsWrongOnlyIfNothingCanMakeItRight)
{
    EXPECT_TRUE(vx::GroupRecoveryDigits(u"72", 0).WrongGroups().empty());
    EXPECT_FALSE(vx::GroupRecoveryDigits(u"73", 0).WrongGroups().empty());
    EXPECT_TRUE(vx::GroupRecoveryDigits(u"11111", 0).WrongGroups().empty());
}

TEST(RecoveryDigits, OnlyEightRightGroupsAreComplete)
{
    const std::u16string whole = kExample;
    EXPECT_TRUE(vx::GroupRecoveryDigits(whole, 0).IsComplete());
    EXPECT_FALSE(vx::GroupRecoveryDigits(whole.substr(0, whole.size() - 1), 0).IsComplete());
    EXPECT_FALSE(vx::GroupRecoveryDigits(whole + u"1", 0).IsComplete());
    std::u16string mistyped = whole;
    mistyped[0] = u'2';
    EXPECT_FALSE(vx::GroupRecoveryDigits(mistyped, 0).IsComplete());
}

TEST(RecoveryDigits, WhatIsTooMuchStaysOnViewAndIsWrong)
{
    const auto digits = vx::GroupRecoveryDigits(std::u16string(kExample) + u"-000000", 0);
    EXPECT_EQ(digits.groups.size(), 9u);
    EXPECT_EQ(digits.WrongGroups(), std::vector<size_t>{9});
    const auto endless = vx::GroupRecoveryDigits(std::u16string(1000000, u'1'), 0);
    EXPECT_EQ(endless.groups.size(), 16u);
}

}  // namespace
