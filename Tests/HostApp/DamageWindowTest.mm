// The list of what could not be read, in a real window.
#import "DamageWindow.h"
#include "HostTexts.h"
#include "HostWindow.h"
#include "TemporaryFolder.h"
#include "VolumeReport.h"

#include <filesystem>
#include <objc/runtime.h>

namespace {

class DamageWindowTest : public HostWindowTest {
protected:
    // A session in which a file could not be read in full.
    void Damage()
    {
        Choose("/x.img", vxtest::PlainVolume("/x.img", "DATA"));
        Click([Pane() unlockButton]);
        ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
        Start();
        sessions->listener->OnDamage({vx::ChannelDamageKind::kFileData,
                                      static_cast<uint32_t>(VolumeObstacle::kUnreadable),
                                      "/Users/a.pdf",
                                      {{4096, 512}},
                                      0});
        EXPECT_EQ([delegate damageWindow], nil) << "not over the explorer";
        End(vx::SessionEndKind::kQuit);
    }
};

TEST_F(DamageWindowTest, WhatCouldNotBeReadIsListedWhenTheExplorerHasQuit)
{
    Damage();
    DamageWindow *window = [delegate damageWindow];
    ASSERT_TRUE([[window window] isVisible]);
    NSTableView *table = [window tableView];
    EXPECT_EQ([table numberOfRows], 1);
    std::vector<std::string> texts;
    for (NSTableColumn *column in [table tableColumns])
        texts.push_back(vx::BytesOf([(id)window tableView:table
                                objectValueForTableColumn:column
                                                      row:0]));
    EXPECT_EQ(texts, (std::vector<std::string>{"/Users/a.pdf", "512 bytes",
                                               "Missing bytes are zeros: the disk could not read "
                                               "it"}));
    EXPECT_EQ(vx::BytesOf([[window titleLabel] stringValue]), "Not read in full: /x.img");
    EXPECT_NEAR(NSMaxY([[table enclosingScrollView] frame]), NSMinY([[window titleLabel] frame]), 8)
        << "no room is left for remarks that there are not";
}

TEST_F(DamageWindowTest, ANameThatWouldBreakItsRowOrTurnTheTextRoundDoesNot)
{
    Choose("/x.img", vxtest::PlainVolume("/x.img", "DATA"));
    Click([Pane() unlockButton]);
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    vx::TrialResult result;
    result.opened = true;
    result.warnings = {"the folder \u202eA\nB is damaged"};
    sessions->listener->OnTried(result);
    sessions->listener->OnStarted();
    const uint32_t unreadable = static_cast<uint32_t>(VolumeObstacle::kUnreadable);
    sessions->listener->OnDamage(
        {vx::ChannelDamageKind::kFileData, unreadable, "/a\nb\u202egpj.exe", {{0, 512}}, 0});
    End(vx::SessionEndKind::kQuit);
    DamageWindow *window = [delegate damageWindow];
    NSTableView *table = [window tableView];
    NSString *shown = [(id)window tableView:table
                  objectValueForTableColumn:[table tableColumnWithIdentifier:@"path"]
                                        row:0];
    EXPECT_EQ(vx::BytesOf(shown), "/a\uFFFDb\uFFFDgpj.exe");
    EXPECT_EQ(vx::BytesOf([[window remarkLabel] stringValue]),
              "Noticed when the volume was opened:\nthe folder \uFFFDA\uFFFDB is damaged");
}

TEST_F(DamageWindowTest, WarningsOfTheOpeningAndReportsThatWereLostAreInTheList)
{
    Choose("/x.img", vxtest::PlainVolume("/x.img", "DATA"));
    Click([Pane() unlockButton]);
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    vx::TrialResult result;
    result.opened = true;
    result.warnings = {"a copy of the metadata is damaged"};
    sessions->listener->OnTried(result);
    sessions->listener->OnStarted();
    result.warnings = {"the explorer saw more"};
    sessions->listener->OnOpened(result);
    sessions->listener->OnReportsLost(7);
    End(vx::SessionEndKind::kQuit);
    DamageWindow *window = [delegate damageWindow];
    ASSERT_TRUE([[window window] isVisible]);
    EXPECT_EQ(vx::BytesOf([[window remarkLabel] stringValue]),
              "Noticed when the volume was opened:\na copy of the metadata is damaged\n"
              "the explorer saw more\nReports that were lost: 7");
    EXPECT_LT(NSMaxY([[[window tableView] enclosingScrollView] frame]),
              NSMinY([[window remarkLabel] frame]));
}

TEST_F(DamageWindowTest, TheListIsSavedWhole)
{
    Damage();
    const vx::TemporaryFolder folder;
    EXPECT_TRUE([[delegate damageWindow] saveTo:vx::TextOf(folder.At("list.txt"))]);
    EXPECT_EQ(folder.ReadFile("list.txt"),
              "Not read in full: /x.img\n\n"
              "/Users/a.pdf\t512 bytes\tMissing bytes are zeros: the disk could not read it\n"
              "\t512 bytes from byte 4096 on\n");
    const auto files = std::filesystem::directory_iterator(folder.Path());
    EXPECT_EQ(std::distance(begin(files), end(files)), 1) << "nothing else is left there";
}

TEST_F(DamageWindowTest, AListThatCannotBeSavedIsAnAlertAndLeavesWhatWasThere)
{
    Damage();
    const vx::TemporaryFolder folder;
    const std::string place = folder.MakeFolder("list.txt/full");
    [NSApp performSelector:@selector(abortModal)
                withObject:nil
                afterDelay:0.5
                   inModes:@[ NSModalPanelRunLoopMode ]];
    EXPECT_FALSE([[delegate damageWindow] saveTo:vx::TextOf(folder.At("list.txt"))]);
    EXPECT_TRUE(std::filesystem::is_directory(place));
}

TEST_F(DamageWindowTest, ANewSessionPutsTheOldListAway)
{
    Damage();
    [Pane() unlock:nil];
    ASSERT_EQ(sessions->started, 2);
    Start();
    EXPECT_FALSE([[[delegate damageWindow] window] isVisible]);
    End(vx::SessionEndKind::kQuit);
    EXPECT_FALSE([[[delegate damageWindow] window] isVisible]) << "there was none this time";
}

// In place of what ends the process.
void RecordReply(id, SEL, BOOL) {}

TEST_F(DamageWindowTest, WhatCouldNotBeReadIsPrintedIfTheApplicationEndsWithTheExplorer)
{
    const SEL reply = @selector(replyToApplicationShouldTerminate:);
    Method method = class_getInstanceMethod([NSApp class], reply);
    const IMP ending = method_setImplementation(method, reinterpret_cast<IMP>(RecordReply));
    Choose("/x.img", vxtest::PlainVolume("/x.img", "DATA"));
    Click([Pane() unlockButton]);
    ASSERT_TRUE(RunUntil([this] { return sessions->started == 1; }));
    Start();
    sessions->listener->OnDamage({vx::ChannelDamageKind::kFileData,
                                  static_cast<uint32_t>(VolumeObstacle::kUnreadable),
                                  "/Users/a.pdf",
                                  {{4096, 512}},
                                  0});
    EXPECT_EQ([delegate applicationShouldTerminate:NSApp], NSTerminateLater);
    testing::internal::CaptureStderr();
    End(vx::SessionEndKind::kInterrupted);
    EXPECT_NE(testing::internal::GetCapturedStderr().find(
                  "Not read in full: /x.img\n\n/Users/a.pdf\t512 bytes\t"),
              std::string::npos);
    EXPECT_EQ([delegate damageWindow], nil);
    method_setImplementation(method, ending);
}

}  // namespace
