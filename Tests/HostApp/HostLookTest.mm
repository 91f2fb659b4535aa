// The windows as they look: every text stands out, and none is cut off in any language.
#include "Contrast.h"
#import "DamageWindow.h"
#include "HostTables.h"
#include "HostWindow.h"
#include "OpeningReason.h"
#import "SourceCell.h"
#include "VolumeReport.h"
#include "VolumeTexts.h"

#include <algorithm>
#include <string>

namespace {

void AddControls(NSView *view, NSMutableArray *controls)
{
    if ([view isKindOfClass:[NSControl class]])
        [controls addObject:view];
    for (NSView *part in [view subviews])
        AddControls(part, controls);
}

NSArray *ControlsOf(NSWindow *window)
{
    NSMutableArray *controls = [NSMutableArray array];
    AddControls([window contentView], controls);
    return controls;
}

// Of the pixels of a cell that is drawn in a window, the one that stands out best.
double BestContrast(NSCell *cell, NSSize size)
{
    NSWindow *window =
        [[NSWindow alloc] initWithContentRect:NSMakeRect(100, 100, size.width, size.height)
                                    styleMask:NSBorderlessWindowMask
                                      backing:NSBackingStoreBuffered
                                        defer:NO];
    [window setReleasedWhenClosed:NO];
    NSColor *background = [NSColor controlBackgroundColor];
    [window setBackgroundColor:background];
    [window orderFront:nil];
    [window display];
    NSView *view = [window contentView];
    [view lockFocus];
    [cell drawInteriorWithFrame:[view bounds] inView:view];
    NSBitmapImageRep *pixels =
        [[[NSBitmapImageRep alloc] initWithFocusedViewRect:[view bounds]] autorelease];
    [view unlockFocus];
    double best = 1;
    for (NSInteger y = 0; y < [pixels pixelsHigh]; ++y)
        for (NSInteger x = 0; x < [pixels pixelsWide]; ++x)
            best = std::max(best, vxtest::Contrast([pixels colorAtX:x y:y], background));
    [window close];
    [window release];
    return best;
}

// Enough for small text.
constexpr double kReadable = 4.5;

// Run a second time in the theme's dark colours.
class ReadableHostTexts : public HostWindowTest {};

TEST_F(ReadableHostTexts, OfTheWindowsStandOut)
{
    DamageWindow *list = [[[DamageWindow alloc] init] autorelease];
    int labels = 0;
    for (NSWindow *window in @[ Window(), [list window] ]) {
        for (NSTextField *label in ControlsOf(window)) {
            if (![label isKindOfClass:[NSTextField class]])
                continue;
            ++labels;
            NSColor *background =
                [label drawsBackground] ? [label backgroundColor] : [window backgroundColor];
            EXPECT_GE(vxtest::Contrast([label textColor], background), kReadable)
                << [[label description] UTF8String] << [[label stringValue] UTF8String];
        }
    }
    EXPECT_GT(labels, 12);
    [list close];
}

TEST_F(ReadableHostTexts, OfTheListStandOut)
{
    SourceCell *heading = [[[SourceCell alloc] initTextCell:@"IIIIII"] autorelease];
    [heading setHeading:YES];
    EXPECT_GE(BestContrast(heading, NSMakeSize(200, 24)), kReadable);
    // Without a name, so that the small line below it is what is seen.
    SourceCell *detail = [[[SourceCell alloc] initTextCell:@""] autorelease];
    [detail setIcon:nil detail:@"IIIIII" indentation:0];
    EXPECT_GE(BestContrast(detail, NSMakeSize(200, 40)), kReadable);
}

// The windows of this process are in English: the texts of each language are put into them.
class HostInLanguage : public HostWindowTest, public testing::WithParamInterface<const char *> {
protected:
    HostInLanguage()
        : list([[DamageWindow alloc] init]), _table([vxtest::HostTable(GetParam()) retain])
    {
        const NSSize least = [Window() minSize];
        [Window() setFrame:NSMakeRect(0, 0, least.width, least.height) display:NO];
        [list window];
    }
    ~HostInLanguage() override
    {
        [list close];
        [list release];
        [_table release];
    }
    HostInLanguage(const HostInLanguage &) = delete;
    HostInLanguage &operator=(const HostInLanguage &) = delete;

    // nil if the text is no key.
    NSString *Translated(NSString *text) { return [_table objectForKey:text]; }
    NSArray *Keys() { return [_table allKeys]; }
    vx::Wording Words()
    {
        return {[this](const std::string &key) {
                    NSString *text = Translated(vx::TextOf(key));
                    EXPECT_NE(text, nil) << key;
                    return vx::BytesOf(text);
                },
                [](uint64_t bytes) { return vx::UserWording().size(bytes); }};
    }
    std::string Word(const std::string &key, const std::vector<std::string> &arguments = {})
    {
        return Words().Text(key, arguments);
    }

    void ChooseRecoveryKey()
    {
        Choose("/dev/sdb1", vxtest::EncryptedVolume("/dev/sdb1", {"recovery-password"}));
    }
    void Hint(const std::string &more)
    {
        const std::string text = Word("Key identifier: {1}", {"1A2B3C4D"}) + more;
        [[Fields() hintLabel] setStringValue:vx::TextOf(text)];
    }
    void ExpectStackFits()
    {
        NSView *stack = [Pane() stack];
        CGFloat bottom = 0;
        for (NSView *part in [stack subviews])
            bottom = [part isHidden] ? bottom : std::max(bottom, NSMaxY([part frame]));
        EXPECT_GT(bottom, 100);
        EXPECT_LE(bottom, NSHeight([stack bounds])) << Message();
    }

    DamageWindow *list;

private:
    NSDictionary *_table;
};

void ExpectHolds(NSControl *control, NSString *text)
{
    const bool isButton = [control isKindOfClass:[NSButton class]];
    if (isButton)
        [(NSButton *)control setTitle:text];
    else
        [control setStringValue:text];
    EXPECT_LE([[control cell] cellSize].width, NSWidth([control frame])) << [text UTF8String];
}

void ExpectFits(const std::string &text, NSFont *font, CGFloat width)
{
    NSDictionary *attributes = [NSDictionary dictionaryWithObject:font forKey:NSFontAttributeName];
    EXPECT_LE([vx::TextOf(text) sizeWithAttributes:attributes].width, width) << text;
}

TEST_P(HostInLanguage, EveryControlHoldsItsTitle)
{
    int titles = 0;
    for (NSWindow *window in @[ Window(), [list window] ]) {
        for (NSControl *control in ControlsOf(window)) {
            const bool isButton = [control isKindOfClass:[NSButton class]];
            const bool isTitled = isButton || [control isKindOfClass:[NSTextField class]];
            if (!isTitled || [control isKindOfClass:[NSPopUpButton class]])
                continue;
            NSString *text =
                Translated(isButton ? [(NSButton *)control title] : [control stringValue]);
            // A label of the pane itself is as high as its lines are many.
            if (text == nil || (!isButton && [control superview] == [Pane() stack]))
                continue;
            ++titles;
            ExpectHolds(control, text);
        }
    }
    EXPECT_GE(titles, 12);
    ExpectHolds([Pane() unlockButton], Translated(@"Open"));
    ExpectHolds([Pane() unlockButton], Translated(@"Unlock"));
}

TEST_P(HostInLanguage, TheKindsOfSecretFitTheirMenu)
{
    constexpr CGFloat kArrow = 30;
    for (const vx::SecretKind kind : {vx::SecretKind::kPassword, vx::SecretKind::kRecoveryKey,
                                      vx::SecretKind::kStartupKey, vx::SecretKind::kRecoveryFile})
        ExpectFits(vx::ChoiceTitle({kind, {"1A2B3C4D", "99AABBCC"}}, Words()),
                   [[Pane() kindPopUp] font], NSWidth([[Pane() kindPopUp] frame]) - kArrow);
}

TEST_P(HostInLanguage, WhatIsGoingOnFitsItsLine)
{
    ExpectHolds([Pane() statusLabel], vx::TextOf(Word("Searching for lost metadata: {1} of {2}",
                                                      {vx::UserWording().size(1023ull << 20),
                                                       vx::UserWording().size(1023ull << 20)})));
    ExpectHolds([Pane() statusLabel], vx::TextOf(Word("Trying key {1} of {2}", {"100", "100"})));
    for (NSString *key in @[ @"Unlocking…", @"Reading…" ])
        ExpectHolds([Pane() statusLabel], Translated(key));
}

TEST_P(HostInLanguage, EverySentenceFitsThePaneOfTheSmallestWindow)
{
    ChooseRecoveryKey();
    Hint("\n" + Word("Mistyped: group {1}.", {"1, 2, 3, 4, 5, 6, 7, 8"}));
    int sentences = 0;
    for (NSString *key in Keys()) {
        if (![key hasSuffix:@"."])
            continue;
        ++sentences;
        [Pane() say:Translated(key) detail:""];
        ExpectStackFits();
    }
    EXPECT_GT(sentences, 40);
}

TEST_P(HostInLanguage, TheOfferOfARightFitsThePaneOfTheSmallestWindow)
{
    ChooseRecoveryKey();
    Hint("");
    [[Pane() rightRow] showPath:"/dev/sdb1"];
    for (const char *sentence :
         {"You have no permission to read it.", "The permission was not given."}) {
        [Pane() say:vx::TextOf(Word(sentence)) detail:""];
        ExpectStackFits();
    }
}

TEST_P(HostInLanguage, TheListOfDisksHoldsItsHeadingsAndMarks)
{
    constexpr CGFloat kMargins = 2 * 8, kIcon = 24 + 8, kVolume = 16;
    const CGFloat width = NSWidth([[List() enclosingScrollView] frame]) - kMargins;
    for (const char *heading : {"Disks", "Removable Disks", "Recent Images"})
        ExpectFits(Word(heading), [NSFont boldSystemFontOfSize:11], width);
    ExpectFits(Word("No disk is attached."), [NSFont systemFontOfSize:0], width);
    for (const char *mark : {"system", "no access"})
        ExpectFits("sdb1 · " + Word(mark) + " · " + vx::UserWording().size(58ull << 30),
                   [NSFont systemFontOfSize:11], width - kIcon - kVolume);
}

// The text of a cell keeps this off each edge.
constexpr CGFloat kInset = 4;

TEST_P(HostInLanguage, TheListOfDamageHoldsEveryReason)
{
    NSTableColumn *column = [[list tableView] tableColumnWithIdentifier:@"reason"];
    for (uint32_t kind = static_cast<uint32_t>(vx::ChannelDamageKind::kFileData);
         kind <= static_cast<uint32_t>(vx::ChannelDamageKind::kDiskGone); ++kind) {
        for (uint32_t obstacle = 0; obstacle <= static_cast<uint32_t>(VolumeObstacle::kSameName);
             ++obstacle) {
            const vx::ChannelDamage row = {
                static_cast<vx::ChannelDamageKind>(kind), obstacle, "/a", {}, 0};
            ExpectFits(vx::DamageReason(row, Words()), [[column dataCell] font],
                       [column width] - 2 * kInset);
        }
    }
}

TEST_P(HostInLanguage, TheListOfDamageIsWideEnoughForItsColumns)
{
    NSWindow *window = [list window];
    const NSSize least = [window minSize];
    [list showWindow:nil];
    [window setFrame:NSMakeRect(0, 0, least.width, least.height) display:NO];
    EXPECT_NEAR(NSMaxX([[list tableView] rectOfColumn:2]), NSWidth([[window contentView] bounds]),
                2);
    EXPECT_GT([[[list tableView] tableColumnWithIdentifier:@"path"] width], 120);
}

TEST_P(HostInLanguage, TheListOfDamageHoldsAmountsAndTitles)
{
    NSTableColumn *column = [[list tableView] tableColumnWithIdentifier:@"amount"];
    const std::string size = Word("more than {1}", {vx::UserWording().size(1000ull << 20)});
    for (const std::string &text : {size, Word("entries: {1}", {"100000"})})
        ExpectFits(text, [[column dataCell] font], [column width] - 2 * kInset);
    for (NSTableColumn *each in [[list tableView] tableColumns])
        ExpectFits(Word(vx::BytesOf([[each headerCell] stringValue])), [[each headerCell] font],
                   [each width] - 2 * kInset);
}

INSTANTIATE_TEST_SUITE_P(Every, HostInLanguage,
                         testing::Values("en", "de", "fr", "es", "ja", "zh-Hans"),
                         [](const auto &info) {
                             const std::string name = info.param;
                             return name == "zh-Hans" ? std::string("zhHans") : name;
                         });

}  // namespace
