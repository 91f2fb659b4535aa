#import "ExportWorkerEnd.h"

#include "Completion.h"
#include "ThreadChecks.h"

@implementation ExportWorkerEnd

- (id)init
{
    self = [super init];
    if (self == nil)
        return nil;
    _ended = new vx::Completion;
    [[NSNotificationCenter defaultCenter] addObserver:self
                                             selector:@selector(threadWillExit:)
                                                 name:NSThreadWillExitNotification
                                               object:nil];
    return self;
}

- (void)dealloc
{
    [[NSNotificationCenter defaultCenter] removeObserver:self];
    delete _ended;
    [_worker release];
    [super dealloc];
}

- (void)noteWorker
{
    AssertWorkerThread();
    if (_worker == nil)
        _worker = [[NSThread currentThread] retain];
}

// On any thread that exits; only the worker itself reads what it wrote.
- (void)threadWillExit:(NSNotification *)notification
{
    if ([NSThread isMainThread] || [notification object] != _worker)
        return;
    _ended->Complete();
}

- (void)wait
{
    AssertMainThread();
    _ended->Wait();
}

@end
