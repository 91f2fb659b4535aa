#import "ExportProgressDelegate.h"

#include "Arrivals.h"
#import "EntryText.h"
#import "ExportProgress.h"
#include "ProgressLine.h"
#include "StopRequest.h"
#include "ThreadChecks.h"

#include <algorithm>

@implementation ExportProgressDelegate

- (id)initWithArrivals:(vx::Arrivals *)arrivals line:(vx::ProgressLine *)line
{
    self = [super init];
    if (self == nil)
        return nil;
    _arrivals = arrivals;
    _line = line;
    _workerEnd = [[ExportWorkerEnd alloc] init];
    _state = kExportStateRunning;
    return self;
}

- (void)dealloc
{
    [_workerEnd release];
    [super dealloc];
}

- (void)waitForWorker
{
    [_workerEnd wait];
}

- (BOOL)wasStopped
{
    return _wasStopped;
}

- (BOOL)makeFolderFor:(Z5FindData *)entry
{
    AssertWorkerThread();
    _current = entry;
    return _arrivals->MakeFolder(entry);
}

- (FILE *)openFileFor:(Z5FindData *)entry
{
    AssertWorkerThread();
    return _arrivals->Open(entry);
}

- (void)entry:(Z5FindData *)entry endedWith:(const ExportOutcome &)outcome
{
    AssertWorkerThread();
    _doneBytes = AddSizes(_doneBytes, _fileBytes);
    _fileBytes = 0;
    _arrivals->End(entry, outcome);
}

- (void)UpdateInformation:(NSString *)path
{
    AssertWorkerThread();
    [self show];
}

// Called after each chunk. The percent is too coarse for a large export, so bytes are counted.
- (void)UpdateProgress:(NSNumber *)percent
{
    AssertWorkerThread();
    _fileBytes = std::min([_current nFileSize], AddSizes(_fileBytes, kExportChunkSize));
    [self show];
}

- (void)UpdateTotalSize:(NSNumber *)total
{
}

- (BOOL)Continued
{
    AssertWorkerThread();
    [_workerEnd noteWorker];
    if (vx::StopRequest::Signal() == 0 && !_arrivals->MustStop())
        return YES;
    _wasStopped = YES;
    return NO;
}

- (int32_t)GetState
{
    return __atomic_load_n(&_state, __ATOMIC_RELAXED);
}

- (void)SetState:(int32_t)state
{
    __atomic_store_n(&_state, state, __ATOMIC_RELAXED);
}

- (void)show
{
    const auto now = vx::ProgressLine::Clock::now();
    // Making a path costs more than a line that is not due.
    if (_line->IsDue(now))
        _line->Show(AddSizes(_doneBytes, _fileBytes), vx::ShownPathOf(_current), now);
}

@end
