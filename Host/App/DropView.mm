#import "DropView.h"

#include "ThreadChecks.h"

namespace {

// nil: no files.
NSArray *DroppedPaths(id<NSDraggingInfo> drag)
{
    NSArray *paths = [[drag draggingPasteboard] propertyListForType:NSFilenamesPboardType];
    return [paths isKindOfClass:[NSArray class]] && [paths count] > 0 ? paths : nil;
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

- (void)setClosed:(BOOL)isClosed
{
    AssertMainThread();
    _isClosed = isClosed;
}

- (NSDragOperation)draggingEntered:(id<NSDraggingInfo>)drag
{
    AssertMainThread();
    return [self prepareForDragOperation:drag] ? NSDragOperationCopy : NSDragOperationNone;
}

- (NSDragOperation)draggingUpdated:(id<NSDraggingInfo>)drag
{
    return [self draggingEntered:drag];
}

- (BOOL)prepareForDragOperation:(id<NSDraggingInfo>)drag
{
    return !_isClosed && DroppedPaths(drag) != nil;
}

- (BOOL)performDragOperation:(id<NSDraggingInfo>)drag
{
    AssertMainThread();
    return [NSApp sendAction:_action to:_target from:DroppedPaths(drag)];
}

@end
