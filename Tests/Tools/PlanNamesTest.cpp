// The names that entries of a plan get in the destination, chosen before anything is copied.
#include "PlanNames.h"
#include "LocalText.h"
#include "NameFolding.h"
#include "NameRules.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace vx {
namespace {

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
        return PlanNames(_plan, _traits).PathOf(number, &_isChanged);
    }

    ExportPlan _plan;
    DestinationTraits _traits;
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

TEST_F(PlannedNames, WhereCaseCountsNamesThatDifferInCaseStay)
{
    const Number first = AddFile(u"readme.txt");
    const Number second = AddFile(u"README.TXT");
    EXPECT_EQ(PathOf(first), "readme.txt");
    EXPECT_EQ(PathOf(second), "README.TXT");
    EXPECT_FALSE(_isChanged);
}

TEST_F(PlannedNames, OfNamesThatDifferInCaseTheFirstStaysAndTheOthersGetNumbers)
{
    _traits.ignoresCase = true;
    const Number first = AddFile(u"readme.txt");
    const Number second = AddFile(u"README.TXT");
    const Number taken = AddFile(u"ReadMe~1.txt");
    const Number third = AddFile(u"Readme.txt");
    EXPECT_EQ(PathOf(first), "readme.txt");
    EXPECT_FALSE(_isChanged);
    EXPECT_EQ(PathOf(second), "README~2.TXT");
    EXPECT_TRUE(_isChanged);
    EXPECT_EQ(PathOf(taken), "ReadMe~1.txt");
    EXPECT_EQ(PathOf(third), "Readme~3.txt");
}

TEST_F(PlannedNames, FoldersThatDifferInCaseAreKeptApartWithAllTheyHold)
{
    _traits.ignoresCase = true;
    const Number first = AddFolder(u"A");
    const Number second = AddFolder(u"a");
    const Number inFirst = AddFile(u"x", first);
    const Number inSecond = AddFile(u"x", second);
    EXPECT_EQ(PathOf(inFirst), "A/x");
    EXPECT_FALSE(_isChanged);
    EXPECT_EQ(PathOf(inSecond), "a~1/x");
    EXPECT_TRUE(_isChanged);
}

TEST_F(PlannedNames, NamesInTwoNormalFormsAreKeptApart)
{
    _traits.ignoresForm = true;
    AddFile(u"caf\u00e9");
    const Number second = AddFile(u"cafe\u0301");
    const Number other = AddFile(u"CAF\u00c9");
    EXPECT_EQ(PathOf(second), "cafe\u0301~1");
    EXPECT_EQ(PathOf(other), "CAF\u00c9");
}

TEST_F(PlannedNames, AnEntryThatTheVolumeCannotOpenTakesNoName)
{
    _traits.ignoresCase = true;
    AddFile(u"a");
    PlanEntry repeated;
    repeated.flags = PlanEntry::kIsRepeated;
    const Number second = _plan.Add(ExportPlan::kRoot, repeated, u"a");
    EXPECT_EQ(PathOf(second), "a");
    EXPECT_EQ(PathOf(AddFile(u"A")), "A~1");
}

TEST_F(PlannedNames, RefusedCharactersBecomeUnderscores)
{
    _traits.refused = ":*\x01";
    const Number stream = AddFile(u"a.txt:s");
    const Number other = AddFile(u"a*b\x01\\c:d");
    EXPECT_EQ(PathOf(stream), "a.txt_s");
    EXPECT_TRUE(_isChanged);
    EXPECT_EQ(PathOf(other), "a_b_/c_d");
}

TEST_F(PlannedNames, ANameThatBecomesAnotherLeavesThatAlone)
{
    _traits.refused = ":";
    const Number first = AddFile(u"a.txt:s");
    const Number second = AddFile(u"a.txt_s");
    const Number third = AddFile(u"a.txt|s");
    EXPECT_EQ(PathOf(first), "a~1.txt_s");
    EXPECT_EQ(PathOf(second), "a.txt_s");
    EXPECT_EQ(PathOf(third), "a.txt|s");
}

TEST_F(PlannedNames, RefusedEndsAndNamesOfDevicesGetAnUnderscore)
{
    _traits.refusesEnds = true;
    _traits.refusesDevices = true;
    const std::vector<std::pair<std::u16string, std::string>> all = {{u"a.", "a_"},
                                                                     {u"b ", "b_"},
                                                                     {u"...", ".._"},
                                                                     {u"CON", "CON_"},
                                                                     {u"nul.txt", "nul_.txt"},
                                                                     {u"Com1 .a.b", "Com1_ .a.b"},
                                                                     {u"com0", "com0"},
                                                                     {u"console", "console"},
                                                                     {u" a", " a"},
                                                                     {u"lpt9", "lpt9_"},
                                                                     {u"f.nul", "f.nul"}};
    std::vector<Number> numbers;
    numbers.reserve(all.size());
    for (const auto &[name, expected] : all)
        numbers.push_back(AddFile(name));
    for (size_t i = 0; i < all.size(); ++i)
        EXPECT_EQ(PathOf(numbers[i]), all[i].second);
}

TEST_F(PlannedNames, WhereEndsAreDroppedTheyBecomeUnderscoresSoThatNoNameChangesInSilence)
{
    _traits.dropsEnds = true;
    const Number plain = AddFile(u"a");
    const Number dot = AddFile(u"a.");
    EXPECT_EQ(PathOf(plain), "a");
    EXPECT_EQ(PathOf(dot), "a_");
}

TEST_F(PlannedNames, WhereUnitsAreCountedALongNameOfWideCharactersStays)
{
    _traits.longestUnits = 255;
    const std::u16string wide(255, u'\u65e5');
    const Number kept = AddFile(wide);
    const Number cut = AddFile(wide + u"x");
    EXPECT_EQ(PathOf(kept), Repeated("\u65e5", 255));
    EXPECT_EQ(PathOf(cut), Repeated("\u65e5", 84) + "~1");
}

// Short names of few characters, which meet in every way.
TEST_F(PlannedNames, AllNamesOfAFolderAreAllowedAndApartAndChangeOnlyIfTheyMust)
{
    constexpr std::u16string_view kCharacters = u"aA\u00e9\u00c9e\u0301. :~1_";
    std::mt19937 random(1);
    _traits.ignoresCase = _traits.ignoresForm = _traits.dropsEnds = _traits.refusesDevices = true;
    _traits.refused = ":";
    _traits.longestName = 12;
    std::set<std::u16string> originals;
    for (int i = 0; i < 20000; ++i) {
        std::u16string name;
        for (size_t length = 1 + random() % 14; length > 0; --length)
            name += kCharacters[random() % kCharacters.size()];
        if (name != u".." && originals.insert(name).second)
            AddFile(name);
    }
    const PlanNames names(_plan, _traits);
    std::map<std::string, std::string> owners;
    int changed = 0;
    for (Number number = 1; number < _plan.Size(); ++number) {
        const std::string path = names.PathOf(number, &_isChanged);
        EXPECT_EQ(AllowedName(path, _traits), path);
        EXPECT_TRUE(Fits(path, _traits)) << path;
        EXPECT_TRUE(owners.insert({FoldedFor(_traits, path), path}).second) << path;
        std::string original;
        LocalTextOf(_plan.NameOf(number), &original);
        EXPECT_EQ(_isChanged, path != original);
        changed += _isChanged ? 1 : 0;
    }
    EXPECT_GT(changed, 1000);
    EXPECT_LT(changed + 1000, static_cast<int>(_plan.Size()));
}

TEST_F(PlannedNames, AHundredThousandNamesThatMeetTakeLittleTime)
{
    _traits.ignoresCase = true;
    std::u16string name = u"abcdefghijklmnopq";
    for (uint32_t bits = 0; bits < 1 << 17; ++bits) {
        for (size_t i = 0; i < name.size(); ++i)
            name[i] = static_cast<char16_t>((bits >> i & 1 ? u'A' : u'a') + i);
        AddFile(name);
    }
    const PlanNames names(_plan, _traits);
    EXPECT_EQ(names.PathOf(1, &_isChanged), "abcdefghijklmnopq");
    EXPECT_EQ(names.PathOf(1 << 17, &_isChanged), "ABCDEFGHIJKLMNOPQ~131071");
}

TEST_F(PlannedNames, SeveralThreadsGetTheSameNames)
{
    std::vector<std::string> expected;
    for (int i = 0; i < 200; ++i) {
        const std::u16string end(1, static_cast<char16_t>(u'\u0100' + i));
        AddFile(i % 2 == 0 ? end : std::u16string(255, u'\u00e9') + end);
    }
    const PlanNames names(_plan, _traits);
    for (Number number = 1; number < _plan.Size(); ++number)
        expected.push_back(names.PathOf(number, &_isChanged));
    std::vector<std::vector<std::string>> found(4);
    std::vector<std::thread> threads;
    threads.reserve(found.size());
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
