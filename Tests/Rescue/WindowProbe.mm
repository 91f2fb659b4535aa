// rescue-probe VOLUME KIND SECRET DESTINATION
//
// Exports a whole volume as the window does it: the same engine, a sink that says nothing, no look
// at what arrived. Exit status: 0 when the engine has ended, 3 when the volume did not open.
#import <Foundation/Foundation.h>

#import "CBitlockerWrapper.h"
#include "FileSizeLimit.h"
#include "ThreadChecks.h"
#import "Z5FileExplorerWapper.h"
#import "Z5FileManager.h"

#include <cstdio>
#include <future>

@interface ProbeSink : NSObject <ExportingUIDelegate> {
    std::promise<void> _ended;
    NSThread *_worker;
    int32_t _state;
}
// Returns when the worker has ended.
- (void)awaitEnd;
@end

@implementation ProbeSink

- (id)init
{
    self = [super init];
    if (self == nil)
        return nil;
    _state = kExportStateRunning;
    [[NSNotificationCenter defaultCenter] addObserver:self
                                             selector:@selector(threadWillExit:)
                                                 name:NSThreadWillExitNotification
                                               object:nil];
    return self;
}

- (void)threadWillExit:(NSNotification *)notification
{
    if (![NSThread isMainThread] && [notification object] == _worker)
        _ended.set_value();
}

- (void)awaitEnd
{
    _ended.get_future().wait();
}

- (void)UpdateProgress:(NSNumber *)percent
{
}

- (void)UpdateInformation:(NSString *)path
{
}

- (void)UpdateTotalSize:(NSNumber *)total
{
}

- (BOOL)Continued
{
    _worker = [NSThread currentThread];
    return YES;
}

- (int32_t)GetState
{
    return _state;
}

- (void)SetState:(int32_t)state
{
    _state = state;
}

@end

namespace {

constexpr int kNotOpened = 3;

int Export(IVolume *volume, NSString *destination)
{
    Z5FileExplorerWapper *explorer =
        [[[Z5FileExplorerWapper alloc] initWithVolumeObject:volume] autorelease];
    if (explorer == nil)
        return kNotOpened;
    Z5FileManager *engine = [[[Z5FileManager alloc] initWithSourceFiles:[explorer rootDirectory]
                                                            andExplorer:explorer] autorelease];
    ProbeSink *sink = [[[ProbeSink alloc] init] autorelease];
    if (engine == nil || ![engine copyTo:destination withDelegate:sink])
        return 0;
    [sink awaitEnd];
    return 0;
}

}  // namespace

int main(int argc, char **argv)
{
    vx::CheckThreads();
    if (argc != 5)
        return 2;
    vx::FailWritesBeyondFileSizeLimit();
    @autoreleasepool {
        CBitlockerWrapper wrapper;
        IVolume *volume = nullptr;
        int32_t status = -1;
        if (!wrapper.openBitlockerDevice(argv[1], argv[2], argv[3], &volume, &status) ||
            status != 0)
            return kNotOpened;
        return Export(volume, [NSString stringWithUTF8String:argv[4]]);
    }
}
