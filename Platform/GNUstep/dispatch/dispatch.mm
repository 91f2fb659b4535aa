#include "dispatch.h"

#import <AppKit/AppKit.h>
#include <Block.h>
#include <cassert>

struct dispatch_queue_s {};

namespace {

const dispatch_queue_s kMainQueue;

}  // namespace

// A block is no object to this runtime, so it travels to the main thread inside one.
@interface VXQueuedBlock : NSObject {
    dispatch_block_t _block;
}
- (id)initWithBlock:(dispatch_block_t)block;
- (void)run;
@end

@implementation VXQueuedBlock

- (id)initWithBlock:(dispatch_block_t)block
{
    self = [super init];
    if (self != nil)
        _block = Block_copy(block);
    return self;
}

- (void)dealloc
{
    Block_release(_block);
    [super dealloc];
}

- (void)run
{
    _block();
}

@end

dispatch_queue_t dispatch_get_main_queue(void)
{
    return &kMainQueue;
}

void dispatch_async(dispatch_queue_t queue, dispatch_block_t block)
{
    assert(queue == &kMainQueue);
    (void)queue;
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    VXQueuedBlock *queued = [[VXQueuedBlock alloc] initWithBlock:block];
    NSArray *modes = [NSArray arrayWithObjects:NSDefaultRunLoopMode, NSModalPanelRunLoopMode,
                                               NSEventTrackingRunLoopMode, nil];
    // A main thread that has no run loop yet would run the performer at once; asking makes the
    // loop.
    if ([NSThread isMainThread])
        [NSRunLoop currentRunLoop];
    [queued performSelectorOnMainThread:@selector(run) withObject:nil waitUntilDone:NO modes:modes];
    [queued release];
    [pool release];
}
