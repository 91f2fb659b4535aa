// What the suites of the export engine share: an engine on a scripted volume, a recording sink,
// a destination folder of the test's own, and the worker's end as something that can be awaited.
#pragma once

#include <sys/stat.h>

#include <functional>
#include <memory>

#import "CoreTest.h"
#include "Mutex.h"
#import "RecordingDelegate.h"
#include "TemporaryFolder.h"
#import "Z5FileManager.h"

// Counts the threads of the process that have ended since it was made.
@interface ThreadEnds : NSObject {
    vx::Mutex _mutex;
    vx::Condition _changed;
    int _ended VX_GUARDED_BY(_mutex);
}
// Counts from 0 again.
- (void)forget;
// NO if no thread ended within the deadline.
- (BOOL)awaitOne;
@end

class ExportTest : public CoreTest {
protected:
    ExportTest();
    void TearDown() override;

    // Plans the export of these entries of the root, or of the whole root.
    Z5FileManager *Plan(const std::vector<std::string> &names = {});
    Z5FileManager *PlanEntries(NSArray *selection);
    // Starts the worker on the destination, with plan() if there is no engine yet.
    bool Start();
    // Waits for the worker's end; the engine's volume calls are over then.
    bool Finish();
    // Runs a job on another thread, as the engine does, and returns after that thread's end, which
    // counts as none. No worker may run meanwhile.
    void OnWorker(const std::function<void()> &job);
    // Both: true once the export has ended.
    bool Run() { return Start() && Finish(); }

    std::string Destination() const { return folder.Path(); }
    std::string Exported(const std::string &path) const { return folder.ReadFile(path); }
    bool Exists(const std::string &path) const;
    long long SizeOf(const std::string &path) const;

    vx::TemporaryFolder folder;
    RecordingDelegate *delegate = nil;
    Z5FileManager *engine = nil;

private:
    ThreadEnds *_ends = nil;
};
