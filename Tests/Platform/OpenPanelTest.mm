#import <AppKit/AppKit.h>

@interface NSOpenPanel (Typing)
- (void)controlTextDidChange:(NSNotification *)notification;
@end

#include <gtest/gtest.h>

#include "FolderName.h"
#import "PanelParts.h"
#include "TemporaryFolder.h"

namespace {

NSString *Text(const std::string &path)
{
    return [NSString stringWithUTF8String:path.c_str()];
}

class OpenPanel : public testing::Test {
protected:
    OpenPanel() : m_panel([NSOpenPanel openPanel]) {}
    ~OpenPanel() override { [m_pool release]; }

    template <typename View>
    View *View(NSInteger tag)
    {
        return (View *)[[m_panel contentView] viewWithTag:tag];
    }
    NSButton *OkButton() { return View<NSButton>(NSFileHandlingPanelOKButton); }

    static NSView *Find(NSView *view, bool (*matches)(NSView *, NSString *), NSString *what)
    {
        if (matches(view, what))
            return view;
        for (NSView *subview in [view subviews])
            if (NSView *found = Find(subview, matches, what))
                return found;
        return nil;
    }
    NSButton *ButtonTitled(NSString *title)
    {
        return (NSButton *)Find(
            [m_panel contentView],
            [](NSView *view, NSString *wanted) -> bool {
                return [view isKindOfClass:[NSButton class]] &&
                       [[(NSButton *)view title] isEqualToString:wanted];
            },
            title);
    }

    // As a key pressed in the name field does.
    void Type(NSString *text)
    {
        NSTextView *editor = [[NSTextView new] autorelease];
        [editor setString:text];
        NSDictionary *info = [NSDictionary dictionaryWithObject:editor forKey:@"NSFieldEditor"];
        NSNotification *changed =
            [NSNotification notificationWithName:NSControlTextDidChangeNotification
                                          object:nil
                                        userInfo:info];
        [(id)m_panel controlTextDidChange:changed];
    }

    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
    NSOpenPanel *m_panel;
};

}  // namespace

TEST_F(OpenPanel, ThePromptTitlesTheConfirmingButton)
{
    [m_panel setPrompt:@"Save"];
    EXPECT_STREQ([[OkButton() title] UTF8String], "Save");
    EXPECT_STREQ([[m_panel prompt] UTF8String], "Save");
}

TEST_F(OpenPanel, ThePromptLeavesTheLabelOfTheNameFieldAlone)
{
    NSString *before = [[m_panel nameFieldLabel] copy];
    [m_panel setPrompt:@"Save"];
    EXPECT_TRUE([[m_panel nameFieldLabel] isEqualToString:before]);
    EXPECT_FALSE([before isEqualToString:@"Save"]);
    EXPECT_GT([before length], 0u);
    [before release];
}

TEST_F(OpenPanel, APanelHandedOutAnewHasForgottenThePrompt)
{
    [m_panel setPrompt:@"Save"];
    NSOpenPanel *again = [NSOpenPanel openPanel];
    EXPECT_FALSE([[again prompt] isEqualToString:@"Save"]);
    EXPECT_FALSE([[again prompt] isEqualToString:[again nameFieldLabel]]);
}

TEST_F(OpenPanel, ALongPromptFitsItsButtonAndPushesTheOthersAside)
{
    [m_panel setPrompt:@"Save"];
    const NSRect before = [OkButton() frame];
    [m_panel setPrompt:@"Dans ce dossier enregistrer"];
    const NSRect grown = [OkButton() frame];
    const NSRect cancel = [View<NSButton>(NSFileHandlingPanelCancelButton) frame];
    EXPECT_GE(grown.size.width, [[OkButton() cell] cellSize].width);
    EXPECT_EQ(NSMaxX(grown), NSMaxX(before));
    EXPECT_LT(NSMaxX(cancel), NSMinX(grown));
    [m_panel setPrompt:@"Save"];
    EXPECT_EQ([OkButton() frame].size.width, before.size.width);
    EXPECT_EQ(NSMaxX([OkButton() frame]), NSMaxX(before));
}

TEST_F(OpenPanel, EveryButtonIsAsWideAsItsTitleNeedsInAnyLanguage)
{
    NSButton *cancel = View<NSButton>(NSFileHandlingPanelCancelButton);
    for (NSString *title in @[ @"Abbrechen", @"キャンセル", @"Annuler tout de suite" ]) {
        [cancel setTitle:title];
        [m_panel setPrompt:@"Save"];
        EXPECT_GE([cancel frame].size.width, [[cancel cell] cellSize].width);
        EXPECT_LT(NSMaxX([cancel frame]), NSMinX([OkButton() frame]));
        EXPECT_LT(NSMaxX([ButtonTitled(@"New Folder") frame]), NSMinX([cancel frame]));
    }
    EXPECT_STREQ([[View<NSButton>(NSFileHandlingPanelCancelButton) title] UTF8String],
                 "Annuler tout de suite");
    [NSOpenPanel openPanel];
    EXPECT_STREQ([[cancel title] UTF8String], "Cancel");
}

TEST_F(OpenPanel, APanelThatIsNotUpTakesItsFrameAtOnce)
{
    const NSRect wanted = NSMakeRect(120, 130, 520, 500);
    [m_panel setFrame:wanted display:YES animate:YES];
    EXPECT_TRUE(NSEqualRects([m_panel frame], wanted));
    EXPECT_TRUE([m_panel isOneShot]);
}

TEST_F(OpenPanel, TheButtonsThatThePlacesReplaceAreHidden)
{
    EXPECT_TRUE([View<NSButton>(NSFileHandlingPanelDiskButton) isHidden]);
    EXPECT_TRUE([View<NSButton>(NSFileHandlingPanelDiskEjectButton) isHidden]);
    EXPECT_TRUE([View<NSButton>(NSFileHandlingPanelHomeButton) isHidden]);
}

TEST_F(OpenPanel, ATypedFolderCanBeConfirmedAndIsTheOneChosen)
{
    vx::TemporaryFolder folder;
    NSString *path = Text(folder.MakeFolder("only/out"));
    Type(path);
    EXPECT_TRUE([OkButton() isEnabled]);
    [m_panel ok:nil];
    ASSERT_EQ([[m_panel URLs] count], 1u);
    EXPECT_STREQ([[[[m_panel URLs] objectAtIndex:0] path] UTF8String], [path UTF8String]);
}

TEST_F(OpenPanel, ATypedPathToNoFolderCannotBeConfirmed)
{
    vx::TemporaryFolder folder;
    Type(Text(folder.Path()));
    Type(Text(folder.Path() + "/missing"));
    EXPECT_FALSE([OkButton() isEnabled]);
    Type(Text(folder.WriteFile("file", "text")));
    EXPECT_FALSE([OkButton() isEnabled]);
}

TEST_F(OpenPanel, TheSwitchShowsWhatIsHidden)
{
    NSButton *hidden = ButtonTitled(@"Show hidden files and folders");
    ASSERT_NE(hidden, nil);
    EXPECT_FALSE([m_panel showsHiddenFiles]);
    [hidden performClick:nil];
    EXPECT_TRUE([m_panel showsHiddenFiles]);
    [hidden performClick:nil];
    EXPECT_FALSE([m_panel showsHiddenFiles]);
}

TEST_F(OpenPanel, FoldersAreMadeOnlyInAPanelForFolders)
{
    ASSERT_NE(ButtonTitled(@"New Folder"), nil);
    EXPECT_TRUE([ButtonTitled(@"New Folder") isHidden]);
}

TEST_F(OpenPanel, AFolderThatIsShownIsTheOneChosen)
{
    vx::TemporaryFolder folder;
    NSString *path = Text(folder.MakeFolder("only/out"));
    [m_panel showFolder:path];
    EXPECT_TRUE([OkButton() isEnabled]);
    [m_panel ok:nil];
    ASSERT_EQ([[m_panel URLs] count], 1u);
    EXPECT_STREQ([[[[m_panel URLs] objectAtIndex:0] path] UTF8String], [path UTF8String]);
}

TEST(FolderName, IsAnyNameThatOneFolderCanHave)
{
    for (NSString *name in @[ @"a", @"New Folder", @"日本", @".hidden", @"..." ])
        EXPECT_TRUE(vx::isFolderName(name)) << [name UTF8String];
    for (NSString *name in @[ @"", @".", @"..", @"a/b", @"/" ])
        EXPECT_FALSE(vx::isFolderName(name)) << [name UTF8String];
    NSString *longest = [@"" stringByPaddingToLength:255 withString:@"x" startingAtIndex:0];
    EXPECT_TRUE(vx::isFolderName(longest));
    EXPECT_FALSE(vx::isFolderName([longest stringByAppendingString:@"x"]));
}
