// The compact tree of what an export is to copy.
#include "ExportPlan.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

namespace vx {
namespace {

class Plan : public ::testing::Test {
protected:
    using Number = ExportPlan::Number;

    Number AddFile(Number folder, const std::u16string &name)
    {
        return _plan.Add(folder, PlanEntry(), name);
    }
    Number AddFolder(Number folder, const std::u16string &name)
    {
        PlanEntry entry;
        entry.flags = PlanEntry::kIsFolder;
        return _plan.Add(folder, entry, name);
    }
    std::vector<std::u16string> Walk() const
    {
        std::vector<std::u16string> paths;
        for (Number n = ExportPlan::kRoot; n != ExportPlan::kNone; n = _plan.Next(n))
            paths.push_back(_plan.PathOf(n));
        return paths;
    }

    ExportPlan _plan;
};

TEST_F(Plan, AnEmptyPlanHoldsItsRoot)
{
    EXPECT_EQ(_plan.Size(), 1u);
    EXPECT_EQ(Walk(), (std::vector<std::u16string>{u""}));
    EXPECT_TRUE(_plan.At(ExportPlan::kRoot).IsFolder());
}

TEST_F(Plan, AWalkVisitsAFolderBeforeWhatItHoldsAndThenWhatFollowsIt)
{
    const Number a = AddFolder(ExportPlan::kRoot, u"a");
    AddFile(ExportPlan::kRoot, u"b");
    const Number c = AddFolder(ExportPlan::kRoot, u"c");
    AddFile(c, u"in c");
    const Number inner = AddFolder(a, u"inner");
    AddFile(a, u"file");
    AddFile(inner, u"deep");
    EXPECT_EQ(Walk(), (std::vector<std::u16string>{u"", u"/a", u"/a/inner", u"/a/inner/deep",
                                                   u"/a/file", u"/b", u"/c", u"/c/in c"}));
}

TEST_F(Plan, WhatLiesInAFolderCanBeLeftOut)
{
    const Number a = AddFolder(ExportPlan::kRoot, u"a");
    const Number b = AddFile(ExportPlan::kRoot, u"b");
    AddFile(a, u"inside");
    EXPECT_EQ(_plan.NextBeside(a), b);
    EXPECT_EQ(_plan.NextBeside(b), ExportPlan::kNone);
}

TEST_F(Plan, NamesOfManyPiecesStayAsTheyWereGiven)
{
    std::vector<std::u16string> names;
    std::vector<Number> numbers;
    std::vector<std::u16string_view> views;
    for (int i = 0; i < 2000; ++i) {
        names.push_back(std::u16string(static_cast<size_t>(i % 300), u'n') +
                        static_cast<char16_t>(0x4e00 + i));
        numbers.push_back(AddFile(ExportPlan::kRoot, names.back()));
        views.push_back(_plan.NameOf(numbers.back()));
    }
    for (size_t i = 0; i < names.size(); ++i) {
        ASSERT_EQ(_plan.NameOf(numbers[i]), names[i]) << i;
        ASSERT_EQ(views[i], names[i]) << i;
    }
}

TEST_F(Plan, AnEntryTakesNoMoreThanACacheLine)
{
    EXPECT_LE(sizeof(PlanEntry), 64u);
}

TEST_F(Plan, ALinkIsWhatLeadsElsewhere)
{
    PlanEntry entry;
    EXPECT_FALSE(entry.IsLink());
    entry.attributes = 0x400;
    EXPECT_TRUE(entry.IsLink()) << "a reparse point of a volume that does not report the tag";
    entry.reparseTag = 0xA000000C;
    EXPECT_TRUE(entry.IsLink());
    entry.reparseTag = 0x80000017;
    EXPECT_FALSE(entry.IsLink()) << "a packed file";
}

}  // namespace
}  // namespace vx
