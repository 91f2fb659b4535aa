// The panel that asks where to export to, and the alert about a folder that cannot be used.
#import "ExportCommandFixture.h"
#import "ModalDriver.h"

#include "OrdinaryUser.h"

#include <objc/runtime.h>
#include <sys/stat.h>
#include <unistd.h>

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

TEST_F(ExportCommandTest, CancellingThePanelLeavesNoWindowNoAlertAndNoFilesBehind)
{
    Root().File(u"a", 10);
    Open();
    Select({0});
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
    EXPECT_EQ(opened, "");
    EXPECT_EQ(Selected(), std::vector<std::string>{"a"});
}

TEST_F(ExportCommandTest, ThePanelOffersFoldersOneAtATimeFollowsAliasesAndShowsSave)
{
    Root().File(u"a", 10);
    Open();
    Select({0});
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
    Root().File(u"a", 10);
    Open();
    Select({0});
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
    Root().File(u"a", 10);
    Open();
    Select({0});
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

TEST_F(ExportCommandTest, ThePanelLiesOverTheMiddleOfItsWindow)
{
    Root().File(u"a", 10);
    Open();
    Select({0});
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
    Root().File(u"a", 10);
    Open();
    Select({0});
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
    Root().File(u"a", 10);
    Open();
    Select({0});
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
    EXPECT_EQ(opened, "");
    EXPECT_EQ(Selected(), std::vector<std::string>{"a"});
}

TEST_F(ExportCommandTest, ADestinationThatHasGoneBringsTheAlertOnceAndNothingIsCopied)
{
    Root().File(u"a", 10);
    Open();
    Select({0});
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
    EXPECT_EQ(opened, "");
}

}  // namespace
