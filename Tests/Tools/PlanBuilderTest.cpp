// What is read from a volume for an export, and how often.
#include "PlanBuilder.h"
#include "ScriptedVolume.h"

#include <gtest/gtest.h>
#include <set>

namespace vx {
namespace {

class Planning : public ::testing::Test {
protected:
    using Number = ExportPlan::Number;
    using Paths = std::vector<std::u16string>;

    bool Build(const std::vector<std::string> &paths = {}, const PlanFilter &filter = nullptr)
    {
        _planned = PlannedExport();
        return PlanBuilder(_volume, _reports, filter).Build(paths, &_planned, &_error);
    }
    // In the plan's order, without the root.
    Paths Planned(uint8_t flag = 0) const
    {
        Paths paths;
        const ExportPlan &plan = _planned.plan;
        for (Number n = plan.Next(ExportPlan::kRoot); n != ExportPlan::kNone; n = plan.Next(n)) {
            if (flag == 0 || plan.At(n).Has(flag))
                paths.push_back(plan.PathOf(n));
        }
        return paths;
    }
    // The patterns of all listings.
    std::multiset<std::u16string> Listed() const
    {
        std::multiset<std::u16string> patterns;
        for (const VolumeCall &call : _volume.Calls(VolumeOperation::kFindFirstFile))
            patterns.insert(call.path);
        return patterns;
    }

    ScriptedVolume _volume;
    VolumeReports _reports{nullptr, _volume};
    PlannedExport _planned;
    std::string _error;
};

TEST_F(Planning, TheWholeVolumeIsPlannedInItsOwnOrder)
{
    _volume.Root().Folder(u"b").File(u"z", 1);
    _volume.Root().File(u"a", 2);
    _volume.Root().Folder(u"empty");
    ASSERT_TRUE(Build());
    EXPECT_EQ(Planned(), (Paths{u"/b", u"/b/z", u"/a", u"/empty"}));
    EXPECT_EQ(_planned.files, 2);
    EXPECT_EQ(_planned.bytes, 3);
    EXPECT_TRUE(Planned(PlanEntry::kIsNamed | PlanEntry::kIsWay).empty());
    EXPECT_FALSE(_planned.plan.At(ExportPlan::kRoot).Has(PlanEntry::kIsWay));
    EXPECT_EQ(_volume.OpenHandles(), 0u);
}

TEST_F(Planning, WhatIsNamedIsPlannedWithTheFoldersOnTheWay)
{
    ScriptedEntry &a = _volume.Root().Folder(u"a");
    a.Folder(u"in").File(u"deep", 1);
    a.File(u"beside", 1);
    _volume.Root().File(u"other", 1);
    ASSERT_TRUE(Build({"/a/in", "other"}));
    EXPECT_EQ(Planned(), (Paths{u"/a", u"/a/in", u"/a/in/deep", u"/other"}));
    EXPECT_EQ(Planned(PlanEntry::kIsWay), (Paths{u"/a"}));
    EXPECT_EQ(Planned(PlanEntry::kIsNamed), (Paths{u"/a/in", u"/other"}));
}

TEST_F(Planning, WhatLiesInANamedFolderIsPlannedOnce)
{
    ScriptedEntry &a = _volume.Root().Folder(u"a");
    a.File(u"one", 1);
    a.File(u"two", 1);
    for (const std::vector<std::string> &paths :
         {std::vector<std::string>{"/a/one", "/a", "a/", "//a//two"},
          std::vector<std::string>{"a", "/a/two"}, std::vector<std::string>{"/a/one", "/"}}) {
        ASSERT_TRUE(Build(paths));
        EXPECT_EQ(Planned(), (Paths{u"/a", u"/a/one", u"/a/two"}));
        EXPECT_EQ(_planned.files, 2);
    }
}

TEST_F(Planning, NoFolderIsListedTwice)
{
    ScriptedEntry &a = _volume.Root().Folder(u"a");
    a.Folder(u"b").File(u"one", 1);
    a.Folder(u"b").File(u"never reached", 1);
    _volume.Root().Folder(u"c");
    ASSERT_TRUE(Build({"/a/b/one", "/a", "/c"}));
    EXPECT_EQ(Listed(), (std::multiset<std::u16string>{u"/*", u"/a/*", u"/a/b/*", u"/c/*"}));
}

TEST_F(Planning, ThePathsOfTheCommandLineAreExact)
{
    _volume.Root().Folder(u"a").File(u"one", 1);
    EXPECT_FALSE(Build({"/A"}));
    EXPECT_EQ(_error, "not on the volume: /A");
    EXPECT_FALSE(Build({"/a/one/two"}));
    EXPECT_EQ(_error, "a file and not a folder is on the way to /a/one/two");
    EXPECT_FALSE(Build({"/a/\xff"}));
    EXPECT_EQ(_error, "not valid UTF-8: /a/\xff");
    _volume.AtCall(VolumeOperation::kFindFirstFile,
                   _volume.Count(VolumeOperation::kFindFirstFile) + 2, Fault::kFail);
    EXPECT_FALSE(Build({"/a/one"}));
    EXPECT_EQ(_error, "a folder cannot be listed on the way to /a/one");
}

TEST_F(Planning, FoldersThatLeadNowhereAreNotEntered)
{
    for (const char16_t *name : {u".", u"..", u"", u"\xd800"})
        _volume.Root().Folder(name).File(u"inside", 1);
    ASSERT_TRUE(Build());
    EXPECT_EQ(Planned(), (Paths{u"/.", u"/..", u"/", u"/\xd800"}));
    EXPECT_EQ(Planned(PlanEntry::kIsUnlistable), (Paths{u"/", u"/\xd800"}));
}

TEST_F(Planning, OfEqualNamesTheLaterOnesAreMarkedAndNotEntered)
{
    _volume.Root().File(u"a", 1);
    _volume.Root().Folder(u"f").File(u"inside", 1);
    _volume.Root().File(u"a", 2);
    _volume.Root().Folder(u"f");
    _volume.Root().File(u"b", 1);
    ASSERT_TRUE(Build());
    EXPECT_EQ(Planned(), (Paths{u"/a", u"/f", u"/f/inside", u"/a", u"/f", u"/b"}));
    EXPECT_EQ(Planned(PlanEntry::kIsRepeated), (Paths{u"/a", u"/f"}));
    EXPECT_EQ(Listed().count(u"/f/*"), 1u);
}

TEST_F(Planning, AFolderThatCannotBeListedIsMarkedAndTheRestIsPlanned)
{
    _volume.Root().Folder(u"closed").File(u"inside", 1);
    _volume.Root().File(u"good", 1);
    _volume.AtCall(VolumeOperation::kFindFirstFile, 2, Fault::kFail);
    ASSERT_TRUE(Build());
    EXPECT_EQ(Planned(), (Paths{u"/closed", u"/good"}));
    EXPECT_EQ(Planned(PlanEntry::kIsUnlistable), (Paths{u"/closed"}));
}

TEST_F(Planning, AVolumeWhoseFoldersNeverEndIsPlannedToItsLongestPath)
{
    _volume.KeepNoCalls();
    _volume.Root().Folder(u"quite a long name for a folder").Endless();
    ASSERT_TRUE(Build());
    EXPECT_EQ(Planned(PlanEntry::kIsUnlistable).size(), 1u);
}

TEST_F(Planning, AFilterSeesPathsAndEntersNoFolderThatItLeavesOut)
{
    ScriptedEntry &a = _volume.Root().Folder(u"a");
    a.File(u"keep", 1);
    a.File(u"drop", 1);
    _volume.Root().Folder(u"closed").File(u"inside", 1);
    Paths seen;
    ASSERT_TRUE(Build({}, [&seen](const std::u16string &path, const PlanEntry &entry) {
        seen.push_back(path);
        EXPECT_EQ(entry.IsFolder(), path == u"/a" || path == u"/closed");
        return path != u"/a/drop" && path != u"/closed";
    }));
    EXPECT_EQ(seen, (Paths{u"/a", u"/closed", u"/a/keep", u"/a/drop"}));
    EXPECT_EQ(Planned(), (Paths{u"/a", u"/a/keep"}));
    EXPECT_EQ(Planned(PlanEntry::kIsThinned), (Paths{u"/a"}));
    EXPECT_EQ(_planned.files, 1);
    EXPECT_EQ(Listed().count(u"/closed/*"), 0u);
}

TEST_F(Planning, WhatIsNamedIsFilteredAndTheFoldersOnTheWayAreNot)
{
    _volume.Root().Folder(u"a").File(u"one", 1);
    Paths seen;
    ASSERT_TRUE(Build({"/a/one"}, [&seen](const std::u16string &path, const PlanEntry &) {
        seen.push_back(path);
        return false;
    }));
    EXPECT_EQ(seen, (Paths{u"/a/one"}));
    EXPECT_EQ(Planned(), (Paths{u"/a"}));
}

TEST_F(Planning, TheRecordOfAnEntryIsInThePlan)
{
    _volume.Root().File(u"f", 5).Attributes(0x21).Modified(12345);
    ASSERT_TRUE(Build());
    const PlanEntry &entry = _planned.plan.At(1);
    EXPECT_EQ(entry.size, 5);
    EXPECT_EQ(entry.attributes, 0x21u);
    EXPECT_EQ(entry.modified, 12345u);
    EXPECT_FALSE(entry.IsFolder());
}

}  // namespace
}  // namespace vx
