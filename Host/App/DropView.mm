#import "DropView.h"

#include "ThreadChecks.h"

namespace {

NSString *DroppedPath(id<NSDraggingInfo> drag)
{
    NSArray *paths = [[drag draggingPasteboard] propertyListForType:NSFilenamesPboardType];
    return [paths isKindOfClass:[NSArray class]] && [paths count] > 0 ? [paths objectAtIndex:0]
                                                                      : nil;
}

}  // namespace

@implementation DropView

- (void)setTarget:(id)target action:(SEL)action
{
    AssertMainThread();
    _target = target;
    _action = action;
    [self registerForDraggedTypes:[NSArray arrayWithObject:NSFilenamesPboardType]];
}

- (NSDragOperation)draggingEntered:(id<NSDraggingInfo>)drag
{
    AssertMainThread();
    return DroppedPath(drag) == nil ? NSDragOperationNone : NSDragOperationCopy;
}

- (NSDragOperation)draggingUpdated:(id<NSDraggingInfo>)drag
{
    return [self draggingEntered:drag];
}

- (BOOL)prepareForDragOperation:(id<NSDraggingInfo>)drag
{
    return DroppedPath(drag) != nil;
}

- (BOOL)performDragOperation:(id<NSDraggingInfo>)drag
{
    AssertMainThread();
    NSString *path = DroppedPath(drag);
    if (path == nil)
        return NO;
    [NSApp sendAction:_action to:_target from:path];
    return YES;
}

@end
