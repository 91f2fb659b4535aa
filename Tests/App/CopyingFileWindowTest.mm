// The progress window as an export's sink: its own thread, its modal session, its end.
#import "CopyingFileWindow.h"

#include <CoreGraphics/CoreGraphics.h>

#import "ModalDriver.h"
#import "ProgressText.h"

#include <gtest/gtest.h>

#include <objc/runtime.h>

#include <atomic>
#include <ctime>
#include <functional>
#include <future>
#include <string>
#include <thread>

namespace {

using apptest::ServeUntil;
using apptest::When;

std::string utf8(NSString *text)
{
    return text == nil ? "(nil)" : [text UTF8String];
}

class CopyingFileWindowTest : public testing::Test {
protected:
    CopyingFileWindowTest()
    {
        _progress = [[CopyingFileWindow alloc] init];
        [_progress window];
    }
    ~CopyingFileWindowTest() override
    {
        if (_worker.joinable()) {
            EXPECT_TRUE(ServeUntil([this] { return _workerEnded.load(); }));
            _worker.join();
        }
        [_progress close];
        [_progress release];
    }
    CopyingFileWindowTest(const CopyingFileWindowTest &) = delete;
    CopyingFileWindowTest &operator=(const CopyingFileWindowTest &) = delete;

    std::string fileLine() { return utf8([[_progress fileInfoLable] stringValue]); }
    std::string progressLine() { return utf8([[_progress infoLabel] stringValue]); }
    // On the worker's thread.
    void send(int percent) { [_progress UpdateProgress:[NSNumber numberWithInt:percent]]; }
    // What the worker sends, until the window has shown it.
    void report(int percent)
    {
        workUntilDone([this, percent] { send(percent); });
    }
    void announce(NSString *path)
    {
        workUntilDone([this, path] { [_progress UpdateInformation:path]; });
    }
    void announceTotal(NSNumber *total)
    {
        workUntilDone([this, total] { [_progress UpdateTotalSize:total]; });
    }
    int64_t startTime() { return [[_progress valueForKey:@"_startTime"] longLongValue]; }
    void setStartTime(int64_t seconds)
    {
        [_progress setValue:[NSNumber numberWithLongLong:seconds] forKey:@"_startTime"];
    }

    // What the worker of an export does, on a thread of its own.
    void work(const std::function<void()> &job)
    {
        _worker = std::thread([this, job] {
            GSRegisterCurrentThreadForTests();
            @autoreleasepool {
                job();
            }
            _workerEnded = true;
        });
    }

    // The same, while the main thread serves it.
    static void workUntilDone(const std::function<void()> &job)
    {
        std::atomic<bool> ended{false};
        std::thread worker([&] {
            GSRegisterCurrentThreadForTests();
            @autoreleasepool {
                job();
            }
            ended = true;
        });
        EXPECT_TRUE(ServeUntil([&] { return ended.load(); }));
        worker.join();
    }

    NSInteger runModal() { return [NSApp runModalForWindow:[_progress window]]; }

    // Threads of the C++ library are unknown to the platform until they are registered.
    static void GSRegisterCurrentThreadForTests() { [NSThread currentThread]; }

    CopyingFileWindow *_progress = nil;
    std::thread _worker;
    // What the worker writes lives here: the destructor waits for it, also when a test fails.
    std::atomic<bool> _workerEnded{false};
    std::atomic<int> _served{0};
};

TEST_F(CopyingFileWindowTest, StartsWithAWhiteBackgroundTheInitializingTextAndAnEmptyBar)
{
    EXPECT_EQ(fileLine(), "Initializing ... ");
    EXPECT_TRUE([[[_progress window] backgroundColor] isEqual:[NSColor whiteColor]]);
    EXPECT_EQ([[_progress window] level], CGWindowLevelForKey(kCGStatusWindowLevelKey));
    EXPECT_EQ([[_progress progressBar] doubleValue], 0.0);
    EXPECT_FALSE([[_progress progressBar] isIndeterminate]);
    EXPECT_TRUE([[_progress progressBar] usesThreadedAnimation]);
    EXPECT_TRUE([_progress Continued]);
    EXPECT_EQ([_progress GetState], 1);
    EXPECT_EQ([[_progress window] delegate], (id)_progress);
}

TEST_F(CopyingFileWindowTest, TheBarsAnimationIsStartedOnceItIsDeterminate)
{
    static int started, whileIndeterminate;
    started = whileIndeterminate = 0;
    Method method =
        class_getInstanceMethod([NSProgressIndicator class], @selector(startAnimation:));
    const IMP original =
        method_setImplementation(method, reinterpret_cast<IMP>(+[](id bar, SEL, id) {
                                     ++started;
                                     whileIndeterminate += [bar isIndeterminate] ? 1 : 0;
                                 }));
    CopyingFileWindow *another = [[CopyingFileWindow alloc] init];
    [another window];
    method_setImplementation(method, original);
    EXPECT_EQ(started, 1);
    EXPECT_EQ(whileIndeterminate, 0);
    [another release];
}

TEST_F(CopyingFileWindowTest, TheBarGoesFrom0To100)
{
    EXPECT_EQ([[_progress progressBar] minValue], 0.0);
    EXPECT_EQ([[_progress progressBar] maxValue], 100.0);
}

TEST_F(CopyingFileWindowTest, TheRunStateIsWhatWasSet)
{
    [_progress SetState:2];
    EXPECT_EQ([_progress GetState], 2);
}

TEST_F(CopyingFileWindowTest, AnAnnouncedFileIsNamedWithTheIconOfItsType)
{
    const int64_t before = time(nullptr);
    announce(@"/Reports/a.pdf");
    EXPECT_EQ(fileLine(), utf8(FileLineText(@"/Reports/a.pdf")));
    EXPECT_EQ([[_progress fileImage] image],
              [[NSWorkspace sharedWorkspace] iconForFileType:@"pdf"]);
    EXPECT_GE(startTime(), before);
    EXPECT_LE(startTime(), time(nullptr));
}

TEST_F(CopyingFileWindowTest, TheSamePathAnnouncedTwiceChangesNothingAndDoesNotRestartTheClock)
{
    announce(@"/a.txt");
    setStartTime(1000);
    [[_progress fileInfoLable] setStringValue:@"untouched"];
    announce([NSString stringWithFormat:@"/%s", "a.txt"]);
    EXPECT_EQ(startTime(), 1000);
    EXPECT_EQ(fileLine(), "untouched");
    announce(@"/b.txt");
    EXPECT_NE(startTime(), 1000);
}

TEST_F(CopyingFileWindowTest, EmptyArgumentsAreIgnored)
{
    announce(nil);
    announce(@"");
    EXPECT_EQ(fileLine(), "Initializing ... ");
    announceTotal([NSNumber numberWithDouble:8]);
    report(50);
    const std::string before = progressLine();
    announceTotal(nil);
    workUntilDone([this] { [_progress UpdateProgress:nil]; });
    report(50);
    EXPECT_EQ(progressLine(), before);
}

TEST_F(CopyingFileWindowTest, ATotalSizeIsShownWithTheNextReportOnly)
{
    announceTotal([NSNumber numberWithDouble:8]);
    report(50);
    const std::string before = progressLine();
    announceTotal([NSNumber numberWithDouble:9]);
    EXPECT_EQ(progressLine(), before);
    report(50);
    EXPECT_NE(progressLine(), before);
}

TEST_F(CopyingFileWindowTest, AReportMovesTheBarAndTheEstimateRunsFromTheCurrentFile)
{
    announceTotal([NSNumber numberWithDouble:200]);
    announce(@"/a.txt");
    setStartTime(time(nullptr) - 600);
    report(50);
    EXPECT_EQ([[_progress progressBar] doubleValue], 50.0);
    // The text is the same for the rest of that minute.
    EXPECT_EQ(progressLine(), utf8(ProgressLineText(50, 600, 200)));
}

TEST_F(CopyingFileWindowTest, AReportOfExactly100PercentEndsTheSessionWith0AndClosesTheWindow)
{
    work([this] { send(100); });
    EXPECT_EQ(runModal(), 0);
    EXPECT_FALSE([[_progress window] isVisible]);
}

TEST_F(CopyingFileWindowTest, AReportOf99PercentDoesNot)
{
    work([this] { send(99); });
    bool stillOpen = false;
    When([this] { return _workerEnded.load(); },
         [&] {
             stillOpen =
                 [[_progress window] isVisible] && [NSApp modalWindow] == [_progress window];
             [_progress cancelClicked:nil];
         });
    runModal();
    EXPECT_TRUE(stillOpen);
}

TEST_F(CopyingFileWindowTest, TheWorkersWaitsAreServedInTheModalSession)
{
    work([this] {
        for (; _served < 50; ++_served) {
            [_progress UpdateInformation:[NSString stringWithFormat:@"/%d", _served.load()]];
            send(_served);
        }
        send(100);
    });
    EXPECT_EQ(runModal(), 0);
    EXPECT_EQ(_served, 50);
    EXPECT_EQ(fileLine(), utf8(FileLineText(@"/49")));
}

TEST_F(CopyingFileWindowTest, TheWorkersWaitsAreServedWhileTheMouseIsTracked)
{
    work([this] { [_progress UpdateInformation:@"/tracked"]; });
    EXPECT_TRUE(ServeUntil([this] { return _workerEnded.load(); }, NSEventTrackingRunLoopMode));
    EXPECT_EQ(fileLine(), utf8(FileLineText(@"/tracked")));
}

TEST_F(CopyingFileWindowTest, PressingCancelClosesTheWindowAtOnceBeforeTheWorkerHasStopped)
{
    std::promise<void> workerMayGoOn;
    work([this, mayGoOn = workerMayGoOn.get_future().share()] {
        mayGoOn.wait();
        send(10);
    });
    When([this] { return [[_progress window] isVisible]; },
         [this] { [_progress cancelClicked:nil]; });
    EXPECT_EQ(runModal(), 0);
    EXPECT_FALSE([[_progress window] isVisible]);
    EXPECT_FALSE([_progress Continued]);
    EXPECT_FALSE(_workerEnded);
    workerMayGoOn.set_value();
}

TEST_F(CopyingFileWindowTest, ACancelIsNotedBeforeTheWindowCloses)
{
    static CopyingFileWindow *window;
    static int closings, whileContinued;
    window = _progress;
    closings = whileContinued = 0;
    Method method = class_getInstanceMethod([CopyingFileWindow class], @selector(windowWillClose:));
    const IMP original =
        method_setImplementation(method, reinterpret_cast<IMP>(+[](id, SEL, NSNotification *) {
                                     ++closings;
                                     whileContinued += [window Continued] ? 1 : 0;
                                 }));
    [[_progress window] orderFront:nil];
    [_progress cancelClicked:nil];
    method_setImplementation(method, original);
    EXPECT_EQ(closings, 1);
    EXPECT_EQ(whileContinued, 0);
}

TEST_F(CopyingFileWindowTest, AReportAfterACancelClosesTheWindowAgainAndEndsItsSession)
{
    [_progress cancelClicked:nil];
    // The window was shown again.
    work([this] { send(10); });
    EXPECT_EQ(runModal(), 0);
    EXPECT_FALSE([[_progress window] isVisible]);
}

TEST_F(CopyingFileWindowTest, TheCancelButtonEndsTheSessionWith0)
{
    When([this] { return [[_progress window] isVisible]; },
         [this] { [apptest::ButtonTitled([_progress window], @"Cancel") performClick:nil]; });
    EXPECT_EQ(runModal(), 0);
    EXPECT_FALSE([_progress Continued]);
}

TEST_F(CopyingFileWindowTest, ClosingTheWindowByOtherMeansEndsTheSessionWith0AndCancelsNothing)
{
    When([this] { return [[_progress window] isVisible]; }, [this] { [[_progress window] close]; });
    EXPECT_EQ(runModal(), 0);
    EXPECT_TRUE([_progress Continued]);
}

TEST_F(CopyingFileWindowTest, AReportAfterTheEndLeavesTheSessionOfALaterExportAlone)
{
    When([this] { return [[_progress window] isVisible]; },
         [this] { [_progress cancelClicked:nil]; });
    runModal();

    CopyingFileWindow *later = [[CopyingFileWindow alloc] init];
    work([this] {
        send(10);
        send(100);
    });
    bool reachedItsEnd = false;
    When([this] { return _workerEnded.load(); },
         [&] {
             reachedItsEnd = [NSApp modalWindow] == [later window] && [[later window] isVisible];
             [later cancelClicked:nil];
         });
    EXPECT_EQ([NSApp runModalForWindow:[later window]], 0);
    EXPECT_TRUE(reachedItsEnd);
    [later release];
}

TEST_F(CopyingFileWindowTest, ASessionBelowAMessageBoxEndsWhenTheBoxHasGone)
{
    NSWindow *box = [[NSPanel alloc] initWithContentRect:NSMakeRect(0, 0, 100, 100)
                                               styleMask:NSTitledWindowMask
                                                 backing:NSBackingStoreBuffered
                                                   defer:NO];
    NSInteger boxCode = 0;
    When([this] { return [[_progress window] isVisible]; },
         [&] {
             When([&] { return [box isVisible]; },
                  [&] {
                      report(100);
                      EXPECT_EQ([NSApp modalWindow], box);
                      [NSApp stopModalWithCode:7];
                  });
             boxCode = [NSApp runModalForWindow:box];
             [box close];
         });
    EXPECT_EQ(runModal(), 0);
    EXPECT_EQ(boxCode, 7);
}

}  // namespace
