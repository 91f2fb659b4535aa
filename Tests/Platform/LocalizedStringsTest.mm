// The translations of the program's texts: complete, and usable with the arguments that the program
// gives.
#import <Foundation/Foundation.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace {

NSDictionary *TableOf(const std::string &language, const char *name = "Localizable")
{
    NSString *path = [NSString
        stringWithFormat:@"%s/%s.lproj/%s.strings", VX_RESOURCES_DIR, language.c_str(), name];
    NSString *text = [NSString stringWithContentsOfFile:path
                                               encoding:NSUTF8StringEncoding
                                                  error:nullptr];
    return [text propertyListFromStringsFileFormat];
}

class LocalizedStrings : public testing::TestWithParam<const char *> {
protected:
    LocalizedStrings() : m_table([TableOf(GetParam()) retain]) {}
    ~LocalizedStrings() override
    {
        [m_table release];
        [m_pool release];
    }
    LocalizedStrings(const LocalizedStrings &) = delete;
    LocalizedStrings &operator=(const LocalizedStrings &) = delete;

    NSString *Format(NSString *key) { return [m_table objectForKey:key]; }

    NSDictionary *m_table;

private:
    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
};

bool IsBefore(NSString *text, NSString *one, NSString *other)
{
    return [text rangeOfString:one].location < [text rangeOfString:other].location;
}

// The conversions by their letters in the order of the arguments, numbered ones included; "?" for
// an argument that is not used and "!" for one that is used twice.
//
//   "%2$0.1f of %1$@" -> "@f"
std::string ArgumentsOf(NSString *text)
{
    const std::string format = [text UTF8String];
    const std::regex conversion("%(?:([0-9]+)\\$)?[-+ #0-9.]*([@a-zA-Z%])");
    std::string arguments;
    size_t next = 0;
    for (std::sregex_iterator match(format.begin(), format.end(), conversion), end; match != end;
         ++match) {
        const char letter = match->str(2)[0];
        if (letter == '%')
            continue;
        const size_t at = (*match)[1].matched ? std::stoul(match->str(1)) - 1 : next++;
        arguments.resize(std::max(arguments.size(), at + 1), '?');
        arguments[at] = arguments[at] == '?' ? letter : '!';
    }
    return arguments;
}

// What the interface files show, the columns' titles aside.
std::set<std::string> InterfaceTexts()
{
    const std::regex texts(
        "<(?:menuItem|menu|window|buttonCell|textFieldCell key=\"cell\") [^>]*?title=\"([^\"]+)\"|"
        "(?:toolTip|<accessibility description)=\"([^\"]+)\"");
    std::set<std::string> found;
    for (const char *name : {"MainMenu", "copyingFileWindow"}) {
        std::ifstream file(VX_RESOURCES_DIR "/Base/" + std::string(name) + ".xib");
        const std::string xib((std::istreambuf_iterator<char>(file)), {});
        for (std::sregex_iterator match(xib.begin(), xib.end(), texts), end; match != end; ++match)
            found.insert((*match)[1].matched ? (*match)[1] : (*match)[2]);
    }
    // The bar itself, which is not shown.
    found.erase("Main Menu");
    return found;
}

void ExpectContains(NSString *text, NSString *part)
{
    EXPECT_NE([text rangeOfString:part].location, (NSUInteger)NSNotFound)
        << [text UTF8String] << " lacks " << [part UTF8String];
}

void ExpectBefore(NSString *text, NSString *first, NSString *second)
{
    ExpectContains(text, first);
    ExpectContains(text, second);
    EXPECT_LT([text rangeOfString:first].location, [text rangeOfString:second].location);
}

}  // namespace

TEST_P(LocalizedStrings, TheTableHasTheKeysOfTheEnglishOne)
{
    ASSERT_GT([m_table count], 0u);
    NSSet *english = [NSSet setWithArray:[TableOf("en") allKeys]];
    NSSet *own = [NSSet setWithArray:[m_table allKeys]];
    EXPECT_TRUE([own isEqual:english]);
}

// For every application, whose own tables do not have them.
TEST_P(LocalizedStrings, EveryTextOfTheFolderPanelIsInItsTable)
{
    NSDictionary *table = TableOf(GetParam(), "Panel");
    const std::regex texts("panelText\\(@\"([^\"]+)\"\\)");
    size_t count = 0;
    for (const char *name : {"PanelParts.mm", "FolderName.mm"}) {
        std::ifstream file(VX_RESOURCES_DIR "/../../Platform/GNUstep/" + std::string(name));
        const std::string source((std::istreambuf_iterator<char>(file)), {});
        for (std::sregex_iterator match(source.begin(), source.end(), texts), end; match != end;
             ++match, ++count) {
            NSString *key = [NSString stringWithUTF8String:match->str(1).c_str()];
            EXPECT_GT([[table objectForKey:key] length], 0u) << match->str(1);
        }
    }
    EXPECT_GE(count, 8u);
    EXPECT_EQ([table count], [TableOf("en", "Panel") count]);
}

TEST_P(LocalizedStrings, NoTextIsEmpty)
{
    for (NSString *key in m_table)
        EXPECT_GT([[m_table objectForKey:key] length], 0u) << [key UTF8String];
}

TEST_P(LocalizedStrings, EveryTextOfTheInterfaceFilesIsTranslated)
{
    const std::set<std::string> texts = InterfaceTexts();
    ASSERT_GT(texts.size(), 12u);
    for (const std::string &text : texts)
        EXPECT_NE(Format([NSString stringWithUTF8String:text.c_str()]), nil) << text;
}

TEST_P(LocalizedStrings, AShortNameIsShownWhole)
{
    NSString *text =
        [NSString stringWithFormat:Format(@"IDS_COPY_TIPS_SHORT_FILENAME"), @"/Bilder/Süd.jpg"];
    ExpectContains(text, @"/Bilder/Süd.jpg");
}

TEST_P(LocalizedStrings, ALongNameShowsItsBeginningAndItsEndWithAnEllipsisBetween)
{
    NSString *text = [NSString
        stringWithFormat:Format(@"IDS_COPY_TIPS_LONG_FILENAME"), @"/Pictures", @"iday 1.jpg"];
    ExpectContains(text, @"/Pictures…iday 1.jpg");
}

TEST_P(LocalizedStrings, WhileTheTimeIsCalculatedBothSizesAreShown)
{
    NSString *text = [NSString stringWithFormat:Format(@"IDS_COPY_TIPS_CALCULATE"), 12.26, 4096.04];
    ExpectContains(text, @"12.3");
    ExpectContains(text, @"4096.0");
}

TEST_P(LocalizedStrings, AboveAMinuteTheMinutesAndBothSizesAreShown)
{
    NSString *text =
        [NSString stringWithFormat:Format(@"IDS_COPY_TIPS_ABOVE_1MIN"), 87, 12.26, 4096.04];
    ExpectContains(text, @"87");
    ExpectContains(text, @"12.3");
    ExpectContains(text, @"4096.0");
}

TEST_P(LocalizedStrings, BelowAMinuteBothSizesAreShown)
{
    NSString *text = [NSString stringWithFormat:Format(@"IDS_COPY_TIPS_LESS_1MIN"), 12.26, 4096.04];
    ExpectContains(text, @"12.3");
    ExpectContains(text, @"4096.0");
}

// A wrong type would read the arguments of the program as something else.
TEST_P(LocalizedStrings, EveryFormatTakesTheProgramsArgumentsEachOnceAndByItsType)
{
    EXPECT_EQ(ArgumentsOf(Format(@"IDS_COPY_TIPS_SHORT_FILENAME")), "@");
    EXPECT_EQ(ArgumentsOf(Format(@"IDS_COPY_TIPS_LONG_FILENAME")), "@@");
    EXPECT_EQ(ArgumentsOf(Format(@"IDS_COPY_TIPS_CALCULATE")), "ff");
    EXPECT_EQ(ArgumentsOf(Format(@"IDS_COPY_TIPS_ABOVE_1MIN")), "dff");
    EXPECT_EQ(ArgumentsOf(Format(@"IDS_COPY_TIPS_LESS_1MIN")), "ff");
    EXPECT_EQ(ArgumentsOf(Format(@"IDS_SELECTION_ONE")), "");
    EXPECT_EQ(ArgumentsOf(Format(@"IDS_SELECTION_MANY")), "d");
    EXPECT_EQ(ArgumentsOf(Format(@"IDS_SELECTION_WITH_SIZE")), "@@");
    EXPECT_EQ(ArgumentsOf(Format(@"IDS_SELECTION_SIZE_OF_ONE")), "@@");
    EXPECT_EQ(ArgumentsOf(Format(@"IDS_SELECTION_SIZE_OF_MANY")), "@@d");
}

TEST_P(LocalizedStrings, TheSizesStandInTheOrderOfTheLanguageInAllThreeTexts)
{
    NSString *same = [NSString stringWithFormat:Format(@"IDS_COPY_TIPS_LESS_1MIN"), 1111.1, 2222.2];
    NSString *later =
        [NSString stringWithFormat:Format(@"IDS_COPY_TIPS_ABOVE_1MIN"), 7, 1111.1, 2222.2];
    NSString *first =
        [NSString stringWithFormat:Format(@"IDS_COPY_TIPS_CALCULATE"), 1111.1, 2222.2];
    const bool copiedFirst = IsBefore(same, @"1111.1", @"2222.2");
    // A unit that stands only once stands after both.
    for (NSString *text in @[ same, later, first ])
        ExpectContains(text, copiedFirst ? @"2222.2 Mi" : @"1111.1 Mi");
    EXPECT_EQ(IsBefore(later, @"1111.1", @"2222.2"), copiedFirst);
    EXPECT_EQ(IsBefore(first, @"1111.1", @"2222.2"), copiedFirst);
    // Only Japanese names the whole before its part.
    EXPECT_EQ(copiedFirst, std::string(GetParam()) != "ja");
}

INSTANTIATE_TEST_SUITE_P(EveryLanguage, LocalizedStrings,
                         testing::Values("en", "de", "fr", "es", "ja", "zh-Hans"),
                         [](const auto &info) {
                             const std::string name = info.param;
                             return name == "zh-Hans" ? std::string("zhHans") : name;
                         });

TEST(LocalizedStringsOfJapanese, TheTotalComesBeforeWhatIsCopied)
{
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    NSDictionary *table = TableOf("ja");
    NSString *text = [NSString
        stringWithFormat:[table objectForKey:@"IDS_COPY_TIPS_ABOVE_1MIN"], 87, 12.26, 4096.04];
    ExpectBefore(text, @"87", @"4096.0");
    ExpectBefore(text, @"4096.0", @"12.3");
    [pool release];
}
