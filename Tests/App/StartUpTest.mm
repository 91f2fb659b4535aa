// The start of the application, from the interface file to the shown window, with a volume library
// of the test's beside the bundle.
#import "AppDelegate.h"
#import "TreeOutlineView.h"

#include "ScriptedVolume.h"
#include "StartUpLibrary.h"

#include <CoreGraphics/CoreGraphics.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <dlfcn.h>
#include <objc/runtime.h>

#include <algorithm>
#include <string>
#include <vector>

namespace {

using testing::ElementsAre;

std::vector<std::string> g_steps;

// Puts a note of the call before a method of a class, for the rest of the process.
template <int Number, typename Result, typename... Arguments>
void Note(Class owner, SEL selector, const char *step)
{
    using Function = Result (*)(id, SEL, Arguments...);
    static Function original;
    static std::string name;
    name = step;
    Method method = class_getInstanceMethod(owner, selector);
    const Function noting = [](id self, SEL command, Arguments... arguments) {
        g_steps.push_back(name);
        return original(self, command, arguments...);
    };
    original =
        reinterpret_cast<Function>(method_setImplementation(method, reinterpret_cast<IMP>(noting)));
}

// The library has none to give where the desktop draws it.
NSButton *g_zoomButton = nil;

id StandInButton(id, SEL, NSWindowButton button)
{
    return button == NSWindowZoomButton ? g_zoomButton : nil;
}

// For the rest of the process.
void GiveWindowsAZoomButton()
{
    g_zoomButton = [[NSButton alloc] initWithFrame:NSMakeRect(0, 0, 10, 10)];
    method_setImplementation(
        class_getInstanceMethod([NSWindow class], @selector(standardWindowButton:)),
        reinterpret_cast<IMP>(StandInButton));
}

class StartUp : public testing::Test {
protected:
    StartUp()
    {
        NSString *beside = [[[NSBundle mainBundle] bundlePath] stringByDeletingLastPathComponent];
        NSString *path = [beside stringByAppendingPathComponent:@"libBitLockerWapper.dylib"];
        void *loaded = dlopen([path UTF8String], RTLD_LAZY);
        EXPECT_NE(loaded, nullptr);
        library = static_cast<StartUpLibrary *>(dlsym(loaded, "start_up_library"));
        library->volume = &volume;
    }
    ~StartUp() override
    {
        // Closing the last window would end the process.
        [[NSNotificationCenter defaultCenter] removeObserver:delegate];
        [NSApp setDelegate:nil];
        [[delegate window] close];
    }
    StartUp(const StartUp &) = delete;
    StartUp &operator=(const StartUp &) = delete;

    void Start(const std::vector<std::string> &given = {"disk", "none", ""})
    {
        std::vector<std::string> all = {"program"};
        all.insert(all.end(), given.begin(), given.end());
        all.push_back("fourth");
        std::vector<char *> vector;
        for (std::string &argument : all)
            vector.push_back(argument.data());
        vector.push_back(nullptr);
        char *environment[] = {nullptr};
        [NSProcessInfo initializeWithArguments:vector.data()
                                         count:static_cast<int>(all.size())
                                   environment:environment];
        ASSERT_TRUE([NSBundle loadNibNamed:@"MainMenu" owner:NSApp]);
        delegate = (AppDelegate *)[NSApp delegate];
    }

    bool ShowsTree()
    {
        NSView *view = [delegate FileExplorerView];
        return view != nil && [view superview] == [[delegate window] contentView];
    }

    vx::ScriptedVolume volume;
    StartUpLibrary *library = nullptr;
    AppDelegate *delegate = nil;
};

TEST_F(StartUp, TheThreeArgumentsReachTheLibraryUnchangedAsUtf8)
{
    Start({"/dev/mäßig 1#2", "pässwörd %@ 100%", "日本語 𝄞 \"quoted\" -dash"});
    EXPECT_THAT(library->arguments,
                ElementsAre("/dev/mäßig 1#2", "pässwörd %@ 100%", "日本語 𝄞 \"quoted\" -dash"));
}

TEST_F(StartUp, EmptyArgumentsReachTheLibraryAsEmptyTexts)
{
    Start({"", "", ""});
    EXPECT_THAT(library->arguments, ElementsAre("", "", ""));
}

TEST_F(StartUp, AVolumeThatOpensIsShownWithItsRoot)
{
    volume.Root().Folder(u"A");
    volume.Root().File(u"b", 1);
    Start();
    EXPECT_TRUE(ShowsTree());
    EXPECT_EQ([[[delegate FileExplorerController] outlineView] numberOfRows], 2);
    EXPECT_EQ([[delegate window] firstResponder], [[delegate FileExplorerController] outlineView]);
}

TEST_F(StartUp, TheViewIsAddedAlsoWhenTheRootCannotBeListed)
{
    volume.FromCall(vx::VolumeOperation::kFindFirstFile, 1, vx::Fault::kFail);
    Start();
    EXPECT_TRUE(ShowsTree());
    EXPECT_EQ([[[delegate FileExplorerController] outlineView] numberOfRows], 0);
}

TEST_F(StartUp, AVolumeWithAStatusOtherThan0IsNotShown)
{
    library->status = 22;
    Start();
    EXPECT_FALSE(ShowsTree());
    EXPECT_TRUE([[delegate window] isVisible]);
    EXPECT_EQ(volume.Count(vx::VolumeOperation::kFindFirstFile), 0u);
}

TEST_F(StartUp, ANullVolumeWithStatus0IsNotShown)
{
    library->volume = nullptr;
    Start();
    EXPECT_FALSE(ShowsTree());
    EXPECT_TRUE([[delegate window] isVisible]);
}

TEST_F(StartUp, TheZoomButtonIsHidden)
{
    GiveWindowsAZoomButton();
    ASSERT_FALSE([g_zoomButton isHidden]);
    Start();
    EXPECT_TRUE([g_zoomButton isHidden]);
}

TEST_F(StartUp, TheStepsComeInTheirOrder)
{
    Note<0, void, id, SEL, NSString *, id>([NSNotificationCenter class],
                                           @selector(addObserver:selector:name:object:), "observe");
    library->opening = [] { g_steps.emplace_back("open"); };
    Note<1, id, NSWindowButton>([NSWindow class], @selector(standardWindowButton:), "zoom button");
    Note<2, BOOL, IVolume *>([Z5FileExplorer class], @selector(setVolumeObject:), "give");
    Note<3, void>([TreeOutlineView class], @selector(viewDidMoveToWindow), "add");
    Note<4, void, BOOL>([NSApplication class], @selector(activateIgnoringOtherApps:), "activate");
    Note<5, void, id>([NSWindow class], @selector(makeKeyAndOrderFront:), "key");
    Note<6, void, NSInteger>([NSWindow class], @selector(setLevel:), "raise");
    Start();
    // The window library observes notifications of its own meanwhile.
    const auto opened = std::find(g_steps.begin(), g_steps.end(), "open");
    ASSERT_NE(opened, g_steps.end());
    EXPECT_NE(std::find(g_steps.begin(), opened, "observe"), opened);
    std::vector<std::string> after;
    for (auto step = opened; step != g_steps.end(); ++step)
        if (*step != "observe" && (after.empty() || after.back() != *step))
            after.push_back(*step);
    EXPECT_THAT(after,
                ElementsAre("open", "zoom button", "give", "add", "activate", "key", "raise"));
}

TEST_F(StartUp, TheWindowIsRaisedOnceAndFallsBackToTheNormalLevel)
{
    Start();
    EXPECT_EQ([[delegate window] level], CGWindowLevelForKey(kCGStatusWindowLevelKey));
    [[NSNotificationCenter defaultCenter]
        postNotificationName:NSApplicationDidFinishLaunchingNotification
                      object:NSApp];
    EXPECT_EQ([[delegate window] level], CGWindowLevelForKey(kCGNormalWindowLevelKey));
}

TEST_F(StartUp, TheTreeFillsAWindowThatComesBackInAnotherSize)
{
    [[NSUserDefaults standardUserDefaults] setObject:@"190 200 700 400 0 0 1280 900"
                                              forKey:@"NSWindow Frame FileExplorer"];
    Start();
    NSView *content = [[delegate window] contentView];
    EXPECT_EQ(NSWidth([content frame]), 700);
    EXPECT_TRUE(NSEqualRects([[delegate FileExplorerView] frame], [content bounds]));
}

}  // namespace
