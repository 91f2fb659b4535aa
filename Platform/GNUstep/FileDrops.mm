#include "FileDrops.h"

#import <AppKit/AppKit.h>
#import <GNUstepGUI/GSDisplayServer.h>

#include "DropReceiver.h"
#include "ThreadChecks.h"

#include <cstdint>
#include <set>

// The files of a drag, without the desktop's service for pasteboards, which would take the drag
// away from its source.
@interface VXDroppedFiles : NSPasteboard {
    NSArray *_paths;
}
- (id)initWithPaths:(NSArray *)paths;
@end

@implementation VXDroppedFiles

- (id)initWithPaths:(NSArray *)paths
{
    self = [super init];
    if (self != nil)
        _paths = [paths retain];
    return self;
}

- (void)dealloc
{
    [_paths release];
    [super dealloc];
}

- (NSArray *)types
{
    return [NSArray arrayWithObject:NSFilenamesPboardType];
}

- (NSString *)availableTypeFromArray:(NSArray *)types
{
    return [types containsObject:NSFilenamesPboardType] ? NSFilenamesPboardType : nil;
}

- (id)propertyListForType:(NSString *)type
{
    return [type isEqualToString:NSFilenamesPboardType] ? _paths : nil;
}

@end

// A drag over a window, as its content view asks about it.
@interface VXFileDrag : NSObject <NSDraggingInfo> {
    NSWindow *_window;
    NSPoint _location;
    NSPasteboard *_pasteboard;
}
- (id)initInWindow:(NSWindow *)window at:(NSPoint)location paths:(NSArray *)paths;
@end

@implementation VXFileDrag

- (id)initInWindow:(NSWindow *)window at:(NSPoint)location paths:(NSArray *)paths
{
    self = [super init];
    if (self == nil)
        return nil;
    _window = window;
    _location = location;
    _pasteboard = [[VXDroppedFiles alloc] initWithPaths:paths];
    return self;
}

- (void)dealloc
{
    [_pasteboard release];
    [super dealloc];
}

- (NSWindow *)draggingDestinationWindow
{
    return _window;
}

- (NSPoint)draggingLocation
{
    return _location;
}

- (NSPasteboard *)draggingPasteboard
{
    return _pasteboard;
}

- (NSInteger)draggingSequenceNumber
{
    return 0;
}

- (id)draggingSource
{
    return nil;
}

- (NSDragOperation)draggingSourceOperationMask
{
    return NSDragOperationCopy;
}

- (NSImage *)draggedImage
{
    return nil;
}

- (NSPoint)draggedImageLocation
{
    return _location;
}

- (void)slideDraggedImageTo:(NSPoint)point
{
}

- (NSArray *)namesOfPromisedFilesDroppedAtDestination:(NSURL *)destination
{
    return nil;
}

@end

namespace vx {
namespace {

id storedPath(const std::string &path)
{
    NSString *text = [NSString stringWithUTF8String:path.c_str()];
    if (text != nil)
        return text;
    return [NSData dataWithBytes:path.data() length:path.size()];
}

uint32_t numberAtServer(NSWindow *window)
{
    const int number = static_cast<int>([window windowNumber]);
    void *device = [GSServerForWindow(window) windowDevice:number];
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(device));
}

BOOL takesFiles(NSWindow *window)
{
    return [[[window contentView] registeredDraggedTypes] containsObject:NSFilenamesPboardType];
}

NSWindow *windowOfNumber(uint32_t number)
{
    for (NSWindow *window in [NSApp windows]) {
        if ([window isVisible] && numberAtServer(window) == number)
            return window;
    }
    return nil;
}

VXFileDrag *dragOver(NSWindow *window, int x, int y, const std::vector<std::string> &paths)
{
    NSMutableArray *names = [NSMutableArray array];
    for (const std::string &path : paths)
        [names addObject:storedPath(path)];
    const NSPoint onScreen = NSMakePoint(x, NSMaxY([[window screen] frame]) - y);
    return [[[VXFileDrag alloc] initInWindow:window
                                          at:[window convertScreenToBase:onScreen]
                                       paths:names] autorelease];
}

// A modal session leaves the other windows alone.
NSWindow *openWindow(uint32_t number)
{
    NSWindow *window = windowOfNumber(number);
    return [NSApp modalWindow] == nil && takesFiles(window) ? window : nil;
}

class ContentViews : public DropTarget {
public:
    bool wouldTake(uint32_t number, int x, int y, const std::vector<std::string> &paths) override
    {
        NSWindow *window = openWindow(number);
        if (window == nil)
            return false;
        return [[window contentView] draggingEntered:dragOver(window, x, y, paths)] !=
               NSDragOperationNone;
    }
    bool take(uint32_t number, int x, int y, const std::vector<std::string> &paths) override
    {
        NSWindow *window = openWindow(number);
        if (window == nil)
            return false;
        NSView *view = [window contentView];
        VXFileDrag *drag = dragOver(window, x, y, paths);
        return [view prepareForDragOperation:drag] && [view performDragOperation:drag];
    }
};

}  // namespace
}  // namespace vx

// Serves the receiver from the application's loop.
@interface VXFileDrops : NSObject <RunLoopEvents> {
    vx::ContentViews *_views;
    vx::DropReceiver *_receiver;
    std::set<uint32_t> *_adopted;  // windows, by their numbers at the server
}
- (void)listen;
@end

@implementation VXFileDrops

- (id)init
{
    self = [super init];
    if (self == nil)
        return nil;
    _views = new vx::ContentViews;
    _receiver = new vx::DropReceiver(*_views);
    _adopted = new std::set<uint32_t>;
    return self;
}

- (void)dealloc
{
    delete _adopted;
    delete _receiver;
    delete _views;
    [super dealloc];
}

- (void)listen
{
    const int descriptor = _receiver->descriptor();
    if (descriptor < 0)
        return;
    for (NSString *mode in
         @[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode ])
        [[NSRunLoop currentRunLoop] addEvent:reinterpret_cast<void *>(intptr_t(descriptor))
                                        type:ET_RDESC
                                     watcher:self
                                     forMode:mode];
    for (NSString *name in @[ NSWindowDidBecomeKeyNotification, NSWindowDidUpdateNotification ])
        [[NSNotificationCenter defaultCenter] addObserver:self
                                                 selector:@selector(adopt:)
                                                     name:name
                                                   object:nil];
}

// The library sends a new window to the server at some later time.
- (void)adopt:(NSNotification *)notification
{
    AssertMainThread();
    NSWindow *window = [notification object];
    if (![window isVisible] || !vx::takesFiles(window))
        return;
    const uint32_t number = vx::numberAtServer(window);
    if (_adopted->count(number) == 0 && _receiver->adopt(number))
        _adopted->insert(number);
}

- (void)receivedEvent:(void *)data
                 type:(RunLoopEventType)type
                extra:(void *)extra
              forMode:(NSString *)mode
{
    AssertMainThread();
    _receiver->serve();
}

@end

namespace vx {

void installFileDrops()
{
    AssertMainThread();
    static VXFileDrops *drops = nil;
    if (drops != nil)
        return;
    drops = [[VXFileDrops alloc] init];
    [drops listen];
}

}  // namespace vx
