#include "ArgumentReader.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace vx {
namespace {

using ::testing::ElementsAre;

// What a reader with the options --flag and --name VALUE finds, as text: "word a", "name b".
class ArgumentReaderTest : public testing::Test {
protected:
    std::vector<std::string> Read(const std::vector<std::string> &arguments)
    {
        ArgumentReader reader(arguments, _options);
        std::vector<std::string> found;
        do {
            found.push_back(Describe(reader, reader.Next()));
        } while (found.back().rfind("word", 0) == 0 || found.back() == "flag" ||
                 found.back().rfind("name", 0) == 0);
        _unlocking = reader.Unlock();
        _hasUnlock = reader.HasUnlock();
        return found;
    }

    static std::string Describe(const ArgumentReader &reader, int found)
    {
        switch (found) {
        case ArgumentReader::kEnd:
            return "end";
        case ArgumentReader::kError:
            return "error: " + reader.Error();
        case ArgumentReader::kHelp:
            return "help";
        case ArgumentReader::kVersion:
            return "version";
        case ArgumentReader::kWord:
            return "word " + reader.Value();
        case ArgumentReader::kOwnOption:
            return "flag";
        default:
            return "name " + reader.Value();
        }
    }

    const std::vector<OptionName> _options = {{"flag", nullptr}, {"name", "a value"}};
    Unlocking _unlocking;
    bool _hasUnlock = false;
};

TEST_F(ArgumentReaderTest, WordsAndOptionsComeInTheirOrder)
{
    EXPECT_THAT(Read({"a", "--flag", "-", "", "--name", "b", "c"}),
                ElementsAre("word a", "flag", "word -", "word ", "name b", "word c", "end"));
    EXPECT_FALSE(_hasUnlock);
    EXPECT_EQ(_unlocking.kind, "none");
}

TEST_F(ArgumentReaderTest, AnEqualsSignJoinsAnOptionAndItsValue)
{
    EXPECT_THAT(Read({"--name=b=c", "--name=", "--name", "--flag"}),
                ElementsAre("name b=c", "name ", "name --flag", "end"));
}

TEST_F(ArgumentReaderTest, AfterTwoDashesEveryWordIsOne)
{
    EXPECT_THAT(Read({"--flag", "--", "--flag", "--", "-h", "a"}),
                ElementsAre("flag", "word --flag", "word --", "word -h", "word a", "end"));
    EXPECT_THAT(Read({"a", "--"}), ElementsAre("word a", "end"));
}

TEST_F(ArgumentReaderTest, HelpAndVersionEndTheReading)
{
    EXPECT_THAT(Read({"a", "--help", "--what"}), ElementsAre("word a", "help"));
    EXPECT_THAT(Read({"-h"}), ElementsAre("help"));
    EXPECT_THAT(Read({"--version"}), ElementsAre("version"));
}

TEST_F(ArgumentReaderTest, UnlockTakesTwoWordsWhateverTheSecondLooksLike)
{
    for (const char *secret : {"open sesame", "--flag", "--", ""}) {
        EXPECT_THAT(Read({"a", "--unlock", "password", secret, "b"}),
                    ElementsAre("word a", "word b", "end"));
        EXPECT_TRUE(_hasUnlock);
        EXPECT_EQ(_unlocking.kind, "password");
        EXPECT_EQ(_unlocking.secret, secret);
        EXPECT_FALSE(_unlocking.asksSecret);
    }
    EXPECT_THAT(Read({"--unlock=recovery", "-", "a"}), ElementsAre("word a", "end"));
    EXPECT_EQ(_unlocking.kind, "recovery");
    EXPECT_EQ(_unlocking.secret, "");
    EXPECT_TRUE(_unlocking.asksSecret);
}

TEST_F(ArgumentReaderTest, EachMistakeIsNamed)
{
    EXPECT_THAT(Read({"--what"}), ElementsAre("error: unknown option --what"));
    EXPECT_THAT(Read({"--what=5"}), ElementsAre("error: unknown option --what"));
    EXPECT_THAT(Read({"-x"}), ElementsAre("error: unknown option -x"));
    EXPECT_THAT(Read({"-\xC3\xA9"}), ElementsAre("error: unknown option -\xC3\xA9"));
    EXPECT_THAT(Read({"--=x"}), ElementsAre("error: unknown option --=x"));
    EXPECT_THAT(Read({"--flag=5"}), ElementsAre("error: --flag takes no value"));
    EXPECT_THAT(Read({"--name"}), ElementsAre("error: --name needs a value"));
    EXPECT_THAT(Read({"--unlock"}), ElementsAre("error: --unlock needs a kind and a secret"));
    EXPECT_THAT(Read({"--unlock", "none"}),
                ElementsAre("error: --unlock needs a kind and a secret"));
    EXPECT_THAT(Read({"--unlock", "a", "b", "--unlock", "a", "b"}),
                ElementsAre("error: --unlock was given twice"));
}

TEST_F(ArgumentReaderTest, NamesAreNotAbbreviatedAndLettersNotJoined)
{
    for (const char *word : {"--he", "--vers", "--unl", "-hx", "-h=", "-vol"})
        EXPECT_THAT(Read({word}), ElementsAre("error: unknown option " + std::string(word)))
            << word;
}

}  // namespace
}  // namespace vx
