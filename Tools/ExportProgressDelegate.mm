#import "ExportProgressDelegate.h"

#import "EntryText.h"
#import "ExportProgress.h"
#include "ProgressLine.h"
#include "StopRequest.h"
#import "Z5FileExplorerWapper.h"

#include <algorithm>

namespace {

// Bytes that the engine copies between two reports.
constexpr int64_t kChunkSize = 4194304;

}  // namespace

@implementation ExportProgressDelegate

- (id)initWithPlan:(NSArray *)plan line:(vx::ProgressLine *)line
{
    self = [super init];
    if (self == nil)
        return nil;
    _plan = [plan retain];
    _line = line;
    _workerEnd = [[ExportWorkerEnd alloc] init];
    _state = kExportStateRunning;
    return self;
}

- (void)dealloc
{
    [_workerEnd release];
    [_plan release];
    [super dealloc];
}

- (void)waitForWorker
{
    [_workerEnd wait];
}

- (NSUInteger)reachedCount
{
    return _next;
}

- (BOOL)wasStopped
{
    return _wasStopped;
}

- (void)UpdateInformation:(NSString *)path
{
    _doneBytes = AddSizes(_doneBytes, _fileBytes);
    _fileBytes = 0;
    // Files that the engine skipped were not announced.
    while (_next < [_plan count] && ![self isNext:path])
        ++_next;
    ++_next;
    [self show];
}

- (BOOL)isNext:(NSString *)path
{
    NSString *next = [Z5FileExplorerWapper fullPath:[_plan objectAtIndex:_next] withfilter:nil];
    return [next isEqualToString:path];
}

// Called after each chunk. The percent is too coarse for a large export, so bytes are counted.
- (void)UpdateProgress:(NSNumber *)percent
{
    const int64_t size = [[self current] nFileSize];
    _fileBytes = std::min(size, AddSizes(_fileBytes, kChunkSize));
    [self show];
}

- (void)UpdateTotalSize:(NSNumber *)total
{
}

- (BOOL)Continued
{
    [_workerEnd noteWorker];
    if (vx::StopRequest::Signal() == 0)
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

- (Z5FindData *)current
{
    return _next == 0 || _next > [_plan count] ? nil : [_plan objectAtIndex:_next - 1];
}

- (void)show
{
    const auto now = vx::ProgressLine::Clock::now();
    // Paths are not made for lines that nobody sees.
    if (_line->IsDue(now))
        _line->Show(AddSizes(_doneBytes, _fileBytes), vx::ShownPathOf([self current]), now);
}

@end
