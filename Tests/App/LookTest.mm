// The windows as they look: everything on view, nothing cut off, in every language.
#import "CopyingFileWindow.h"
#import "InterfaceTexts.h"
#include "LookSettings.h"
#import "SelectionLine.h"

#include "Contrast.h"
#import "ExplorerFixture.h"
#import "ModalDriver.h"

#include <gtest/gtest.h>

#include <string>

@interface AppDelegate (View)
- (void)showExplorer;
@end

// A view with a description for accessibility, which not every platform has.
@interface DescribedView : NSView {
    NSString *_accessibilityLabel;
}
@property (copy) NSString *accessibilityLabel;
@end

@implementation DescribedView

@synthesize accessibilityLabel = _accessibilityLabel;

- (void)dealloc
{
    [_accessibilityLabel release];
    [super dealloc];
}

@end

namespace {

// The whole of a large disk, 20 TB, for six days.
constexpr int kMinutes = 8888;
constexpr double kMiB = 19073486.3;
NSString *const kNameStart = @"/Messages";
NSString *const kNameEnd = @"Images.jpg";

NSDictionary *TableOf(const std::string &language)
{
    NSMutableDictionary *all = [NSMutableDictionary dictionary];
    for (NSString *name in @[ @"Localizable", @"Panel" ]) {
        NSString *path = [NSString stringWithFormat:@"%@/%s.lproj/%@.strings",
                                                    [[NSBundle mainBundle] resourcePath],
                                                    language.c_str(), name];
        NSString *text = [NSString stringWithContentsOfFile:path
                                                   encoding:NSUTF8StringEncoding
                                                      error:nullptr];
        [all addEntriesFromDictionary:[text propertyListFromStringsFileFormat]];
    }
    return all;
}

NSControl *FirstOfClass(NSView *view, Class type)
{
    for (NSView *subview in [view subviews])
        if ([subview isKindOfClass:type])
            return (NSControl *)subview;
    return nil;
}

CGFloat WidthOf(NSString *text, NSControl *control)
{
    return [text sizeWithAttributes:@{NSFontAttributeName : [control font]}].width;
}

void ExpectFits(NSString *text, NSControl *control, CGFloat margin)
{
    ASSERT_NE(control, nil);
    ASSERT_GT([text length], 0u);
    EXPECT_LE(WidthOf(text, control) + 2 * margin, [control frame].size.width) << [text UTF8String];
}

// Run a second time in the theme's dark colours, in which the window stays white.
using ReadableTexts = ExplorerTest;

TEST_F(ReadableTexts, OfTheProgressWindowAreDarkOnWhite)
{
    CopyingFileWindow *progress = [[CopyingFileWindow alloc] init];
    NSWindow *shown = [progress window];
    int count = 0;
    for (NSView *view in [[shown contentView] subviews]) {
        if (![view isKindOfClass:[NSTextField class]])
            continue;
        ++count;
        EXPECT_GT(vxtest::Contrast([(NSTextField *)view textColor], [shown backgroundColor]), 7);
    }
    EXPECT_EQ(count, 2);
    [progress close];
    [progress release];
}

TEST_F(ReadableTexts, InPlaceOfTheTreeStandOut)
{
    NSView *group = [[[[[window contentView] subviews] lastObject] subviews] lastObject];
    NSTextField *line = (NSTextField *)FirstOfClass(group, [NSTextField class]);
    ASSERT_NE(line, nil);
    EXPECT_GE(vxtest::Contrast([line textColor], [window backgroundColor]), 4.5);
}

class TextsInLanguage : public ExplorerTest, public testing::WithParamInterface<const char *> {
protected:
    TextsInLanguage() : _texts([TableOf(GetParam()) retain])
    {
        _progress = [[CopyingFileWindow alloc] init];
        [_progress window];
    }
    ~TextsInLanguage() override
    {
        [_progress close];
        [_progress release];
        [_texts release];
    }
    TextsInLanguage(const TextsInLanguage &) = delete;
    TextsInLanguage &operator=(const TextsInLanguage &) = delete;

    NSString *text(NSString *key) { return [_texts objectForKey:key]; }

    CopyingFileWindow *_progress = nil;
    NSDictionary *_texts;
};

TEST_P(TextsInLanguage, TheButtonsHoldTheirTitles)
{
    ExpectFits(text(@"Export"), [controller btnExport], 10);
    ExpectFits(text(@"Cancel"), FirstOfClass([[_progress window] contentView], [NSButton class]),
               10);
}

TEST_P(TextsInLanguage, TheSmallestWindowHoldsTheLineAboutTheSelection)
{
    [window setFrame:NSMakeRect(0, 0, [window minSize].width, [window minSize].height) display:NO];
    [delegate showExplorer];
    NSString *count = [NSString stringWithFormat:text(@"IDS_SELECTION_MANY"), 10000000];
    NSString *line = [NSString
        stringWithFormat:text(@"IDS_SELECTION_SIZE_OF_MANY"), count, @"20000.0 GB", 9999999];
    ExpectFits(line, FirstOfClass([delegate FileExplorerView], [SelectionLine class]), 2);
}

TEST_P(TextsInLanguage, TheSmallestWindowHoldsTheLineInPlaceOfTheTree)
{
    [window setFrame:NSMakeRect(0, 0, [window minSize].width, [window minSize].height) display:NO];
    NSView *group = [[[[[window contentView] subviews] lastObject] subviews] lastObject];
    EXPECT_TRUE(NSContainsRect([[window contentView] bounds], [group frame]));
    ExpectFits(text(@"No volume is open."), FirstOfClass(group, [NSTextField class]), 2);
}

TEST_P(TextsInLanguage, TheProgressWindowHoldsItsLines)
{
    NSTextField *line = [_progress infoLabel];
    ExpectFits([NSString stringWithFormat:text(@"IDS_COPY_TIPS_ABOVE_1MIN"), kMinutes, kMiB, kMiB],
               line, 2);
    ExpectFits([NSString stringWithFormat:text(@"IDS_COPY_TIPS_LESS_1MIN"), kMiB, kMiB], line, 2);
    // Nothing is copied yet.
    ExpectFits([NSString stringWithFormat:text(@"IDS_COPY_TIPS_CALCULATE"), 0.0, kMiB], line, 2);
    NSString *file =
        [NSString stringWithFormat:text(@"IDS_COPY_TIPS_LONG_FILENAME"), kNameStart, kNameEnd];
    ExpectFits(file, [_progress fileInfoLable], 2);
}

TEST_P(TextsInLanguage, TheFolderPanelHoldsItsTexts)
{
    NSFont *font = [NSFont systemFontOfSize:0];
    const auto width = [&](NSString *key) {
        return [text(key) sizeWithAttributes:@{NSFontAttributeName : font}].width;
    };
    // Of the places, the switch and the three buttons in a row of the smallest panel.
    for (NSString *place in @[ @"Home", @"Desktop", @"Documents" ])
        EXPECT_LE(width(place), vx::scaled(138 - 8)) << [text(place) UTF8String];
    EXPECT_LE(width(@"Show hidden files and folders") + 24, vx::scaled(500 - 138 - 3 * 8));
    EXPECT_LE(width(@"New Folder") + width(@"Cancel") + width(@"Save") + 6 * 12 + 5 * 9,
              vx::scaled(500));
}

TEST_P(TextsInLanguage, TheWindowsTitleLeavesRoomForItsButtons)
{
    NSFont *font = [NSFont boldSystemFontOfSize:0];
    NSString *title = text(@"File Explorer");
    EXPECT_LE([title sizeWithAttributes:@{NSFontAttributeName : font}].width + 160,
              [window minSize].width);
}

INSTANTIATE_TEST_SUITE_P(Every, TextsInLanguage,
                         testing::Values("en", "de", "fr", "es", "ja", "zh-Hans"),
                         [](const auto &info) {
                             const std::string name = info.param;
                             return name == "zh-Hans" ? std::string("zhHans") : name;
                         });

TEST_F(ExplorerTest, InAWindowOfAnySizeTheViewFillsItAndTheButtonStaysInSight)
{
    const NSSize left = NSMakeSize(640, 400);
    [window setContentSize:left];
    [delegate showExplorer];
    const NSRect content = [[window contentView] bounds];
    EXPECT_TRUE(NSEqualRects([[delegate FileExplorerView] frame], content));
    NSView *button = [controller btnExport];
    EXPECT_TRUE(NSContainsRect(content, [button convertRect:[button bounds]
                                                     toView:[window contentView]]));
    NSView *header = [Tree() headerView];
    EXPECT_TRUE(NSContainsRect(content, [header convertRect:[header visibleRect]
                                                     toView:[window contentView]]));
    EXPECT_GT([header visibleRect].size.height, 20);
}

TEST_F(ExplorerTest, NothingInTheWindowLiesOverAnythingElse)
{
    NSArray *parts = [[delegate FileExplorerView] subviews];
    for (NSView *part in parts) {
        for (NSView *other in parts) {
            EXPECT_TRUE(part == other ||
                        NSIsEmptyRect(NSIntersectionRect([part frame], [other frame])))
                << [[part description] UTF8String] << [[other description] UTF8String];
        }
    }
}

TEST_F(ExplorerTest, WithoutAVolumeTheMiddleOfTheWindowSaysSoWithAnIcon)
{
    [window setContentSize:NSMakeSize(640, 400)];
    NSView *content = [window contentView];
    ASSERT_EQ([[content subviews] count], 1u);
    NSView *place = [[content subviews] objectAtIndex:0];
    EXPECT_TRUE(NSEqualRects([place frame], [content bounds]));
    NSView *group = [[place subviews] lastObject];
    EXPECT_NEAR(NSMidX([group frame]), NSMidX([content bounds]), 1);
    EXPECT_NEAR(NSMidY([group frame]), NSMidY([content bounds]), 1);
    NSControl *line = FirstOfClass(group, [NSTextField class]);
    EXPECT_STREQ([[line stringValue] UTF8String], "No volume is open.");
    NSImageView *icon = (NSImageView *)FirstOfClass(group, [NSImageView class]);
    EXPECT_NE([icon image], nil);
    EXPECT_EQ(NSMidX([icon frame]), NSMidX([group bounds]));
    EXPECT_GE(NSMinY([icon frame]), NSMaxY([line frame]));
    [delegate showExplorer];
    EXPECT_TRUE([place isHidden]);
}

TEST_F(ExplorerTest, ALevelOfTheTreeIsIndentedByMoreThanAnIcon)
{
    Open();
    EXPECT_EQ([Tree() indentationPerLevel], 18);
}

TEST_F(ExplorerTest, AColumnsTitleStandsAboveItsTexts)
{
    Root().File(u"a.txt", 10);
    Open();
    const NSInteger index = [Tree() columnWithIdentifier:@"modified"];
    NSCell *title = [[[Tree() tableColumns] objectAtIndex:NSUInteger(index)] headerCell];
    const NSRect above = [title titleRectForBounds:[[Tree() headerView] headerRectOfColumn:index]];
    const NSRect cell = [Tree() frameOfCellAtColumn:index row:0];
    // A text keeps 2 points off its cell's edges.
    EXPECT_NEAR(NSMinX(above), NSMinX(cell) + 2, 1);
    EXPECT_NEAR(NSMaxX(above), NSMaxX(cell) - 2, 1);
}

TEST(ProgressWindow, ItsBarIsOnViewAndItsIconAsLargeAsItsPlace)
{
    CopyingFileWindow *progress = [[CopyingFileWindow alloc] init];
    [progress window];
    EXPECT_FALSE([[progress progressBar] isHidden]);
    EXPECT_EQ([[progress fileImage] imageScaling], NSImageScaleProportionallyUpOrDown);
    // There is a drawing of just that size.
    [progress updateInfoOnMain:@"/film.mp4"];
    bool drawnForIt = false;
    for (NSImageRep *drawing in [[[progress fileImage] image] representations])
        drawnForIt |= [drawing pixelsWide] == NSInteger(NSWidth([[progress fileImage] frame])) &&
                      [drawing size].width == NSWidth([[progress fileImage] frame]);
    EXPECT_TRUE(drawnForIt);
    [progress close];
    [progress release];
}

TEST(AboutPanel, NamesTheProgramItsVersionAndWhatItDoes)
{
    bool named = false, described = false;
    apptest::When([] { return [NSApp modalWindow] != nil; },
                  [&] {
                      NSBundle *bundle = [NSBundle mainBundle];
                      NSString *release = [bundle objectForInfoDictionaryKey:@"ApplicationRelease"];
                      NSString *what =
                          [bundle objectForInfoDictionaryKey:@"ApplicationDescription"];
                      NSString *name = [@"File Explorer " stringByAppendingString:release];
                      named = apptest::ShowsText([NSApp modalWindow], name);
                      described = apptest::ShowsText([NSApp modalWindow], what);
                      // Translated by its text.
                      EXPECT_NE([TableOf("de") objectForKey:what], nil);
                      [apptest::ButtonTitled([NSApp modalWindow], @"OK") performClick:nil];
                  });
    [NSApp orderFrontStandardAboutPanel:nil];
    EXPECT_TRUE(named);
    EXPECT_TRUE(described);
}

TEST(InterfaceTexts, DescriptionsForAccessibilityAreLookedUpAsWell)
{
    DescribedView *view = [[[DescribedView alloc] initWithFrame:NSZeroRect] autorelease];
    DescribedView *inner = [[[DescribedView alloc] initWithFrame:NSZeroRect] autorelease];
    [view addSubview:inner];
    // A key whose text is another one.
    [inner setAccessibilityLabel:@"IDS_COPY_TIPS_SHORT_FILENAME"];
    InterfaceTexts *texts = [[InterfaceTexts new] autorelease];
    [texts setView:view];
    [texts awakeFromNib];
    EXPECT_STREQ([[inner accessibilityLabel] UTF8String], "Copying %@");
    EXPECT_EQ([[view accessibilityLabel] length], 0u);
}

}  // namespace
