#import "WatchedProgress.h"

@implementation WatchedProgress

- (id)init
{
    self = [super init];
    if (self != nil)
        _workerEnd = [[ExportWorkerEnd alloc] init];
    return self;
}

- (void)dealloc
{
    [_workerEnd release];
    [super dealloc];
}

- (void)waitForTheEnd
{
    [_workerEnd wait];
}

- (BOOL)Continued
{
    [_workerEnd noteWorker];
    return [super Continued];
}

@end
