// The workspace's notifications go round this program alone, without a daemon.
#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

@interface NoticeRecorder : NSObject {
@public
    NSMutableArray *_seen;
}
- (void)record:(NSNotification *)notification;
@end

@implementation NoticeRecorder

- (id)init
{
    self = [super init];
    if (self != nil)
        _seen = [[NSMutableArray alloc] init];
    return self;
}

- (void)dealloc
{
    [_seen release];
    [super dealloc];
}

- (void)record:(NSNotification *)notification
{
    [_seen addObject:notification];
}

@end

// By way of the daemon it would come with a later turn of the run loop, if at all.
TEST(WorkspaceNotices, ANotificationReachesTheProgramsObserversAtOnce)
{
    @autoreleasepool {
        NSNotificationCenter *center = [[NSWorkspace sharedWorkspace] notificationCenter];
        NoticeRecorder *recorder = [[[NoticeRecorder alloc] init] autorelease];
        [center addObserver:recorder
                   selector:@selector(record:)
                       name:@"SomethingHappened"
                     object:nil];
        [center postNotificationName:@"SomethingHappened"
                              object:nil
                            userInfo:[NSDictionary dictionaryWithObject:@"disk" forKey:@"what"]];
        [center removeObserver:recorder];

        ASSERT_EQ([recorder->_seen count], 1U);
        NSNotification *seen = [recorder->_seen objectAtIndex:0];
        EXPECT_TRUE([[[seen userInfo] objectForKey:@"what"] isEqual:@"disk"]);
    }
}
