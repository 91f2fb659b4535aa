// The export command from the click to the files, with the panel and the progress window that a
// user would see.
#import "ExportCommandFixture.h"
#import "ModalDriver.h"

#include <objc/runtime.h>
#include <unistd.h>

#include <cstring>
#include <string>

namespace {

using apptest::When;

TEST_F(ExportCommandTest, TheProgressWindowLiesInTheMiddleOfTheScreen)
{
    Root().Folder(u"Empty");
    Open();
    Select({0});
    choose(folder.Path());
    NSRect frame = NSZeroRect;
    When([] { return progress() != nil; },
         [&frame] {
             frame = [[progress() window] frame];
             [progress() cancelClicked:nil];
         });
    [controller onClickedExport:nil];
    EXPECT_NEAR(NSMidX(frame), NSMidX([[NSScreen mainScreen] visibleFrame]), 2);
}

TEST_F(ExportCommandTest, AfterAnExportThatEndsWith0TheFilesAreThereAndTheDestinationIsOpened)
{
    Root().Folder(u"Reports").Folder(u"2019").File(u"a.txt", std::string("contents"));
    Root().File(u"b.txt", std::string("more"));
    Open();
    [Tree() selectAll:nil];
    choose(folder.Path());
    [controller onClickedExport:nil];
    EXPECT_TRUE(holds("Reports/2019/a.txt", "contents"));
    EXPECT_TRUE(holds("b.txt", "more"));
    EXPECT_EQ(opened, folder.Path());
    EXPECT_EQ([NSApp modalWindow], nil);
}

TEST_F(ExportCommandTest, AfterAnExportTheExplorerComesToTheFrontAndThenTheDestinationIsOpened)
{
    Root().File(u"a", std::string("a"));
    Open();
    Select({0});
    Method method =
        class_getInstanceMethod([NSApplication class], @selector(activateIgnoringOtherApps:));
    const IMP original =
        method_setImplementation(method, reinterpret_cast<IMP>(+[](id, SEL, BOOL ignoringOthers) {
                                     activations += ignoringOthers ? 1 : 0;
                                 }));
    // The window would otherwise be gone before it is looked at.
    volume.AtCall(vx::VolumeOperation::kReadFile, 1, vx::Fault::kStall);
    int atTheEnd = -1;
    choose(folder.Path());
    When([this] { return workerStalls(); },
         [this, &atTheEnd] {
             atTheEnd = activations;
             volume.Release();
         });
    [controller onClickedExport:nil];
    method_setImplementation(method, original);
    EXPECT_EQ(activationsBeforeOpening, atTheEnd + 1);
    EXPECT_EQ(opened, folder.Path());
}

TEST_F(ExportCommandTest, WhatIsExportedWasSelectedAtTheClickAndNotLater)
{
    Root().File(u"first", std::string("1"));
    Root().File(u"second", std::string("2"));
    Open();
    Select({0});
    When(panelIsUp, [this] {
        Select({1});
        NSOpenPanel *panel = (NSOpenPanel *)[NSApp modalWindow];
        [panel setDirectory:[NSString stringWithUTF8String:folder.Path().c_str()]];
        [panel ok:nil];
    });
    [controller onClickedExport:nil];
    EXPECT_TRUE(holds("first", "1"));
    EXPECT_NE(access(folder.At("second").c_str(), F_OK), 0);
    EXPECT_EQ(Selected(), std::vector<std::string>{"second"});
}

TEST_F(ExportCommandTest, TwoExportsInARowEachCopyWhatIsSelectedThen)
{
    Root().File(u"one", std::string("1"));
    Root().File(u"two", std::string("2"));
    Open();
    for (const char *name : {"one", "two"}) {
        Select({strcmp(name, "one") == 0 ? 0u : 1u});
        choose(folder.MakeFolder(name));
        [controller onClickedExport:nil];
        EXPECT_EQ(opened, folder.At(name));
        EXPECT_EQ([NSApp modalWindow], nil);
    }
    EXPECT_TRUE(holds("one/one", "1"));
    EXPECT_TRUE(holds("two/two", "2"));
    EXPECT_NE(access(folder.At("two/one").c_str(), F_OK), 0);
}

TEST_F(ExportCommandTest, ReturnExportsWhatIsSelectedAndNothingOtherwise)
{
    Root().File(u"a", 10);
    Open();
    [window makeKeyAndOrderFront:nil];
    Press('\r');
    EXPECT_EQ([controller valueForKey:@"_openPanel"], nil);
    Select({0});
    bool shown = false;
    When(panelIsUp, [&shown] {
        shown = true;
        [(NSOpenPanel *)[NSApp modalWindow] cancel:nil];
    });
    Press('\r');
    EXPECT_TRUE(shown);
}

TEST_F(ExportCommandTest, ASecondExportAfterACancelledOneWorksWhileTheFirstWorkerStillEnds)
{
    Root().File(u"slow", 5 << 20);
    Root().File(u"quick", std::string("quick"));
    volume.AtCall(vx::VolumeOperation::kReadFile, 1, vx::Fault::kStall);
    // So that the second window is still there when it is looked for.
    volume.AtCall(vx::VolumeOperation::kOpenFile, 2, vx::Fault::kStall);
    Open();
    Select({0});
    choose(folder.MakeFolder("first"));
    When([this] { return workerStalls(); }, [] { [progress() cancelClicked:nil]; });
    [controller onClickedExport:nil];
    EXPECT_EQ(volume.Count(vx::VolumeOperation::kCloseHandle), 0u) << "the worker still reads";

    Select({1});
    choose(folder.MakeFolder("second"));
    When([] { return progress() != nil; }, [this] { volume.Release(); });
    [controller onClickedExport:nil];
    EXPECT_TRUE(holds("second/quick", "quick"));
    EXPECT_TRUE(apptest::ServeUntil([this] { return volume.OpenHandles() == 0; }));
}

TEST_F(ExportCommandTest, AWindowIsLetGoOfOnTheMainThreadAlsoWhenItsWorkerEndsLast)
{
    Root().File(u"slow", 5 << 20);
    volume.AtCall(vx::VolumeOperation::kReadFile, 1, vx::Fault::kStall);
    Open();
    Select({0});
    choose(folder.Path());
    static bool deallocatedOnMain;
    deallocatedOnMain = false;
    static IMP original;
    Method method = class_getInstanceMethod([CopyingFileWindow class], @selector(dealloc));
    original = method_setImplementation(method, reinterpret_cast<IMP>(+[](id window, SEL selector) {
                                            deallocatedOnMain = [NSThread isMainThread];
                                            reinterpret_cast<void (*)(id, SEL)>(original)(window,
                                                                                          selector);
                                        }));
    @autoreleasepool {
        When([this] { return workerStalls(); }, [] { [progress() cancelClicked:nil]; });
        [controller onClickedExport:nil];
    }
    EXPECT_FALSE(deallocatedOnMain) << "the worker still holds it";
    volume.Release();
    EXPECT_TRUE(apptest::ServeUntil([] { return deallocatedOnMain; }));
    method_setImplementation(method, original);
}

TEST_F(ExportCommandTest, TheMenusCommandFollowsTheButtonAndRestsDuringAnExport)
{
    Root().Folder(u"Empty");
    Open();
    id item = [[[[NSApp mainMenu] itemAtIndex:0] submenu] itemWithTitle:@"Export"];
    EXPECT_FALSE([(id)controller validateMenuItem:item]);
    Select({0});
    EXPECT_TRUE([(id)controller validateMenuItem:item]);
    choose(folder.Path());
    bool enabled = true;
    When([] { return progress() != nil; },
         [&] {
             enabled = [(id)controller validateMenuItem:item];
             [progress() cancelClicked:nil];
         });
    [controller onClickedExport:nil];
    EXPECT_FALSE(enabled);
    EXPECT_TRUE([(id)controller validateMenuItem:item]);
}

TEST_F(ExportCommandTest, AfterAnExportThatEndsWithAnotherCodeTheDestinationIsNotOpened)
{
    Root().Folder(u"Empty");
    Open();
    Select({0});
    choose(folder.Path());
    When([] { return progress() != nil; },
         [] {
             [progress() setValue:[NSNumber numberWithLongLong:7] forKey:@"_nRtnCode"];
             [progress() cancelClicked:nil];
         });
    [controller onClickedExport:nil];
    EXPECT_EQ(opened, "");
}

TEST_F(ExportCommandTest, ASelectionWithoutFilesLeavesTheWindowOpenUntilItIsCancelled)
{
    Root().Folder(u"Empty");
    Open();
    Select({0});
    choose(folder.Path());
    When([] { return progress() != nil; }, [] { [progress() cancelClicked:nil]; });
    [controller onClickedExport:nil];
    EXPECT_EQ([NSApp modalWindow], nil);
}

}  // namespace
