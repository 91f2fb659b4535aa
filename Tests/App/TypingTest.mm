// Letters typed in the tree, at the pace that the events' times give.
#import "ExplorerFixture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Names = std::vector<std::string>;

class TypingTest : public ExplorerTest {
protected:
    void Show(const std::vector<std::u16string> &names)
    {
        for (const std::u16string &name : names)
            Root().File(name, 1);
        Open();
    }
    // A tenth of a second between two keys.
    void Type(const std::u16string &text)
    {
        for (const char16_t key : text)
            Press(key, 0, m_now += 0.1);
    }
    void Pause(NSTimeInterval seconds) { m_now += seconds; }

    // No other test types at this time.
    NSTimeInterval m_now = m_later += 1000;
    static NSTimeInterval m_later;
};

NSTimeInterval TypingTest::m_later = 0;

TEST_F(TypingTest, SelectsTheRowWhoseNameBeginsWithTheLetters)
{
    Show({u"alpha", u"beta", u"bravo", u"brown"});
    Type(u"bro");
    EXPECT_EQ(Selected(), Names{"brown"});
    EXPECT_TRUE([[controller btnExport] isEnabled]);
}

TEST_F(TypingTest, TypingOnKeepsTheRowWhileItStillBeginsSo)
{
    Show({u"brown", u"bravo", u"brook"});
    Type(u"b");
    EXPECT_EQ(Selected(), Names{"brown"});
    Type(u"ro");
    EXPECT_EQ(Selected(), Names{"brown"});
    Type(u"o");
    EXPECT_EQ(Selected(), Names{"brook"});
}

TEST_F(TypingTest, APauseOfASecondBeginsAnewBelowTheSelectedRow)
{
    Show({u"alpha", u"bat", u"echo", u"beta"});
    Type(u"b");
    Pause(0.8);
    Type(u"e");
    EXPECT_EQ(Selected(), Names{"beta"}) << "no pause yet";
    Pause(1);
    Type(u"e");
    EXPECT_EQ(Selected(), Names{"echo"});
}

TEST_F(TypingTest, FromTheLastRowTheSearchGoesOnAtTheTop)
{
    Show({u"bat", u"alpha", u"beta"});
    Type(u"b");
    Pause(1);
    Type(u"b");
    EXPECT_EQ(Selected(), Names{"beta"});
    Pause(1);
    Type(u"b");
    EXPECT_EQ(Selected(), Names{"bat"});
}

TEST_F(TypingTest, TheSameLetterGoesFromRowToRowUnlessANameBeginsWithAllOfThem)
{
    Show({u"bat", u"bbc", u"beta"});
    Type(u"b");
    EXPECT_EQ(Selected(), Names{"bat"});
    Type(u"b");
    EXPECT_EQ(Selected(), Names{"bbc"});
    Type(u"b");
    EXPECT_EQ(Selected(), Names{"beta"});
    Type(u"b");
    EXPECT_EQ(Selected(), Names{"bat"});
}

TEST_F(TypingTest, NeitherCaseNorTheFormOfAnAccentMatters)
{
    // The second name has its accents after their letters, as some systems write them.
    Show({u"alpha", u"U\u0308BER", u"\u00c9clair", u"\u65e5\u672c", u"\u03a3\u03af\u03c3\u03c5"});
    Type(u"\u00fcb");
    EXPECT_EQ(Selected(), Names{"U\u0308BER"});
    Pause(1);
    Type(u"\u00e9C");
    EXPECT_EQ(Selected(), Names{"\u00c9clair"});
    Pause(1);
    Type(u"\u65e5");
    EXPECT_EQ(Selected(), Names{"\u65e5\u672c"});
    Pause(1);
    Type(u"\u03c3");
    EXPECT_EQ(Selected(), Names{"\u03a3\u03af\u03c3\u03c5"});
}

TEST_F(TypingTest, ASpaceIsAPartOfANameButNoBeginning)
{
    Show({u"a", u" first", u"a b"});
    Type(u" ");
    EXPECT_EQ(Selected(), Names{});
    Type(u"a b");
    EXPECT_EQ(Selected(), Names{"a b"});
}

TEST_F(TypingTest, LettersThatNoNameBeginsWithLeaveTheSelection)
{
    Show({u"alpha", u"beta"});
    Select({0, 1});
    Type(u"x");
    EXPECT_EQ(Selected(), (Names{"alpha", "beta"}));
    Pause(1);
    Type(u"b");
    EXPECT_EQ(Selected(), Names{"beta"}) << "one row in place of several";
}

TEST_F(TypingTest, RowsOfClosedFoldersAreNotFoundAndNotRead)
{
    vx::ScriptedEntry &folder = Root().Folder(u"folder");
    folder.File(u"inside", 1);
    Root().File(u"other", 1);
    Open();
    const size_t before = Listings();
    Type(u"i");
    EXPECT_EQ(Selected(), Names{});
    EXPECT_EQ(Listings(), before);
    [Tree() expandItem:[Tree() itemAtRow:0]];
    Pause(1);
    Type(u"i");
    EXPECT_EQ(Selected(), Names{"inside"});
}

TEST_F(TypingTest, ARowOutOfSightIsScrolledTo)
{
    for (int i = 0; i < 200; ++i)
        Root().File(u"a", 1);
    Root().File(u"last", 1);
    Open();
    EXPECT_FALSE(NSContainsRect([Tree() visibleRect], [Tree() rectOfRow:200]));
    Type(u"l");
    EXPECT_TRUE(NSContainsRect([Tree() visibleRect], [Tree() rectOfRow:200]));
}

TEST_F(TypingTest, KeysThatAreNoTextAndKeysOfCommandsSelectNothing)
{
    Show({u"a", u"\uf708"});
    Press('a', NSAlternateKeyMask, m_now);
    Press('a', NSControlKeyMask, m_now);
    Press(NSF5FunctionKey, 0, m_now);
    EXPECT_EQ(Selected(), Names{});
}

}  // namespace
