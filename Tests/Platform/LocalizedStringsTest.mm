// The translations of the program's texts: complete, and usable with the arguments that the program
// gives.
#import <Foundation/Foundation.h>

#include <gtest/gtest.h>
#include <string>

namespace {

NSDictionary *tableOf(const std::string &language)
{
    NSString *path = [NSString
        stringWithFormat:@"%s/%s.lproj/Localizable.strings", VX_RESOURCES_DIR, language.c_str()];
    NSString *text = [NSString stringWithContentsOfFile:path
                                               encoding:NSUTF8StringEncoding
                                                  error:NULL];
    return [text propertyListFromStringsFileFormat];
}

class LocalizedStrings : public testing::TestWithParam<const char *> {
protected:
    LocalizedStrings() : m_table([tableOf(GetParam()) retain]) {}
    ~LocalizedStrings() override
    {
        [m_table release];
        [m_pool release];
    }

    NSString *format(NSString *key) { return [m_table objectForKey:key]; }

    NSDictionary *m_table;

private:
    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
};

void expectContains(NSString *text, NSString *part)
{
    EXPECT_NE([text rangeOfString:part].location, (NSUInteger)NSNotFound)
        << [text UTF8String] << " lacks " << [part UTF8String];
}

void expectBefore(NSString *text, NSString *first, NSString *second)
{
    expectContains(text, first);
    expectContains(text, second);
    EXPECT_LT([text rangeOfString:first].location, [text rangeOfString:second].location);
}

}  // namespace

TEST_P(LocalizedStrings, TheTableHasTheKeysOfTheEnglishOne)
{
    ASSERT_GT([m_table count], 0u);
    NSSet *english = [NSSet setWithArray:[tableOf("en") allKeys]];
    NSSet *own = [NSSet setWithArray:[m_table allKeys]];
    EXPECT_TRUE([own isEqual:english]);
}

TEST_P(LocalizedStrings, NoTextIsEmpty)
{
    for (NSString *key in m_table)
        EXPECT_GT([[m_table objectForKey:key] length], 0u) << [key UTF8String];
}

TEST_P(LocalizedStrings, AShortNameIsShownWhole)
{
    NSString *text =
        [NSString stringWithFormat:format(@"IDS_COPY_TIPS_SHORT_FILENAME"), @"/Bilder/Süd.jpg"];
    expectContains(text, @"/Bilder/Süd.jpg");
}

TEST_P(LocalizedStrings, ALongNameShowsItsBeginningAndItsEndWithAnEllipsisBetween)
{
    NSString *text = [NSString
        stringWithFormat:format(@"IDS_COPY_TIPS_LONG_FILENAME"), @"/Pictures", @"iday 1.jpg"];
    expectContains(text, @"/Pictures…iday 1.jpg");
}

TEST_P(LocalizedStrings, WhileTheTimeIsCalculatedBothSizesAreShown)
{
    NSString *text = [NSString stringWithFormat:format(@"IDS_COPY_TIPS_CALCULATE"), 12.26, 4096.04];
    expectContains(text, @"12.3");
    expectContains(text, @"4096.0");
}

TEST_P(LocalizedStrings, AboveAMinuteTheMinutesAndBothSizesAreShown)
{
    NSString *text =
        [NSString stringWithFormat:format(@"IDS_COPY_TIPS_ABOVE_1MIN"), 87, 12.26, 4096.04];
    expectContains(text, @"87");
    expectContains(text, @"12.3");
    expectContains(text, @"4096.0");
}

TEST_P(LocalizedStrings, BelowAMinuteBothSizesAreShown)
{
    NSString *text = [NSString stringWithFormat:format(@"IDS_COPY_TIPS_LESS_1MIN"), 12.26, 4096.04];
    expectContains(text, @"12.3");
    expectContains(text, @"4096.0");
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
    NSDictionary *table = tableOf("ja");
    NSString *text = [NSString
        stringWithFormat:[table objectForKey:@"IDS_COPY_TIPS_ABOVE_1MIN"], 87, 12.26, 4096.04];
    expectBefore(text, @"87", @"4096.0");
    expectBefore(text, @"4096.0", @"12.3");
    [pool release];
}
