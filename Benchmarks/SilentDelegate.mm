#import "SilentDelegate.h"

@implementation SilentDelegate

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
    [super dealloc];
}

- (void)threadWillExit:(NSNotification *)notification
{
    (void)notification;
    [_condition lock];
    _ended = YES;
    [_condition signal];
    [_condition unlock];
}

- (void)waitForTheEnd
{
    [_condition lock];
    while (!_ended)
        [_condition wait];
    [_condition unlock];
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
