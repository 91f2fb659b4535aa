#import "SilentDelegate.h"

@implementation SilentDelegate

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

- (void)UpdateProgress:(NSNumber *)percent
{
    (void)percent;
}

- (void)UpdateInformation:(NSString *)path
{
    (void)path;
}

- (void)UpdateTotalSize:(NSNumber *)total
{
    (void)total;
}

- (BOOL)Continued
{
    [_workerEnd noteWorker];
    return YES;
}

- (int32_t)GetState
{
    return kExportStateRunning;
}

- (void)SetState:(int32_t)state
{
    (void)state;
}

@end
