// The main queue of Grand Central Dispatch, for GNUstep: blocks that run on the main thread, in the
// order in which they were queued, while its run loop runs, in modal sessions and while the mouse
// is tracked as well. Any thread may queue; there is no other queue.
#pragma once

#ifdef __BLOCKS__

#ifdef __cplusplus
extern "C" {
#endif

typedef void (^dispatch_block_t)(void);
typedef const struct dispatch_queue_s *dispatch_queue_t;

dispatch_queue_t dispatch_get_main_queue(void);

// The block is copied now and released after it has run. The queue must be the main queue.
void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);

#ifdef __cplusplus
}
#endif

#endif
