// Which folders an export makes although no file brings them.
#include "ExportFolders.h"
#include "ScriptedVolume.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace vx {
namespace {

class MadeFolders : public ::testing::Test {
protected:
    using Number = ExportPlan::Number;

    Number AddFolder(Number folder, const std::u16string &name, uint8_t flags = 0)
    {
        PlanEntry entry;
        entry.flags = PlanEntry::kIsFolder | flags;
        return _plan.Add(folder, entry, name);
    }
    void Make()
    {
        DestinationTree tree("");
        ASSERT_TRUE(tree.Open(_folder.Path()));
        const PlanNames names(_plan, DestinationTraits());
        Arrivals arrivals(_plan);
        ExportStop stop(_observed);
        ExportFolders(_plan, tree, names).MakeMissing(stop, &arrivals);
    }
    bool IsThere(const std::string &path) const
    {
        return access(_folder.At(path).c_str(), F_OK) == 0;
    }

    static constexpr Number kRoot = ExportPlan::kRoot;

    TemporaryFolder _folder;
    ScriptedVolume _volume;
    VolumeReports _reports{nullptr, _volume};
    ObservedVolume _observed{_volume, _reports};
    ExportPlan _plan;
};

TEST_F(MadeFolders, AFolderThatAFilterHasEmptiedIsNotMade)
{
    const Number thinned = AddFolder(kRoot, u"thinned", PlanEntry::kIsThinned);
    const Number above = AddFolder(kRoot, u"above", PlanEntry::kIsThinned);
    AddFolder(kRoot, u"empty");
    AddFolder(thinned, u"in", PlanEntry::kIsThinned);
    AddFolder(above, u"empty");
    Make();
    EXPECT_FALSE(IsThere("thinned"));
    EXPECT_TRUE(IsThere("above/empty"));
    EXPECT_TRUE(IsThere("empty"));
}

TEST_F(MadeFolders, AFolderThatOnlyLeadsToWhatIsNotExportedIsNotMade)
{
    AddFolder(kRoot, u"way", PlanEntry::kIsWay);
    Make();
    EXPECT_FALSE(IsThere("way"));
}

TEST_F(MadeFolders, AThinnedFolderWithAFileThatFailedIsMade)
{
    const Number thinned = AddFolder(kRoot, u"thinned", PlanEntry::kIsThinned);
    _plan.Add(thinned, PlanEntry(), u"failed");
    Make();
    EXPECT_TRUE(IsThere("thinned"));
}

TEST_F(MadeFolders, WhatCannotBeEnteredIsNotMadeEmpty)
{
    AddFolder(kRoot, u"unlistable", PlanEntry::kIsUnlistable);
    AddFolder(kRoot, u"repeated", PlanEntry::kIsRepeated);
    AddFolder(kRoot, u".");
    Make();
    EXPECT_FALSE(IsThere("unlistable"));
    EXPECT_FALSE(IsThere("repeated"));
    EXPECT_FALSE(IsThere("_"));
}

}  // namespace
}  // namespace vx
