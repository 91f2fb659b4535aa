// The translations of Volume Host: complete, with the same places for arguments, and short enough.
#import "HostAppDelegate.h"
#include "HostTexts.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace {

namespace fs = std::filesystem;

std::string Contents(const fs::path &path)
{
    std::ifstream in(path);
    return {std::istreambuf_iterator<char>(in), {}};
}

NSDictionary *TableOf(const std::string &language)
{
    const std::string path = VX_HOST_RESOURCES "/" + language + ".lproj/Localizable.strings";
    return [vx::TextOf(Contents(path)) propertyListFromStringsFileFormat];
}

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
    NSDictionary *_table = TableOf(GetParam());
};

TEST_P(HostStrings, EveryTextOfTheEnglishTableIsThereWithItsPlaces)
{
    NSDictionary *english = TableOf("en");
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

// The title of a push button needs this much beside it, that of a caption nothing.
struct Room {
    NSString *key;
    CGFloat points;
};

TEST_P(HostStrings, NoTitleIsWiderThanItsControl)
{
    constexpr CGFloat kBeside = 16;
    NSDictionary *font = @{NSFontAttributeName : [NSFont systemFontOfSize:13]};
    const Room rooms[] = {{@"Open Image…", 216 - kBeside},
                          {@"Unlock", 120 - kBeside},
                          {@"Open", 120 - kBeside},
                          {@"Cancel", 120 - kBeside},
                          {@"Choose…", 120 - kBeside},
                          {@"Copy", 120 - kBeside},
                          {@"Save…", 120 - kBeside},
                          {@"Close", 120 - kBeside},
                          {@"Ask for Permission…", 260 - kBeside},
                          {@"Show the password", 440 - kBeside - 20},
                          {@"Missing", 100},
                          {@"Searching for lost metadata: {1} of {2}", 440},
                          {@"Or run this command in a terminal:", 440},
                          {@"Startup key file (.BEK)", 440 - 3 * kBeside},
                          {@"Recovery key file (.TXT)", 440 - 3 * kBeside},
                          {@"Recent Images", 220}};
    for (const Room &room : rooms) {
        NSString *text = [_table objectForKey:room.key];
        EXPECT_LE([text sizeWithAttributes:font].width, room.points) << [text UTF8String];
    }
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
    NSDictionary *english = TableOf("en");
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
    const std::string file = Contents(VX_HOST_RESOURCES "/Base/VolumeHost.xib");
    const size_t count =
        std::distance(std::sregex_iterator(file.begin(), file.end(), id), std::sregex_iterator());
    std::set<std::string> ids;
    AddMatches(file, id, &ids);
    ASSERT_GT(count, 100u);
    EXPECT_EQ(ids.size(), count);
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
