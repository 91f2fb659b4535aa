// The rules of --include and --exclude against rsync: random rules, and what the two choose of
// random trees.
#include "Choice.h"
#include "CodePoints.h"
#include "TemporaryFolder.h"
#include "ToolRun.h"

#include <gtest/gtest.h>
#include <random>
#include <set>
#include <sstream>

namespace vx {
namespace {

using Paths = std::set<std::string>;  // of folders with a slash at the end

constexpr char kSentinel[] = "always there";
const std::vector<const char *> kNames = {
    "a",    "b", "ab", "foo",   "bar", "foo.c", "a b", "x*y", "[x]",      "]",
    "-",    "A", "\\", "b\\a",  "#",   "!",     "^",   "a?",  "\xC3\xA4", "\xC3\xA4rger",
    ".hid", ":", "1",  "foo.c~"};
const std::vector<const char *> kPieces = {"*",
                                           "*",
                                           "**",
                                           "**",
                                           "?",
                                           "?",
                                           "***",
                                           "/",
                                           "/",
                                           "/",
                                           "/**/",
                                           "/*/",
                                           "[a-c]",
                                           "[!a]",
                                           "[^b]",
                                           "[]x]",
                                           "[!]]",
                                           "[a-",
                                           "[",
                                           "]",
                                           "[a-c-x]",
                                           "[x-]",
                                           "[-x]",
                                           "[\\]]",
                                           "[\\a-c]",
                                           "[a\\-c]",
                                           "[[:alpha:]]",
                                           "[[:alnum:]b]",
                                           "[[:digit:]",
                                           "[[:no:]]",
                                           "[[:alpha]",
                                           "[:a]",
                                           "[[:upper:][:punct:]]",
                                           "[!-~]",
                                           "[\xC3\xA4]",
                                           "[--a]",
                                           "[a-[:alpha:]]",
                                           "\\",
                                           "\\*",
                                           "\\[",
                                           "\\a",
                                           "/***"};

class RandomRules {
public:
    explicit RandomRules(unsigned seed) : _random(seed) {}

    size_t Below(size_t bound)
    {
        return std::uniform_int_distribution<size_t>(0, bound - 1)(_random);
    }

    std::string OneOf(const std::vector<const char *> &texts) { return texts[Below(texts.size())]; }

    std::string Pattern()
    {
        std::string pattern = OneOf({"", "", "/", "*", "*", "**"});
        for (size_t pieces = 1 + Below(4); pieces > 0; --pieces)
            pattern += Below(2) == 0 ? OneOf(kNames) : OneOf(kPieces);
        return pattern + OneOf({"", "", "", "*", "/", "/***", "/**", "/*"});
    }

    // One that is likely to match: a path of the tree, with some of it put in other words.
    std::string PatternLike(const Paths &tree)
    {
        const std::string &path = *std::next(tree.begin(), static_cast<long>(Below(tree.size())));
        std::string pattern = OneOf({"", "", "/", "**/", "**", "*/"});
        std::istringstream names(path);
        for (std::string name; std::getline(names, name, '/');) {
            if (Below(4) == 0 && !pattern.empty())
                pattern += OneOf({"*", "**", "?*", "*/", "**/", "*[!x]", "[[:print:]]*"});
            else if (Below(4) > 0)
                pattern += Escaped(name) + "/";
        }
        return pattern.empty() || Below(3) == 0 ? pattern + OneOf({"*", "**", "***"})
                                                : pattern.substr(0, pattern.size() - Below(2));
    }

    std::vector<ChoiceRule> Rules(const Paths &tree)
    {
        std::vector<ChoiceRule> rules;
        for (size_t count = 1 + Below(5); count > 0; --count) {
            const std::string pattern = Below(2) == 0 ? Pattern() : PatternLike(tree);
            // To rsync "!" is no pattern, but the end of all rules before it.
            const bool isPattern = !pattern.empty() && pattern != "!";
            rules.push_back({Below(3) == 0, isPattern ? pattern : "a"});
        }
        return rules;
    }

private:
    std::string Escaped(const std::string &name)
    {
        const size_t special = name.find_first_of("*?[\\");
        return special == std::string::npos || Below(2) == 0
                   ? name
                   : std::string(name).insert(special, "\\");
    }

    std::mt19937 _random;
};

class ChoiceRsync : public ::testing::TestWithParam<unsigned> {
protected:
    void SetUp() override
    {
        if (std::string(VX_RSYNC).empty())
            GTEST_SKIP() << "rsync is missing";
        _folder.WriteFile(std::string("from/") + kSentinel, "");
        _folder.MakeFolder("to");
    }

    void FillTree(RandomRules *random)
    {
        for (int i = 0; i < 150; ++i) {
            std::string path;
            for (size_t depth = random->Below(4); depth > 0; --depth) {
                path += random->OneOf(kNames) + "/";
                Add(path);
            }
            Add(path + random->OneOf(kNames) + (random->Below(3) == 0 ? "/" : ""));
        }
    }

    // A file or, with a slash at its end, a folder, unless its place is taken.
    void Add(const std::string &path)
    {
        const size_t slash = path.rfind('/', path.size() - 2);
        const bool isFolder = path.back() == '/';
        const std::string plain = path.substr(0, path.size() - (isFolder ? 1 : 0));
        if (_tree.count(plain) + _tree.count(plain + "/") > 0 ||
            (slash != std::string::npos && _tree.count(path.substr(0, slash + 1)) == 0))
            return;
        isFolder ? _folder.MakeFolder("from/" + plain) : _folder.WriteFile("from/" + plain, "");
        _tree.insert(path);
    }

    // Nothing if a rule excludes the root itself, which this program never leaves out.
    std::optional<Paths> ByRsync(const std::vector<ChoiceRule> &rules) const
    {
        std::vector<std::string> arguments = {"-r", "-8", "--dry-run", "--out-format=%n",
                                              std::string("--include=/") + kSentinel};
        for (const ChoiceRule &rule : rules)
            arguments.push_back((rule.includes ? "--include=" : "--exclude=") + rule.pattern);
        arguments.insert(arguments.end(), {_folder.At("from/"), _folder.At("to/")});
        ToolRun run(VX_RSYNC, arguments);
        EXPECT_EQ(run.Wait(), 0) << run.Errors();
        Paths paths;
        std::istringstream lines(run.Output());
        for (std::string line; std::getline(lines, line);)
            paths.insert(line);
        paths.erase("./");
        if (paths.erase(kSentinel) == 0)
            return std::nullopt;
        return paths;
    }

    Paths ByChoice(const std::vector<ChoiceRule> &rules) const
    {
        Options options;
        options.rules = rules;
        Choice choice(options);
        Paths chosen;
        // A folder comes before what is in it.
        for (const std::string &path : _tree) {
            const bool isFolder = path.back() == '/';
            const std::string plain = path.substr(0, path.size() - (isFolder ? 1 : 0));
            const size_t slash = plain.rfind('/');
            const bool isReached =
                slash == std::string::npos || chosen.count(plain.substr(0, slash + 1)) > 0;
            if (isReached && choice.Has(Utf16("/" + plain), isFolder, 0, 0))
                chosen.insert(path);
        }
        return chosen;
    }

    static std::u16string Utf16(std::string_view text)
    {
        std::u16string units;
        while (!text.empty())
            units += FirstUnit(TakeCharacter(&text));  // none of the names needs two
        return units;
    }

    TemporaryFolder _folder;
    Paths _tree;
};

std::string Text(const std::vector<ChoiceRule> &rules)
{
    std::string text;
    for (const ChoiceRule &rule : rules)
        text += (rule.includes ? " --include='" : " --exclude='") + rule.pattern + "'";
    return text;
}

TEST_P(ChoiceRsync, RandomRulesChooseTheSameOfARandomTree)
{
    constexpr int kLists = 50;
    int compared = 0;
    int lessThanAll = 0;
    int moreThanNothing = 0;
    RandomRules random(GetParam());
    FillTree(&random);
    for (int list = 0; list < kLists; ++list) {
        const auto rules = random.Rules(_tree);
        const auto theirs = ByRsync(rules);
        if (!theirs)
            continue;
        EXPECT_EQ(ByChoice(rules), *theirs) << Text(rules);
        ++compared;
        lessThanAll += theirs->size() < _tree.size() ? 1 : 0;
        moreThanNothing += theirs->empty() ? 0 : 1;
    }
    EXPECT_GT(compared, kLists * 8 / 10);
    EXPECT_GT(lessThanAll, compared / 3);
    EXPECT_GT(moreThanNothing, compared / 3);
}

INSTANTIATE_TEST_SUITE_P(Trees, ChoiceRsync, ::testing::Range(1U, 7U));

}  // namespace
}  // namespace vx
