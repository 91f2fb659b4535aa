// The names that entries of a plan get in the destination, chosen before anything is copied.
#include "PlanNames.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace vx {
namespace {

constexpr size_t kLongest = 255;

std::string Repeated(const std::string &text, size_t count)
{
    std::string all;
    for (size_t i = 0; i < count; ++i)
        all += text;
    return all;
}

class PlannedNames : public ::testing::Test {
protected:
    using Number = ExportPlan::Number;

    Number AddFile(const std::u16string &name, Number folder = ExportPlan::kRoot)
    {
        return _plan.Add(folder, PlanEntry(), name);
    }
    Number AddFolder(const std::u16string &name, Number folder = ExportPlan::kRoot)
    {
        PlanEntry entry;
        entry.flags = PlanEntry::kIsFolder;
        return _plan.Add(folder, entry, name);
    }
    std::string PathOf(Number number)
    {
        return PlanNames(_plan, kLongest).PathOf(number, &_isChanged);
    }

    ExportPlan _plan;
    bool _isChanged = false;
};

TEST_F(PlannedNames, AnOrdinaryPathIsTheVolumesOwn)
{
    const Number folder = AddFolder(u"Re\u00e9ports");
    const Number file = AddFile(u"\u65e5 \U0001F600.txt", folder);
    EXPECT_EQ(PathOf(file), "Re\u00e9ports/\u65e5 \U0001F600.txt");
    EXPECT_FALSE(_isChanged);
    EXPECT_EQ(PathOf(ExportPlan::kRoot), "");
}

TEST_F(PlannedNames, ABackslashSeparatesFoldersAndIsNoChange)
{
    EXPECT_EQ(PathOf(AddFile(u"a\\b/c.txt")), "a/b/c.txt");
    EXPECT_FALSE(_isChanged);
}

TEST_F(PlannedNames, EmptyNamesAndDotsBetweenSeparatorsAreLeftOut)
{
    EXPECT_EQ(PathOf(AddFile(u"\\a\\\\.\\b")), "a/b");
    EXPECT_FALSE(_isChanged);
}

TEST_F(PlannedNames, ANameThatLeadsUpHasNoPlaceNorHasWhatItHolds)
{
    const Number up = AddFolder(u"..");
    const Number inside = AddFile(u"a", up);
    const Number hidden = AddFile(u"a\\..\\..\\b", up);
    EXPECT_EQ(PathOf(up), "");
    EXPECT_EQ(PathOf(inside), "");
    EXPECT_EQ(PathOf(hidden), "");
}

TEST_F(PlannedNames, ALongNameThatLeadsUpHasNoPlaceEither)
{
    EXPECT_EQ(PathOf(AddFile(u"..\\" + std::u16string(300, u'x'))), "");
}

TEST_F(PlannedNames, ANameThatIsNotTextHasNoPlace)
{
    EXPECT_EQ(PathOf(AddFile(u"a\xD800z")), "");
    EXPECT_EQ(PathOf(AddFile(std::u16string(u"a\0z", 3))), "");
}

TEST_F(PlannedNames, LongNamesAreCutAtACharacterAndStayUniqueAndKeepTheirExtension)
{
    const std::u16string name(250, u'\u00e9');
    const Number first = AddFile(name + u"1.txt");
    const Number second = AddFile(name + u"2.txt");
    const Number folder = AddFolder(std::u16string(255, u'\u65e5'));
    const Number inside = AddFile(u"inside.txt", folder);
    const std::string start = Repeated("\u00e9", 124);
    EXPECT_EQ(PathOf(first), start + "~1.txt");
    EXPECT_EQ(PathOf(second), start + "~2.txt");
    EXPECT_TRUE(_isChanged);
    EXPECT_EQ(PathOf(inside), Repeated("\u65e5", 84) + "~1/inside.txt");
    EXPECT_TRUE(_isChanged);
}

TEST_F(PlannedNames, ANameThatJustFitsStays)
{
    EXPECT_EQ(PathOf(AddFile(std::u16string(255, u'x'))), std::string(255, 'x'));
    EXPECT_FALSE(_isChanged);
    EXPECT_EQ(PathOf(AddFile(std::u16string(256, u'x'))), std::string(253, 'x') + "~1");
    EXPECT_TRUE(_isChanged);
}

TEST_F(PlannedNames, ACutNameLeavesTheNamesOfOthersAlone)
{
    const Number cut = AddFile(std::u16string(250, u'\u00e9') + u".txt");
    const Number taken = AddFile(std::u16string(124, u'\u00e9') + u"~1.txt");
    EXPECT_EQ(PathOf(cut), Repeated("\u00e9", 124) + "~2.txt");
    EXPECT_EQ(PathOf(taken), Repeated("\u00e9", 124) + "~1.txt");
}

TEST_F(PlannedNames, ANameOfBackslashesHasAPlaceInItsFolder)
{
    const Number one = AddFile(u"\\");
    const Number two = AddFile(u"\\\\");
    const Number none = AddFile(u"");
    const Number folder = AddFolder(u"f");
    const Number inside = AddFile(u"\\", folder);
    EXPECT_EQ(PathOf(one), "_");
    EXPECT_EQ(PathOf(two), "_~1");
    EXPECT_EQ(PathOf(none), "_~2");
    EXPECT_EQ(PathOf(inside), "f/_");
    EXPECT_TRUE(_isChanged);
}

TEST_F(PlannedNames, APlaceholderLeavesAFileOfThatNameAlone)
{
    const Number backslash = AddFile(u"\\");
    const Number taken = AddFile(u"_");
    EXPECT_EQ(PathOf(backslash), "_~1");
    EXPECT_EQ(PathOf(taken), "_");
}

TEST_F(PlannedNames, ALongFolderBeforeABackslashIsTheSameForAllThatItHolds)
{
    const std::u16string folder(300, u'x');
    const Number one = AddFile(folder + u"\\one");
    const Number two = AddFile(folder + u"\\two");
    EXPECT_EQ(PathOf(one), std::string(253, 'x') + "~1/one");
    EXPECT_EQ(PathOf(two), std::string(253, 'x') + "~1/two");
}

TEST_F(PlannedNames, EachFolderCountsItsOwnCutNames)
{
    const Number a = AddFolder(u"a");
    const Number b = AddFolder(u"b");
    const Number first = AddFile(std::u16string(300, u'x'), a);
    const Number second = AddFile(std::u16string(300, u'x'), b);
    EXPECT_EQ(PathOf(first), "a/" + std::string(253, 'x') + "~1");
    EXPECT_EQ(PathOf(second), "b/" + std::string(253, 'x') + "~1");
}

TEST_F(PlannedNames, SeveralThreadsGetTheSameNames)
{
    std::vector<std::string> expected;
    for (int i = 0; i < 200; ++i) {
        const std::u16string end(1, static_cast<char16_t>(u'\u0100' + i));
        AddFile(i % 2 == 0 ? end : std::u16string(255, u'\u00e9') + end);
    }
    const PlanNames names(_plan, kLongest);
    for (Number number = 1; number < _plan.Size(); ++number)
        expected.push_back(names.PathOf(number, &_isChanged));
    std::vector<std::vector<std::string>> found(4);
    std::vector<std::thread> threads;
    for (std::vector<std::string> &paths : found) {
        threads.emplace_back([&] {
            bool isChanged = false;
            for (Number number = 1; number < _plan.Size(); ++number)
                paths.push_back(names.PathOf(number, &isChanged));
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    for (const std::vector<std::string> &paths : found)
        EXPECT_EQ(paths, expected);
}

}  // namespace
}  // namespace vx
