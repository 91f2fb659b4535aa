// The translations of Volume Host: complete, with the same places for arguments.
#import "HostAppDelegate.h"
#include "HostTables.h"
#include "HostTexts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;

using vxtest::Contents;

void AddMatches(const std::string &text, const std::regex &pattern, std::set<std::string> *found)
{
    for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match)
        found->insert((*match)[1]);
}

// Of sources, with the pieces of a broken literal joined.
std::set<std::string> TextsOfSources()
{
    static const std::regex joint("\"\\s*\\n\\s*@?\"");
    static const std::regex text("(?:Localized|Text)\\(\\s*@?\"([^\"]+)\"");
    static const std::regex choice("Localized\\([^@]*\\? @\"([^\"]+)\" : @\"[^\"]+\"");
    std::set<std::string> texts;
    for (const auto &entry : fs::recursive_directory_iterator(VX_HOST_RESOURCES "/..")) {
        const std::string extension = entry.path().extension();
        if (extension != ".mm" && extension != ".cpp")
            continue;
        const std::string source = std::regex_replace(Contents(entry.path()), joint, "");
        AddMatches(source, text, &texts);
        AddMatches(source, choice, &texts);
    }
    return texts;
}

std::set<std::string> TextsOfInterface()
{
    static const std::regex text("(?:title|toolTip|description)=\"([^\"]+)\"");
    std::set<std::string> texts;
    for (const auto &entry : fs::directory_iterator(VX_HOST_RESOURCES "/Base"))
        AddMatches(Contents(entry.path()), text, &texts);
    texts.erase("Text");       // of a column's cell
    texts.erase("Main Menu");  // never shown
    return texts;
}

std::set<std::string> PlacesOf(NSString *text)
{
    std::set<std::string> places;
    AddMatches(vx::BytesOf(text), std::regex("(\\{[0-9]\\})"), &places);
    return places;
}

class HostStrings : public testing::TestWithParam<const char *> {
protected:
    NSDictionary *_table = vxtest::HostTable(GetParam());
};

TEST_P(HostStrings, EveryTextOfTheEnglishTableIsThereWithItsPlaces)
{
    NSDictionary *english = vxtest::HostTable("en");
    ASSERT_GT([english count], 100u);
    EXPECT_EQ([_table count], [english count]);
    for (NSString *key in english) {
        NSString *text = [_table objectForKey:key];
        EXPECT_GT([text length], 0u) << [key UTF8String];
        EXPECT_EQ(PlacesOf(text), PlacesOf([english objectForKey:key])) << [key UTF8String];
    }
}

// Of the folder panel, which Volume Host shares with the explorer.
TEST_P(HostStrings, TheBundleHasThePanelsTexts)
{
    NSString *path = [[[NSBundle mainBundle] resourcePath]
        stringByAppendingFormat:@"/%s.lproj/Panel.strings", GetParam()];
    NSDictionary *table =
        [[NSString stringWithContentsOfFile:path encoding:NSUTF8StringEncoding
                                      error:nullptr] propertyListFromStringsFileFormat];
    NSString *home = [table objectForKey:@"Home"];
    EXPECT_GT([home length], 0u);
    EXPECT_EQ([home isEqualToString:@"Home"], std::string(GetParam()) == "en");
    EXPECT_GT([[table objectForKey:@"Show hidden files and folders"] length], 0u);
}

INSTANTIATE_TEST_SUITE_P(Languages, HostStrings,
                         testing::Values("en", "de", "fr", "es", "ja", "zh-Hans"),
                         [](const testing::TestParamInfo<const char *> &info) {
                             std::string name = info.param;
                             name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                             return name;
                         });

TEST(HostTexts, EveryTextOfSourcesAndInterfaceIsInTheTable)
{
    NSDictionary *english = vxtest::HostTable("en");
    std::set<std::string> texts = TextsOfSources();
    ASSERT_GT(texts.size(), 40u);
    texts.merge(TextsOfInterface());
    for (const std::string &text : texts)
        EXPECT_NE([english objectForKey:vx::TextOf(text)], nil) << text;
}

// One of two elements with the same would be left out.
TEST(HostTexts, EveryElementOfTheInterfaceHasAnIdOfItsOwn)
{
    static const std::regex id("\\bid=\"([^\"]+)\"");
    for (const auto &entry : fs::directory_iterator(VX_HOST_RESOURCES "/Base")) {
        const std::string file = Contents(entry.path());
        const size_t count = std::distance(std::sregex_iterator(file.begin(), file.end(), id),
                                           std::sregex_iterator());
        std::set<std::string> ids;
        AddMatches(file, id, &ids);
        ASSERT_GT(count, 40u) << entry.path();
        EXPECT_EQ(ids.size(), count) << entry.path();
    }
}

TEST(HostTexts, SizesHaveOneDecimalAndBytesNone)
{
    const auto size = vx::UserWording().size;
    EXPECT_EQ(size(0), "0 bytes");
    EXPECT_EQ(size(1023), "1023 bytes");
    EXPECT_EQ(size(1536), "1.5 KiB");
    EXPECT_EQ(size(uint64_t{5} << 60), "5.0 EiB");
    EXPECT_EQ(size(UINT64_MAX), "16.0 EiB");
}

TEST(HostTexts, ASizeIsNever1024OfAUnit)
{
    const auto size = vx::UserWording().size;
    EXPECT_EQ(size((1 << 20) - 1), "1.0 MiB");
    EXPECT_EQ(size((uint64_t{1} << 40) - 512), "1.0 TiB");
}

TEST(HostTexts, WhatIsNoUtf8IsStillShown)
{
    EXPECT_EQ([vx::TextOf("a\xFF.img") length], 6u);
}

}  // namespace
