#import "ExportWorkerEnd.h"

@implementation ExportWorkerEnd

- (id)init
{
    self = [super init];
    if (self == nil)
        return nil;
    _condition = [[NSCondition alloc] init];
    [[NSNotificationCenter defaultCenter] addObserver:self
                                             selector:@selector(threadWillExit:)
                                                 name:NSThreadWillExitNotification
                                               object:nil];
    return self;
}

- (void)dealloc
{
    [[NSNotificationCenter defaultCenter] removeObserver:self];
    [_condition release];
    [_worker release];
    [super dealloc];
}

- (void)noteWorker
{
    if (_worker == nil)
        _worker = [[NSThread currentThread] retain];
}

// On any thread that exits; only the worker itself reads what it wrote.
- (void)threadWillExit:(NSNotification *)notification
{
    if ([NSThread isMainThread] || [notification object] != _worker)
        return;
    [_condition lock];
    _hasEnded = YES;
    [_condition signal];
    [_condition unlock];
}

- (void)wait
{
    [_condition lock];
    while (!_hasEnded)
        [_condition wait];
    [_condition unlock];
}

@end
