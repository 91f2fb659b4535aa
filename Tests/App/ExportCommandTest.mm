// The export command from the click to the files, with the panel and the progress window that a
// user would see.
#import "ExplorerFixture.h"
#import "ModalDriver.h"

#import "CopyingFileWindow.h"

#include "OrdinaryUser.h"
#include "TemporaryFolder.h"

#include <objc/runtime.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <optional>
#include <string>

// Takes the place of the panel that is kept and never shown: anything beyond its configuration it
// does not understand.
@interface KeptPanel : NSObject {
@public
    id _delegate;
    BOOL _many, _folders, _files, _aliases;
    int _number;
}
@end

static int g_keptPanels = 0, g_madePanels = 0;

@implementation KeptPanel

- (id)init
{
    self = [super init];
    ++g_keptPanels;
    _number = ++g_madePanels;
    _many = _files = YES;
    return self;
}

- (void)dealloc
{
    --g_keptPanels;
    [super dealloc];
}

- (void)setDelegate:(id)delegate
{
    _delegate = delegate;
}

- (void)setAllowsMultipleSelection:(BOOL)flag
{
    _many = flag;
}

- (void)setCanChooseDirectories:(BOOL)flag
{
    _folders = flag;
}

- (void)setCanChooseFiles:(BOOL)flag
{
    _files = flag;
}

- (void)setResolvesAliases:(BOOL)flag
{
    _aliases = flag;
}

@end

namespace {

using apptest::When;

IMP g_openPanel = nullptr;
int g_panelsAsked = 0;
bool g_resolvesAliases = false;

// Every second one is the one that is kept.
id alternatingPanel(id type, SEL selector)
{
    if (++g_panelsAsked % 2 == 0)
        return [[KeptPanel new] autorelease];
    return reinterpret_cast<id (*)(id, SEL)>(g_openPanel)(type, selector);
}

// The library resolves them in any case and says so.
void recordAliases(id, SEL, BOOL flag)
{
    g_resolvesAliases = flag;
}

std::string g_opened;
int g_activations = 0, g_activationsBeforeOpening = 0;

BOOL recordOpening(id, SEL, NSURL *url)
{
    g_opened = [[url path] UTF8String];
    g_activationsBeforeOpening = g_activations;
    return YES;
}

void recordActivation(id, SEL, BOOL ignoringOthers)
{
    g_activations += ignoringOthers ? 1 : 0;
}

class ExportCommandTest : public ExplorerTest {
protected:
    ExportCommandTest()
    {
        g_opened.clear();
        Method method = class_getInstanceMethod([NSWorkspace class], @selector(openURL:));
        _opener = method_setImplementation(method, reinterpret_cast<IMP>(recordOpening));
    }
    ~ExportCommandTest() override
    {
        // A worker outlives its window by the closing of its file, and needs the volume for it.
        EXPECT_TRUE(apptest::ServeUntil([this] { return volume.OpenHandles() == 0; }));
        method_setImplementation(class_getInstanceMethod([NSWorkspace class], @selector(openURL:)),
                                 _opener);
    }
    ExportCommandTest(const ExportCommandTest &) = delete;
    ExportCommandTest &operator=(const ExportCommandTest &) = delete;

    static bool panelIsUp() { return [[NSApp modalWindow] isKindOfClass:[NSOpenPanel class]]; }
    static bool panelHasGrown()
    {
        return panelIsUp() && NSHeight([[NSApp modalWindow] frame]) == 500;
    }
    static CopyingFileWindow *progress()
    {
        id controller = [[NSApp modalWindow] windowController];
        return [controller isKindOfClass:[CopyingFileWindow class]] ? controller : nil;
    }
    static bool alertIsUp()
    {
        return [NSApp modalWindow] != nil && !panelIsUp() && progress() == nil;
    }

    // Chooses the folder in the panel, as soon as it is up.
    static void choose(const std::string &folder)
    {
        NSString *path = [NSString stringWithUTF8String:folder.c_str()];
        When(panelIsUp, [path] {
            NSOpenPanel *panel = (NSOpenPanel *)[NSApp modalWindow];
            [panel setDirectory:path];
            [panel ok:nil];
        });
    }

    // Asked without a wait: the worker needs the main thread on its way there.
    bool workerStalls()
    {
        return progress() != nil && volume.AwaitStall(vx::ScriptedVolume::Milliseconds(0));
    }
    // The window ends with the last chunk, and the worker closes the local file right after.
    bool holds(const std::string &file, const std::string &contents)
    {
        return apptest::ServeUntil([&] { return folder.ReadFile(file) == contents; });
    }

    vx::TemporaryFolder folder;

private:
    IMP _opener;
};

TEST_F(ExportCommandTest, CancellingThePanelLeavesNoWindowNoAlertAndNoFilesBehind)
{
    root().File(u"a", 10);
    open();
    select({0});
    const auto visibleWindows = [] {
        int count = 0;
        for (NSWindow *each in [NSApp windows])
            count += [each isVisible] ? 1 : 0;
        return count;
    };
    const int before = visibleWindows();
    When(panelIsUp, [] { [(NSOpenPanel *)[NSApp modalWindow] cancel:nil]; });
    [controller onClickedExport:nil];
    EXPECT_EQ([NSApp modalWindow], nil);
    EXPECT_EQ(visibleWindows(), before);
    EXPECT_EQ(volume.Count(vx::VolumeOperation::kOpenFile), 0u);
    EXPECT_EQ(g_opened, "");
    EXPECT_EQ(selected(), std::vector<std::string>{"a"});
}

TEST_F(ExportCommandTest, ThePanelOffersFoldersOneAtATimeFollowsAliasesAndShowsSave)
{
    root().File(u"a", 10);
    open();
    select({0});
    Method method = class_getInstanceMethod([NSOpenPanel class], @selector(setResolvesAliases:));
    const IMP original = method_setImplementation(method, reinterpret_cast<IMP>(recordAliases));
    g_resolvesAliases = false;
    When(panelHasGrown, [this] {
        NSOpenPanel *panel = (NSOpenPanel *)[NSApp modalWindow];
        EXPECT_TRUE([panel canChooseDirectories]);
        EXPECT_FALSE([panel canChooseFiles]);
        EXPECT_FALSE([panel allowsMultipleSelection]);
        EXPECT_TRUE(g_resolvesAliases);
        EXPECT_EQ([panel delegate], (id)controller);
        EXPECT_NE(apptest::ButtonTitled(panel, @"Save"), nil);
        [panel cancel:nil];
    });
    [controller onClickedExport:nil];
    method_setImplementation(method, original);
}

TEST_F(ExportCommandTest, ThePanelLeavesTheScreenWhateverItsResult)
{
    root().File(u"a", 10);
    open();
    select({0});
    NSOpenPanel *panel = nil;
    When(panelIsUp, [&panel] {
        panel = (NSOpenPanel *)[NSApp modalWindow];
        // Neither of its buttons, which take it away themselves.
        [NSApp stopModalWithCode:-7];
    });
    [controller onClickedExport:nil];
    EXPECT_NE(panel, nil);
    EXPECT_FALSE([panel isVisible]);
    EXPECT_EQ([NSApp modalWindow], nil);
}

TEST_F(ExportCommandTest, ClickingTwiceReplacesTheKeptPanelAndNothingElsePersists)
{
    root().File(u"a", 10);
    open();
    select({0});
    Method method = class_getClassMethod([NSOpenPanel class], @selector(openPanel));
    g_openPanel = method_setImplementation(method, reinterpret_cast<IMP>(alternatingPanel));
    g_panelsAsked = g_madePanels = 0;
    for (int click = 1; click <= 2; ++click) {
        @autoreleasepool {
            When(panelIsUp, [] { [(NSOpenPanel *)[NSApp modalWindow] cancel:nil]; });
            [controller onClickedExport:nil];
        }
        KeptPanel *kept = [controller valueForKey:@"_openPanel"];
        ASSERT_TRUE([kept isKindOfClass:[KeptPanel class]]);
        EXPECT_EQ(g_panelsAsked, 2 * click);
        EXPECT_EQ(g_keptPanels, 1) << "an earlier one is let go of";
        EXPECT_EQ(kept->_delegate, (id)controller);
        EXPECT_TRUE(!kept->_many && kept->_folders && !kept->_files && kept->_aliases);
        EXPECT_EQ(kept->_number, click);
    }
    method_setImplementation(method, g_openPanel);
}

TEST_F(ExportCommandTest, TheProgressWindowLiesInTheMiddleOfTheScreen)
{
    root().Folder(u"Empty");
    open();
    select({0});
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
    root().Folder(u"Reports").Folder(u"2019").File(u"a.txt", std::string("contents"));
    root().File(u"b.txt", std::string("more"));
    open();
    [tree() selectAll:nil];
    choose(folder.Path());
    [controller onClickedExport:nil];
    EXPECT_TRUE(holds("Reports/2019/a.txt", "contents"));
    EXPECT_TRUE(holds("b.txt", "more"));
    EXPECT_EQ(g_opened, folder.Path());
    EXPECT_EQ([NSApp modalWindow], nil);
}

TEST_F(ExportCommandTest, AfterAnExportTheExplorerComesToTheFrontAndThenTheDestinationIsOpened)
{
    root().File(u"a", std::string("a"));
    open();
    select({0});
    Method method =
        class_getInstanceMethod([NSApplication class], @selector(activateIgnoringOtherApps:));
    const IMP original = method_setImplementation(method, reinterpret_cast<IMP>(recordActivation));
    // The window would otherwise be gone before it is looked at.
    volume.AtCall(vx::VolumeOperation::kReadFile, 1, vx::Fault::kStall);
    int atTheEnd = -1;
    choose(folder.Path());
    When([this] { return workerStalls(); },
         [this, &atTheEnd] {
             atTheEnd = g_activations;
             volume.Release();
         });
    [controller onClickedExport:nil];
    method_setImplementation(method, original);
    EXPECT_EQ(g_activationsBeforeOpening, atTheEnd + 1);
    EXPECT_EQ(g_opened, folder.Path());
}

TEST_F(ExportCommandTest, WhatIsExportedWasSelectedAtTheClickAndNotLater)
{
    root().File(u"first", std::string("1"));
    root().File(u"second", std::string("2"));
    open();
    select({0});
    When(panelIsUp, [this] {
        select({1});
        NSOpenPanel *panel = (NSOpenPanel *)[NSApp modalWindow];
        [panel setDirectory:[NSString stringWithUTF8String:folder.Path().c_str()]];
        [panel ok:nil];
    });
    [controller onClickedExport:nil];
    EXPECT_TRUE(holds("first", "1"));
    EXPECT_NE(access(folder.At("second").c_str(), F_OK), 0);
    EXPECT_EQ(selected(), std::vector<std::string>{"second"});
}

TEST_F(ExportCommandTest, TwoExportsInARowEachCopyWhatIsSelectedThen)
{
    root().File(u"one", std::string("1"));
    root().File(u"two", std::string("2"));
    open();
    for (const char *name : {"one", "two"}) {
        select({strcmp(name, "one") == 0 ? 0u : 1u});
        choose(folder.MakeFolder(name));
        [controller onClickedExport:nil];
        EXPECT_EQ(g_opened, folder.At(name));
        EXPECT_EQ([NSApp modalWindow], nil);
    }
    EXPECT_TRUE(holds("one/one", "1"));
    EXPECT_TRUE(holds("two/two", "2"));
    EXPECT_NE(access(folder.At("two/one").c_str(), F_OK), 0);
}

TEST_F(ExportCommandTest, ReturnExportsWhatIsSelectedAndNothingOtherwise)
{
    root().File(u"a", 10);
    open();
    [window makeKeyAndOrderFront:nil];
    press('\r');
    EXPECT_EQ([controller valueForKey:@"_openPanel"], nil);
    select({0});
    bool shown = false;
    When(panelIsUp, [&shown] {
        shown = true;
        [(NSOpenPanel *)[NSApp modalWindow] cancel:nil];
    });
    press('\r');
    EXPECT_TRUE(shown);
}

TEST_F(ExportCommandTest, ThePanelLiesOverTheMiddleOfItsWindow)
{
    root().File(u"a", 10);
    open();
    select({0});
    [window setFrame:NSMakeRect(300, 60, 900, 620) display:YES];
    NSRect frame = NSZeroRect;
    bool mayConfirm = false;
    const auto look = [&] {
        NSOpenPanel *panel = (NSOpenPanel *)[NSApp modalWindow];
        frame = [panel frame];
        mayConfirm = [apptest::ButtonTitled(panel, @"Save") isEnabled];
        [panel cancel:nil];
    };
    When(panelHasGrown, look);
    [controller onClickedExport:nil];
    EXPECT_NEAR(NSMidX(frame), NSMidX([window frame]), 2);
    EXPECT_NEAR(NSMidY(frame), NSMidY([window frame]), 2);
    EXPECT_TRUE(mayConfirm) << "the folder that it shows";
}

TEST_F(ExportCommandTest, ThePanelStaysOnTheScreenWhenItsWindowLiesAtTheEdge)
{
    root().File(u"a", 10);
    open();
    select({0});
    [window setFrameOrigin:NSMakePoint(1000, -250)];
    NSRect frame = NSZeroRect;
    When(panelHasGrown, [&] {
        frame = [[NSApp modalWindow] frame];
        [(NSOpenPanel *)[NSApp modalWindow] cancel:nil];
    });
    [controller onClickedExport:nil];
    EXPECT_EQ(NSHeight(frame), 500);
    EXPECT_TRUE(NSContainsRect([[NSScreen mainScreen] visibleFrame], frame))
        << [NSStringFromRect(frame) UTF8String];
}

TEST_F(ExportCommandTest, ADestinationWithoutWritePermissionBringsTheAlertOnceAndNothingIsCopied)
{
    root().File(u"a", 10);
    open();
    select({0});
    const std::string locked = folder.MakeFolder("locked");
    chmod(folder.Path().c_str(), 0755);
    chmod(locked.c_str(), 0555);
    // Loaded while the program's own files can be read for certain.
    NSImage *warning = [NSImage imageNamed:@"warning"];
    std::optional<OrdinaryUser> user;
    int alerts = 0;
    When(panelIsUp, [&user, locked] {
        NSOpenPanel *panel = (NSOpenPanel *)[NSApp modalWindow];
        [panel setDirectory:[NSString stringWithUTF8String:locked.c_str()]];
        user.emplace();
        [panel ok:nil];
    });
    When(alertIsUp, [&alerts, &user, warning] {
        user.reset();
        ++alerts;
        NSWindow *alert = [NSApp modalWindow];
        EXPECT_TRUE(apptest::ShowsText(alert, @"No access right."));
        EXPECT_TRUE(apptest::ShowsImage(alert, warning));
        [apptest::ButtonTitled(alert, @"Yes") performClick:nil];
    });
    [controller onClickedExport:nil];
    EXPECT_EQ(alerts, 1);
    EXPECT_EQ(volume.Count(vx::VolumeOperation::kOpenFile), 0u);
    EXPECT_EQ(g_opened, "");
    EXPECT_EQ(selected(), std::vector<std::string>{"a"});
}

TEST_F(ExportCommandTest, ADestinationThatHasGoneBringsTheAlertOnceAndNothingIsCopied)
{
    root().File(u"a", 10);
    open();
    select({0});
    const std::string gone = folder.MakeFolder("gone");
    int alerts = 0;
    When(panelIsUp, [gone] {
        NSOpenPanel *panel = (NSOpenPanel *)[NSApp modalWindow];
        [panel setDirectory:[NSString stringWithUTF8String:gone.c_str()]];
        rmdir(gone.c_str());
        [panel ok:nil];
    });
    When(alertIsUp, [&alerts] {
        ++alerts;
        NSWindow *alert = [NSApp modalWindow];
        EXPECT_TRUE(apptest::ShowsText(alert, @"No access right."));
        EXPECT_TRUE(
            apptest::ShowsText(alert, @"Can't access this location, please select another."));
        EXPECT_TRUE(apptest::ShowsImage(alert, [NSImage imageNamed:@"warning"]));
        [apptest::ButtonTitled(alert, @"Yes") performClick:nil];
    });
    [controller onClickedExport:nil];
    EXPECT_EQ(alerts, 1);
    EXPECT_EQ(volume.Count(vx::VolumeOperation::kOpenFile), 0u);
    EXPECT_EQ(g_opened, "");
}

TEST_F(ExportCommandTest, ASecondExportAfterACancelledOneWorksWhileTheFirstWorkerStillEnds)
{
    root().File(u"slow", 5 << 20);
    root().File(u"quick", std::string("quick"));
    volume.AtCall(vx::VolumeOperation::kReadFile, 1, vx::Fault::kStall);
    // So that the second window is still there when it is looked for.
    volume.AtCall(vx::VolumeOperation::kOpenFile, 2, vx::Fault::kStall);
    open();
    select({0});
    choose(folder.MakeFolder("first"));
    When([this] { return workerStalls(); }, [] { [progress() cancelClicked:nil]; });
    [controller onClickedExport:nil];
    EXPECT_EQ(volume.Count(vx::VolumeOperation::kCloseHandle), 0u) << "the worker still reads";

    select({1});
    choose(folder.MakeFolder("second"));
    When([] { return progress() != nil; }, [this] { volume.Release(); });
    [controller onClickedExport:nil];
    EXPECT_TRUE(holds("second/quick", "quick"));
    EXPECT_TRUE(apptest::ServeUntil([this] { return volume.OpenHandles() == 0; }));
}

TEST_F(ExportCommandTest, AWindowIsLetGoOfOnTheMainThreadAlsoWhenItsWorkerEndsLast)
{
    root().File(u"slow", 5 << 20);
    volume.AtCall(vx::VolumeOperation::kReadFile, 1, vx::Fault::kStall);
    open();
    select({0});
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
    root().Folder(u"Empty");
    open();
    id item = [[[[NSApp mainMenu] itemAtIndex:0] submenu] itemWithTitle:@"Export"];
    EXPECT_FALSE([(id)controller validateMenuItem:item]);
    select({0});
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
    root().Folder(u"Empty");
    open();
    select({0});
    choose(folder.Path());
    When([] { return progress() != nil; },
         [] {
             [progress() setValue:[NSNumber numberWithLongLong:7] forKey:@"_nRtnCode"];
             [progress() cancelClicked:nil];
         });
    [controller onClickedExport:nil];
    EXPECT_EQ(g_opened, "");
}

TEST_F(ExportCommandTest, ASelectionWithoutFilesLeavesTheWindowOpenUntilItIsCancelled)
{
    root().Folder(u"Empty");
    open();
    select({0});
    choose(folder.Path());
    When([] { return progress() != nil; }, [] { [progress() cancelClicked:nil]; });
    [controller onClickedExport:nil];
    EXPECT_EQ([NSApp modalWindow], nil);
}

}  // namespace
