// Message boxes and alert sheets.
#import "AppDelegate.h"
#import "Z5MessageBox.h"

#import "ModalDriver.h"

#include <gtest/gtest.h>

#include <objc/runtime.h>

namespace {

using apptest::ButtonTitled;
using apptest::ShowsImage;
using apptest::ShowsText;
using apptest::When;

bool SomethingIsModal()
{
    return [NSApp modalWindow] != nil;
}

int g_activations = 0;

void CountActivation(id, SEL, BOOL ignoringOthers)
{
    g_activations += ignoringOthers ? 1 : 0;
}

// What is on the screen when the session runs; then "OK" is pressed.
struct Seen {
    bool title = false, text = false, image = false, okOnly = false;
};

void LookAndConfirm(Seen &seen, NSString *title, NSString *text, NSString *imageName)
{
    When(SomethingIsModal, [&seen, title, text, imageName] {
        NSWindow *window = [NSApp modalWindow];
        seen.title = ShowsText(window, title);
        seen.text = ShowsText(window, text);
        seen.image = imageName != nil && ShowsImage(window, [NSImage imageNamed:imageName]);
        NSButton *ok = ButtonTitled(window, @"OK");
        seen.okOnly = ok != nil && ![ok isHidden];

        [ok performClick:nil];
    });
}

TEST(Z5MessageBox, AWarningShowsTitleTextAndTheWarningImageUntilOkIsPressed)
{
    Seen seen;
    LookAndConfirm(seen, @"The title", @"The text", @"warning");
    [Z5MessageBox showWarningMessageBox:@"The text" withTitle:@"The title"];
    EXPECT_TRUE(seen.title);
    EXPECT_TRUE(seen.text);
    EXPECT_TRUE(seen.image);
    EXPECT_TRUE(seen.okOnly);
}

TEST(Z5MessageBox, ASuccessShowsTheSuccessImage)
{
    Seen seen;
    LookAndConfirm(seen, @"Done", @"All is well", @"success");
    [Z5MessageBox showSuccessMessageBox:@"All is well" withTitle:@"Done"];
    EXPECT_TRUE(seen.title);
    EXPECT_TRUE(seen.text);
    EXPECT_TRUE(seen.image);
}

TEST(Z5MessageBox, ASuccessBringsTheApplicationToTheFrontFirstAndAWarningDoesNot)
{
    Method method =
        class_getInstanceMethod([NSApplication class], @selector(activateIgnoringOtherApps:));
    const IMP original = method_setImplementation(method, reinterpret_cast<IMP>(CountActivation));
    g_activations = 0;
    int whenShown = -1;
    const auto confirm = [&whenShown] {
        whenShown = g_activations;
        [ButtonTitled([NSApp modalWindow], @"OK") performClick:nil];
    };
    When(SomethingIsModal, confirm);
    [Z5MessageBox showWarningMessageBox:@"The text" withTitle:@"The title"];
    EXPECT_EQ(whenShown, 0);
    When(SomethingIsModal, confirm);
    [Z5MessageBox showSuccessMessageBox:@"The text" withTitle:@"The title"];
    EXPECT_EQ(whenShown, 1);
    EXPECT_EQ(g_activations, 1);
    method_setImplementation(method, original);
}

TEST(Z5MessageBox, ATextContainingPercentIsInterpretedAsAFormat)
{
    Seen seen;
    LookAndConfirm(seen, @"Disk", @"100% full", nil);
    [Z5MessageBox showWarningMessageBox:@"100%% full" withTitle:@"Disk"];
    EXPECT_TRUE(seen.text);
}

class AlertSheet : public testing::Test {
protected:
    AlertSheet()
    {
        _window = [[NSWindow alloc] initWithContentRect:NSMakeRect(100, 100, 500, 300)
                                              styleMask:NSTitledWindowMask
                                                backing:NSBackingStoreBuffered
                                                  defer:NO];
        [_window setReleasedWhenClosed:NO];
        [_window orderFront:nil];
        _delegate = [[AppDelegate alloc] init];
        [_delegate setWindow:_window];
    }
    ~AlertSheet() override
    {
        [[NSNotificationCenter defaultCenter] removeObserver:_delegate];
        [_delegate release];
        [_window close];
        [_window release];
    }
    AlertSheet(const AlertSheet &) = delete;
    AlertSheet &operator=(const AlertSheet &) = delete;

    // The sheet comes from the run loop.
    bool Shown(Seen &seen, NSString *title, NSString *text)
    {
        LookAndConfirm(seen, title, text, nil);
        return apptest::ServeUntil([&seen] { return seen.okOnly; });
    }

    NSWindow *_window = nil;
    AppDelegate *_delegate = nil;
};

TEST_F(AlertSheet, IsShownAfterTheCallHasReturned)
{
    Seen seen;
    [_delegate ShowAlertSheet:@"The text" withMessageTitle:@"The title"];
    EXPECT_FALSE(SomethingIsModal());
    ASSERT_TRUE(Shown(seen, @"The title", @"The text"));
    EXPECT_TRUE(seen.title);
    EXPECT_TRUE(seen.text);
    EXPECT_EQ([_window attachedSheet], nil);
}

TEST_F(AlertSheet, AnAlertTextContainingPercentIsInterpretedAsAFormat)
{
    Seen seen;
    [_delegate ShowAlertSheet:@"50%% copied" withMessageTitle:@"Export"];
    ASSERT_TRUE(Shown(seen, @"Export", @"50% copied"));
    EXPECT_TRUE(seen.text);
}

TEST_F(AlertSheet, AnybodyMayAskForOneOnAnyThread)
{
    [[NSNotificationCenter defaultCenter] addObserver:_delegate
                                             selector:@selector(OnShowAlertSheet:)
                                                 name:@"ShowAlertSheet"
                                               object:nil];
    NSThread *poster = [[NSThread alloc]
        initWithTarget:[NSNotificationCenter defaultCenter]
              selector:@selector(postNotification:)
                object:[NSNotification notificationWithName:@"ShowAlertSheet"
                                                     object:nil
                                                   userInfo:@{@"title" : @"A", @"text" : @"B"}]];
    Seen seen;
    [poster start];
    ASSERT_TRUE(Shown(seen, @"A", @"B"));
    EXPECT_TRUE(seen.title);
    EXPECT_TRUE(seen.text);
    EXPECT_TRUE(apptest::ServeUntil([poster] { return [poster isFinished]; }));
    [poster release];
}

TEST_F(AlertSheet, AMissingPartLeavesItEmpty)
{
    Seen seen;
    [_delegate ShowAlertSheet:@"only a text" withMessageTitle:nil];
    ASSERT_TRUE(Shown(seen, nil, @"only a text"));
    EXPECT_TRUE(seen.text);
}

}  // namespace
