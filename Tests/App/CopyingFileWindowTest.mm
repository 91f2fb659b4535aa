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

std::string Utf8(NSString *text)
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

    std::string FileLine() { return Utf8([[_progress fileInfoLable] stringValue]); }
    std::string ProgressLine() { return Utf8([[_progress infoLabel] stringValue]); }
    // On the worker's thread.
    void Send(int percent) { [_progress UpdateProgress:[NSNumber numberWithInt:percent]]; }
    // What the worker sends, until the window has shown it.
    void Report(int percent)
    {
        WorkUntilDone([this, percent] { Send(percent); });
    }
    void Announce(NSString *path)
    {
        WorkUntilDone([this, path] { [_progress UpdateInformation:path]; });
    }
    void AnnounceTotal(NSNumber *total)
    {
        WorkUntilDone([this, total] { [_progress UpdateTotalSize:total]; });
    }
    int64_t StartTime() { return [[_progress valueForKey:@"_startTime"] longLongValue]; }
    void SetStartTime(int64_t seconds)
    {
        [_progress setValue:[NSNumber numberWithLongLong:seconds] forKey:@"_startTime"];
    }

    // What the worker of an export does, on a thread of its own.
    void Work(const std::function<void()> &job)
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
    static void WorkUntilDone(const std::function<void()> &job)
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

    NSInteger RunModal() { return [NSApp runModalForWindow:[_progress window]]; }

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
    EXPECT_EQ(FileLine(), "Initializing ... ");
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
    Announce(@"/Reports/a.pdf");
    EXPECT_EQ(FileLine(), Utf8(FileLineText(@"/Reports/a.pdf")));
    EXPECT_EQ([[_progress fileImage] image],
              [[NSWorkspace sharedWorkspace] iconForFileType:@"pdf"]);
    EXPECT_GE(StartTime(), before);
    EXPECT_LE(StartTime(), time(nullptr));
}

TEST_F(CopyingFileWindowTest, TheSamePathAnnouncedTwiceChangesNothingAndDoesNotRestartTheClock)
{
    Announce(@"/a.txt");
    SetStartTime(1000);
    [[_progress fileInfoLable] setStringValue:@"untouched"];
    Announce([NSString stringWithFormat:@"/%s", "a.txt"]);
    EXPECT_EQ(StartTime(), 1000);
    EXPECT_EQ(FileLine(), "untouched");
    Announce(@"/b.txt");
    EXPECT_NE(StartTime(), 1000);
}

TEST_F(CopyingFileWindowTest, EmptyArgumentsAreIgnored)
{
    Announce(nil);
    Announce(@"");
    EXPECT_EQ(FileLine(), "Initializing ... ");
    AnnounceTotal([NSNumber numberWithDouble:8]);
    Report(50);
    const std::string before = ProgressLine();
    AnnounceTotal(nil);
    WorkUntilDone([this] { [_progress UpdateProgress:nil]; });
    Report(50);
    EXPECT_EQ(ProgressLine(), before);
}

TEST_F(CopyingFileWindowTest, ATotalSizeIsShownWithTheNextReportOnly)
{
    AnnounceTotal([NSNumber numberWithDouble:8]);
    Report(50);
    const std::string before = ProgressLine();
    AnnounceTotal([NSNumber numberWithDouble:9]);
    EXPECT_EQ(ProgressLine(), before);
    Report(50);
    EXPECT_NE(ProgressLine(), before);
}

TEST_F(CopyingFileWindowTest, AReportMovesTheBarAndTheEstimateRunsFromTheCurrentFile)
{
    AnnounceTotal([NSNumber numberWithDouble:200]);
    Announce(@"/a.txt");
    SetStartTime(time(nullptr) - 600);
    Report(50);
    EXPECT_EQ([[_progress progressBar] doubleValue], 50.0);
    // The text is the same for the rest of that minute.
    EXPECT_EQ(ProgressLine(), Utf8(ProgressLineText(50, 600, 200)));
}

TEST_F(CopyingFileWindowTest, AReportOfExactly100PercentEndsTheSessionWith0AndClosesTheWindow)
{
    Work([this] { Send(100); });
    EXPECT_EQ(RunModal(), 0);
    EXPECT_FALSE([[_progress window] isVisible]);
}

TEST_F(CopyingFileWindowTest, AReportOf99PercentDoesNot)
{
    Work([this] { Send(99); });
    bool stillOpen = false;
    When([this] { return _workerEnded.load(); },
         [&] {
             stillOpen =
                 [[_progress window] isVisible] && [NSApp modalWindow] == [_progress window];
             [_progress cancelClicked:nil];
         });
    RunModal();
    EXPECT_TRUE(stillOpen);
}

TEST_F(CopyingFileWindowTest, TheWorkersWaitsAreServedInTheModalSession)
{
    Work([this] {
        for (; _served < 50; ++_served) {
            [_progress UpdateInformation:[NSString stringWithFormat:@"/%d", _served.load()]];
            Send(_served);
        }
        Send(100);
    });
    EXPECT_EQ(RunModal(), 0);
    EXPECT_EQ(_served, 50);
    EXPECT_EQ(FileLine(), Utf8(FileLineText(@"/49")));
}

TEST_F(CopyingFileWindowTest, TheWorkersWaitsAreServedWhileTheMouseIsTracked)
{
    Work([this] { [_progress UpdateInformation:@"/tracked"]; });
    EXPECT_TRUE(ServeUntil([this] { return _workerEnded.load(); }, NSEventTrackingRunLoopMode));
    EXPECT_EQ(FileLine(), Utf8(FileLineText(@"/tracked")));
}

TEST_F(CopyingFileWindowTest, PressingCancelClosesTheWindowAtOnceBeforeTheWorkerHasStopped)
{
    std::promise<void> workerMayGoOn;
    Work([this, mayGoOn = workerMayGoOn.get_future().share()] {
        mayGoOn.wait();
        Send(10);
    });
    When([this] { return [[_progress window] isVisible]; },
         [this] { [_progress cancelClicked:nil]; });
    EXPECT_EQ(RunModal(), 0);
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
    Work([this] { Send(10); });
    EXPECT_EQ(RunModal(), 0);
    EXPECT_FALSE([[_progress window] isVisible]);
}

TEST_F(CopyingFileWindowTest, TheCancelButtonEndsTheSessionWith0)
{
    When([this] { return [[_progress window] isVisible]; },
         [this] { [apptest::ButtonTitled([_progress window], @"Cancel") performClick:nil]; });
    EXPECT_EQ(RunModal(), 0);
    EXPECT_FALSE([_progress Continued]);
}

TEST_F(CopyingFileWindowTest, ClosingTheWindowByOtherMeansEndsTheSessionWith0AndCancelsNothing)
{
    When([this] { return [[_progress window] isVisible]; }, [this] { [[_progress window] close]; });
    EXPECT_EQ(RunModal(), 0);
    EXPECT_TRUE([_progress Continued]);
}

TEST_F(CopyingFileWindowTest, AReportAfterTheEndLeavesTheSessionOfALaterExportAlone)
{
    When([this] { return [[_progress window] isVisible]; },
         [this] { [_progress cancelClicked:nil]; });
    RunModal();

    CopyingFileWindow *later = [[CopyingFileWindow alloc] init];
    Work([this] {
        Send(10);
        Send(100);
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
                      Report(100);
                      EXPECT_EQ([NSApp modalWindow], box);
                      [NSApp stopModalWithCode:7];
                  });
             boxCode = [NSApp runModalForWindow:box];
             [box close];
         });
    EXPECT_EQ(RunModal(), 0);
    EXPECT_EQ(boxCode, 7);
}

}  // namespace
