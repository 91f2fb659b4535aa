// Unlocking, in a real window with a real mouse and keyboard.
#include "Contrast.h"
#include "HostTexts.h"
#include "HostWindow.h"
#include "VolumeLibraryStatus.h"
#import "WarningColor.h"

#include <objc/runtime.h>

// The editor of a field, as if text were being composed in it.
@interface ComposingEditor : NSTextView
@end

@implementation ComposingEditor

- (BOOL)hasMarkedText
{
    return YES;
}

@end

namespace {

using vxtest::EncryptedVolume;
using vxtest::PlainVolume;

constexpr char kDisk[] = "/dev/sdb1";
constexpr char kKey[] = "111111-222222-333333-444444-555555-666666-000000-000011";
constexpr auto kWrong = static_cast<int32_t>(VolumeLibraryStatus::kWrongSecret);

TEST_F(HostWindowTest, ThePasswordIsAskedForFirstAndReturnUnlocks)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"recovery-password", "password"}));
    EXPECT_EQ(vx::BytesOf([[Pane() kindPopUp] titleOfSelectedItem]), "Password");
    EXPECT_FALSE(CanUnlock());
    Type("Pa ss");
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); }));
    Key("Return");
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    EXPECT_EQ(sessions->volume, kDisk);
    EXPECT_EQ(sessions->kind, "password");
    EXPECT_EQ(sessions->secret, "Pa ss");
}

TEST_F(HostWindowTest, TheWindowHidesWhileTheExplorerRunsAndComesBackEmpty)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"password"}));
    Type("secret");
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); }));
    Click([Pane() unlockButton]);
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    EXPECT_TRUE([Window() isVisible]);
    Start();
    EXPECT_FALSE([Window() isVisible]);
    EXPECT_EQ(Text([Fields() hiddenField]), "");
    End(vx::SessionEndKind::kQuit);
    EXPECT_TRUE([Window() isVisible]);
    EXPECT_EQ(Message(), "");
    EXPECT_EQ([delegate damageWindow], nil);
}

TEST_F(HostWindowTest, AWrongPasswordIsSaidAndTheNextOneIsTypedOverIt)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"password", "recovery-password"}));
    Type("wrong");
    Key("Return");
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    Refuse(kWrong, "tried on the password 1A2B3C4D");
    EXPECT_EQ(Message(), "This password does not open the volume.");
    EXPECT_EQ(Details(), "Details:\ntried on the password 1A2B3C4D");
    EXPECT_EQ(vx::BytesOf([[Pane() kindPopUp] titleOfSelectedItem]), "Password");
    Type("right");
    Key("Return");
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 2; }));
    EXPECT_EQ(sessions->secret, "right");
    EXPECT_EQ(Message(), "");
    EXPECT_EQ(Details(), "");
}

TEST_F(HostWindowTest, ADamagedVolumeIsExplainedWithTheLibrarysDetail)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"password"}));
    Type("secret");
    Key("Return");
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    Refuse(static_cast<int32_t>(VolumeLibraryStatus::kMetadataDamaged), "all three copies differ");
    EXPECT_EQ(Message(), "The encryption metadata of the volume is damaged.");
    EXPECT_EQ(Details(), "Details:\nall three copies differ");
}

TEST_F(HostWindowTest, ThePasswordIsShownAndHiddenAgain)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"password"}));
    Type("abc");
    EXPECT_TRUE(RunUntil([this] { return CanUnlock(); }));
    Click([Fields() showButton]);
    EXPECT_TRUE(RunUntil([this] { return ![[Fields() shownField] isHidden]; }));
    EXPECT_EQ(Text([Fields() shownField]), "abc");
    EXPECT_EQ(Text([Fields() hiddenField]), "");
    Type("d");
    EXPECT_TRUE(RunUntil([this] { return Text([Fields() shownField]) == "abcd"; }));
    Click([Fields() showButton]);
    EXPECT_TRUE(RunUntil([this] { return [[Fields() shownField] isHidden]; }));
    EXPECT_EQ(Text([Fields() hiddenField]), "abcd");
    Key("Return");
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    EXPECT_EQ(sessions->secret, "abcd");
}

TEST_F(HostWindowTest, TheDigitsOfARecoveryKeyAreGroupedWhileTheyAreTyped)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"recovery-password"}));
    EXPECT_EQ(vx::BytesOf([[Pane() kindPopUp] titleOfSelectedItem]), "Recovery key (1A2B3C4D)");
    std::string digits(kKey);
    digits.erase(std::remove(digits.begin(), digits.end(), '-'), digits.end());
    Type(digits);
    EXPECT_TRUE(RunUntil([this] { return Text([Fields() digitsField]) == kKey; }));
    EXPECT_TRUE(CanUnlock());
    Key("Return");
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    EXPECT_EQ(sessions->kind, "recovery");
    EXPECT_EQ(sessions->secret, kKey);
}

TEST_F(HostWindowTest, AMistypedGroupIsMarkedAtOnceAndNothingIsTriedWithIt)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"recovery-password"}));
    Type("111112");
    EXPECT_TRUE(RunUntil([this] {
        return Text([Fields() hintLabel]) == "Key identifier: 1A2B3C4D\nMistyped: group 1.";
    }));
    NSTextView *editor = (NSTextView *)[[Fields() digitsField] currentEditor];
    NSColor *colour = [[editor textStorage] attribute:NSForegroundColorAttributeName
                                              atIndex:0
                                       effectiveRange:nullptr];
    EXPECT_TRUE([colour isEqual:vx::WarningColor()]);
    EXPECT_GT(vxtest::Contrast(colour, [NSColor textBackgroundColor]), 4);
    Key("BackSpace");
    Type("1");
    EXPECT_TRUE(
        RunUntil([this] { return Text([Fields() hintLabel]) == "Key identifier: 1A2B3C4D"; }));
    EXPECT_FALSE(CanUnlock());
    Key("Return");
    Type("2");
    EXPECT_TRUE(RunUntil([this] { return Text([Fields() digitsField]).find("-2") == 6; }));
    EXPECT_EQ(sessions->started, 0);
}

TEST_F(HostWindowTest, APastedRecoveryKeyIsGrouped)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"recovery-password"}));
    NSPasteboard *pasteboard = [NSPasteboard generalPasteboard];
    [pasteboard declareTypes:@[ NSStringPboardType ] owner:nil];
    [pasteboard setString:@"  111111 222222 333333 444444 555555 666666 000000 000011\n"
                  forType:NSStringPboardType];
    EXPECT_TRUE([NSApp sendAction:@selector(paste:) to:nil from:nil]);
    EXPECT_TRUE(RunUntil([this] { return Text([Fields() digitsField]) == kKey; }));
    EXPECT_TRUE(CanUnlock());
}

// What an input method composes is no text yet: regrouped, it would be lost.
TEST_F(HostWindowTest, TextThatAnInputMethodComposesIsLeftAlone)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"recovery-password"}));
    Focus();
    NSTextView *editor = (NSTextView *)[[Fields() digitsField] currentEditor];
    ASSERT_NE(editor, nil);
    Class library = [editor class];
    object_setClass(editor, [ComposingEditor class]);
    [editor setString:@"1111111"];
    NSNotification *change = [NSNotification notificationWithName:NSControlTextDidChangeNotification
                                                           object:[Fields() digitsField]];
    [(id)Fields() controlTextDidChange:change];
    EXPECT_EQ(Text([Fields() digitsField]), "1111111");
    object_setClass(editor, library);
    [(id)Fields() controlTextDidChange:change];
    EXPECT_EQ(Text([Fields() digitsField]), "111111-1");
}

TEST_F(HostWindowTest, WithoutPermissionToTryItTheCommandIsOffered)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"password"}));
    Type("secret");
    Key("Return");
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    EXPECT_TRUE([[[Pane() rightRow] askRow] isHidden]);
    Refuse(static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied));
    EXPECT_EQ(Message(), "You have no permission to read it.");
    EXPECT_FALSE([[[Pane() rightRow] askRow] isHidden]);
    EXPECT_EQ(Text([[Pane() rightRow] commandCaption]), "Or run this command in a terminal:");
    EXPECT_EQ(Text([[Pane() rightRow] commandField]), "sudo setfacl -m u:anna:r /dev/sdb1");
}

// The desktop could only answer that it is no disk.
TEST_F(HostWindowTest, AnImageWithoutPermissionHasTheCommandAndNothingToAsk)
{
    vx::DiskFacts forbidden;
    forbidden.status = static_cast<int32_t>(VolumeLibraryStatus::kPermissionDenied);
    Choose("/images/a.img", forbidden);
    EXPECT_EQ(Message(), "You have no permission to read it.");
    RightRow *row = [Pane() rightRow];
    EXPECT_TRUE([[row askRow] isHidden]);
    EXPECT_FALSE([[row commandRow] isHidden]);
    EXPECT_EQ(Text([row commandCaption]), "Run this command in a terminal:");
    EXPECT_EQ(Text([row commandField]), "sudo setfacl -m u:anna:r /images/a.img");
    EXPECT_STREQ([[[row commandField] toolTip] UTF8String],
                 "sudo setfacl -m u:anna:r /images/a.img");
}

TEST_F(HostWindowTest, CancelEndsTheTrialAndTheSecretStaysForTheNextOne)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"password"}));
    Type("secret");
    Key("Return");
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    EXPECT_FALSE([[Pane() progressBar] isHidden]);
    EXPECT_FALSE(CanUnlock());
    Click([Pane() cancelButton]);
    ASSERT_TRUE(RunUntil([this] { return sessions->cancelled == 1; }));
    End(vx::SessionEndKind::kInterrupted);
    EXPECT_EQ(Message(), "Cancelled.");
    EXPECT_TRUE([[Pane() progressBar] isHidden]);
    EXPECT_TRUE(CanUnlock());
}

TEST_F(HostWindowTest, WhileItIsUnlockedNothingElseCanBeChosen)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"password"}));
    Type("secret");
    Key("Return");
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    [delegate openPath:@"/home/anna/other.img"];
    EXPECT_EQ(Text([Pane() pathLabel]), kDisk);
    EXPECT_FALSE([List() isEnabled]);
    Refuse(kWrong);
    EXPECT_TRUE([List() isEnabled]);
}

TEST_F(HostWindowTest, OfADiskWithSeveralVolumesTheEncryptedOneIsOfferedAndAnotherCanBeChosen)
{
    vx::DiskFacts disk;
    disk.volumes = {PlainVolume("/x.img#1", "SYSTEM"), EncryptedVolume("/x.img#2", {"password"})};
    Choose("/x.img", disk);
    EXPECT_EQ([[Pane() volumePopUp] indexOfSelectedItem], 1);
    EXPECT_FALSE([[Fields() passwordRow] isHidden]);
    [[Pane() volumePopUp] selectItemAtIndex:0];
    [Pane() chooseVolume:nil];
    EXPECT_TRUE([[Fields() passwordRow] isHidden]);
    EXPECT_EQ(vx::BytesOf([[Pane() unlockButton] title]), "Open");
    Click([Pane() unlockButton]);
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    EXPECT_EQ(sessions->volume, "/x.img#1");
    EXPECT_EQ(sessions->kind, "none");
}

TEST_F(HostWindowTest, AVolumeThatOnlyATpmOpensSaysSoAndOffersNothing)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"tpm"}));
    EXPECT_EQ(Message(), "The volume can only be unlocked in a way that is not supported.");
    EXPECT_EQ(Details(), "Details:\ntpm");
    EXPECT_FALSE(CanUnlock());
    EXPECT_TRUE([[Pane() kindRow] isHidden]);
}

TEST_F(HostWindowTest, WhatCouldNotBeTriedIsLeftToTheExplorerAndItsReasonIsSaidAfterwards)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"password"}));
    Type("secret");
    Key("Return");
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    vx::TrialResult untried;
    untried.wasTried = false;
    sessions->listener->OnTried(untried);
    EXPECT_EQ(Message(), "");
    sessions->listener->OnStarted();
    vx::TrialResult shut;
    shut.status = kWrong;
    sessions->listener->OnOpened(shut);
    EXPECT_EQ(sessions->cancelled, 1) << "an explorer without a volume is of no use";
    End(vx::SessionEndKind::kInterrupted);
    EXPECT_EQ(Message(), "This password does not open the volume.");
}

TEST_F(HostWindowTest, WhyAVolumeWasNotTriedIsSaidWhenTheExplorerHasQuit)
{
    Choose(kDisk, PlainVolume(kDisk, "DATA"));
    Click([Pane() unlockButton]);
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    vx::TrialResult untried;
    untried.wasTried = false;
    untried.reason = "the volume was not tried: cannot start x";
    sessions->listener->OnTried(untried);
    sessions->listener->OnStarted();
    End(vx::SessionEndKind::kQuit);
    EXPECT_EQ(Message(), "The volume could not be tried before the explorer opened it.");
    EXPECT_EQ(Details(), "Details:\nthe volume was not tried: cannot start x");
    [Pane() unlock:nil];
    ASSERT_EQ(sessions->started, 2);
    Start();
    End(vx::SessionEndKind::kQuit);
    EXPECT_EQ(Message(), "");
}

TEST_F(HostWindowTest, WhoKeepsTheExplorerFromStartingIsNamed)
{
    struct Taken {
        bool isHeld;
        const char *owner;
        const char *sentence;
    };
    constexpr Taken kTaken[] = {
        {true, "", "The explorer is running already. Quit it first."},
        {true, "anna", "The explorer is running for the user anna. It has to be quit there."},
        {false, "anna", "A file of the user anna is in the way of the explorer."},
        {false, "", "The connection to the explorer could not be made."}};
    Choose(kDisk, PlainVolume(kDisk, "DATA"));
    for (const Taken &taken : kTaken) {
        [Pane() unlock:nil];
        vx::SessionEnd end = {vx::SessionEndKind::kLinkTaken, 0, "why"};
        end.isHeld = taken.isHeld;
        end.owner = taken.owner;
        sessions->listener->OnEnded(end);
        EXPECT_EQ(Message(), taken.sentence);
        EXPECT_EQ(Details(), "Details:\nwhy");
    }
}

TEST_F(HostWindowTest, AnExplorerThatIsKilledIsReported)
{
    Choose(kDisk, PlainVolume(kDisk, "DATA"));
    Click([Pane() unlockButton]);
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    Start();
    vx::SessionEnd end;
    end.kind = vx::SessionEndKind::kNoNotice;
    end.text = "signal 9";
    sessions->listener->OnEnded(end);
    EXPECT_EQ(Message(), "The explorer ended unexpectedly.");
    EXPECT_EQ(Details(), "Details:\nsignal 9");
}

TEST_F(HostWindowTest, QuittingWhileTheExplorerRunsCancelsTheSessionAndWaitsForItsEnd)
{
    Choose(kDisk, PlainVolume(kDisk, "DATA"));
    EXPECT_EQ([delegate applicationShouldTerminate:NSApp], NSTerminateNow);
    Click([Pane() unlockButton]);
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    Start();
    EXPECT_FALSE([delegate applicationShouldTerminateAfterLastWindowClosed:NSApp]);
    EXPECT_EQ([delegate applicationShouldTerminate:NSApp], NSTerminateLater);
    EXPECT_EQ(sessions->cancelled, 1);
}

TEST_F(HostWindowTest, NothingOfTheSecretIsStored)
{
    Choose(kDisk, EncryptedVolume(kDisk, {"password"}));
    Type("Kx7secretqQ");
    Key("Return");
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    Start();
    End(vx::SessionEndKind::kQuit);
    NSUserDefaults *defaults = [NSUserDefaults standardUserDefaults];
    [defaults synchronize];
    const std::string stored = vx::BytesOf([[defaults dictionaryRepresentation] description]);
    EXPECT_EQ(stored.find("Kx7secretqQ"), std::string::npos);
    NSString *copied = [[NSPasteboard generalPasteboard] stringForType:NSStringPboardType];
    EXPECT_EQ(vx::BytesOf(copied).find("Kx7secretqQ"), std::string::npos);
}

}  // namespace
