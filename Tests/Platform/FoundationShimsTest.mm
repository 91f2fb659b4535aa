// The pieces of Core Foundation, Core Graphics and Grand Central Dispatch that the program uses.
#import <AppKit/AppKit.h>
#import <CoreFoundation/CoreFoundation.h>
#import <CoreGraphics/CoreGraphics.h>
#import <dispatch/dispatch.h>

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "ServeUntil.h"

namespace {

using vxtest::ServeUntil;

class FoundationShims : public testing::Test {
protected:
    // The library lets another thread reach the main one only when that has a run loop, as it has
    // in a program.
    FoundationShims() { [NSRunLoop currentRunLoop]; }
    ~FoundationShims() override { [m_pool release]; }

private:
    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
};

using Flag = std::shared_ptr<std::atomic<bool>>;

Flag NewFlag()
{
    return std::make_shared<std::atomic<bool>>(false);
}

std::string PathOf(NSURL *url)
{
    CFStringRef path = CFURLCopyFileSystemPath((CFURLRef)url, kCFURLPOSIXPathStyle);
    const std::string text = path == nullptr ? "" : [(NSString *)path UTF8String];
    if (path != nullptr)
        CFRelease(path);
    return text;
}

// Counts how often it is destroyed: a block that holds one shows when it is released.
struct Held {
    explicit Held(std::atomic<int> &count) : destroyed(count) {}
    ~Held() { ++destroyed; }
    std::atomic<int> &destroyed;
};

}  // namespace

TEST_F(FoundationShims, AFolderUrlGivesItsPathWithoutASlashAtTheEnd)
{
    EXPECT_EQ(PathOf([NSURL fileURLWithPath:@"/tmp/a folder" isDirectory:YES]), "/tmp/a folder");
    EXPECT_EQ(PathOf([NSURL fileURLWithPath:@"/" isDirectory:YES]), "/");
}

TEST_F(FoundationShims, APathWithUmlautsAndPercentSignsComesBackUnchanged)
{
    EXPECT_EQ(PathOf([NSURL fileURLWithPath:@"/tmp/Grüße 100%" isDirectory:NO]),
              "/tmp/Gr\xC3\xBC\xC3\x9F"
              "e 100%");
}

TEST_F(FoundationShims, TheCallerOwnsTheCopiedPath)
{
    NSAutoreleasePool *inner = [NSAutoreleasePool new];
    NSURL *url = [NSURL fileURLWithPath:@"/tmp/somewhere/far/away" isDirectory:NO];
    CFStringRef path = CFURLCopyFileSystemPath((CFURLRef)url, kCFURLPOSIXPathStyle);
    [inner release];
    EXPECT_STREQ([(NSString *)path UTF8String], "/tmp/somewhere/far/away");
    CFRelease(path);
}

TEST_F(FoundationShims, ANullUrlGivesANullPath)
{
    EXPECT_EQ(CFURLCopyFileSystemPath(nullptr, kCFURLPOSIXPathStyle), nullptr);
}

TEST_F(FoundationShims, TheStatusLevelLiesAboveTheNormalLevel)
{
    EXPECT_EQ(CGWindowLevelForKey(kCGNormalWindowLevelKey), NSNormalWindowLevel);
    EXPECT_GT(CGWindowLevelForKey(kCGStatusWindowLevelKey), NSNormalWindowLevel);
    EXPECT_EQ(kCGStatusWindowLevelKey, 9);
}

// Those with names become docks, tools, menus or dialogues to a window manager.
TEST_F(FoundationShims, TheStatusLevelIsNoneThatMakesAWindowAnythingButAnOrdinaryOne)
{
    const CGWindowLevel level = CGWindowLevelForKey(kCGStatusWindowLevelKey);
    for (const int named :
         {NSDesktopWindowLevel, NSFloatingWindowLevel, NSSubmenuWindowLevel,
          NSTornOffMenuWindowLevel, NSMainMenuWindowLevel, NSDockWindowLevel, NSStatusWindowLevel,
          NSModalPanelWindowLevel, NSPopUpMenuWindowLevel, NSScreenSaverWindowLevel})
        EXPECT_NE(level, named);
    EXPECT_GT(level, NSFloatingWindowLevel);
    EXPECT_LT(level, NSModalPanelWindowLevel) << "panels and alerts stay above";
}

TEST_F(FoundationShims, ABlockQueuedByAnotherThreadRunsOnTheMainThread)
{
    const Flag onMain = NewFlag();
    const Flag ran = NewFlag();
    std::thread([&] {
        const Flag onMainThere = onMain, ranThere = ran;
        dispatch_async(dispatch_get_main_queue(), ^{
            *onMainThere = [NSThread isMainThread];
            *ranThere = true;
        });
    }).join();
    EXPECT_FALSE(*ran);
    ASSERT_TRUE(ServeUntil([&] { return ran->load(); }));
    EXPECT_TRUE(*onMain);
}

TEST_F(FoundationShims, QueueingOnTheMainThreadDoesNotRunTheBlockAtOnce)
{
    const Flag ran = NewFlag();
    dispatch_async(dispatch_get_main_queue(), ^{
        *ran = true;
    });
    EXPECT_FALSE(*ran);
    EXPECT_TRUE(ServeUntil([&] { return ran->load(); }));
}

TEST_F(FoundationShims, BlocksRunInTheOrderInWhichTheyWereQueued)
{
    auto order = std::make_shared<std::vector<int>>();
    for (int i = 0; i < 20; ++i) {
        dispatch_async(dispatch_get_main_queue(), ^{
            order->push_back(i);
        });
    }
    ASSERT_TRUE(ServeUntil([&] { return order->size() == 20; }));
    EXPECT_TRUE(std::is_sorted(order->begin(), order->end()));
}

TEST_F(FoundationShims, BlocksRunInModalSessionsAndWhileTheMouseIsTracked)
{
    for (NSString *mode in @[ NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode ]) {
        const Flag ran = NewFlag();
        dispatch_async(dispatch_get_main_queue(), ^{
            *ran = true;
        });
        EXPECT_TRUE(ServeUntil([&] { return ran->load(); }, mode)) << [mode UTF8String];
    }
}

TEST_F(FoundationShims, ABlockIsReleasedAfterItHasRun)
{
    std::atomic<int> destroyed{0};
    {
        auto held = std::make_shared<Held>(destroyed);
        dispatch_async(dispatch_get_main_queue(), ^{
            (void)held->destroyed;
        });
    }
    EXPECT_EQ(destroyed, 0);
    EXPECT_TRUE(ServeUntil([&] { return destroyed == 1; }));
}
