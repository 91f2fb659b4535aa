#include "PacedDisplay.h"

#include "MethodReplacement.h"
#include "ThreadChecks.h"

#import <AppKit/AppKit.h>

#include <chrono>
#include <iterator>
#include <map>

@interface NSWindow (Autodisplay)
- (void)_handleAutodisplay;
@end

// Turns the run loop when a window that has to wait is due; the turn does the rest.
@interface VXDisplayAlarm : NSObject {
    NSString *_mode;  // in which it is set; nil: it is not
}
- (void)setIn:(NSTimeInterval)seconds;
@end

@implementation VXDisplayAlarm

// In the current mode only: in a mode that does not run, expired alarms would pile up. A later mode
// finds its windows still waiting and sets the alarm again.
- (void)setIn:(NSTimeInterval)seconds
{
    NSString *mode = [[NSRunLoop currentRunLoop] currentMode];
    if (mode == nil || [mode isEqualToString:_mode])
        return;
    [NSObject cancelPreviousPerformRequestsWithTarget:self];
    [self forget];
    _mode = [mode copy];
    [self performSelector:@selector(forget) withObject:nil afterDelay:seconds inModes:@[ mode ]];
}

- (void)forget
{
    [_mode release];
    _mode = nil;
}

- (void)dealloc
{
    [_mode release];
    [super dealloc];
}

@end

namespace vx {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::microseconds kInterval(1000000 / 60);

using Autodisplay = void (*)(id, SEL);
Autodisplay libraryAutodisplay = nullptr;

// When the windows were drawn that were drawn within the last interval.
std::map<id, Clock::time_point> &recentlyDrawn()
{
    static std::map<id, Clock::time_point> drawn;
    return drawn;
}

void forgetBefore(Clock::time_point time)
{
    auto &drawn = recentlyDrawn();
    for (auto entry = drawn.begin(); entry != drawn.end();)
        entry = entry->second < time ? drawn.erase(entry) : std::next(entry);
}

void autodisplay(id window, SEL selector)
{
    AssertMainThread();
    static VXDisplayAlarm *alarm = [[VXDisplayAlarm alloc] init];
    if (![window isAutodisplay] || ![window viewsNeedDisplay])
        return;
    const Clock::time_point now = Clock::now();
    forgetBefore(now - kInterval);
    const auto drawn = recentlyDrawn().find(window);
    if (drawn != recentlyDrawn().end()) {
        const Clock::duration rest = drawn->second + kInterval - now;
        [alarm setIn:std::chrono::duration<double>(rest).count()];
        return;
    }
    libraryAutodisplay(window, selector);
    recentlyDrawn()[window] = now;
}

}  // namespace

void installPacedDisplay()
{
    AssertMainThread();
    if (libraryAutodisplay == nullptr)
        libraryAutodisplay = reinterpret_cast<Autodisplay>(replaceMethod(
            [NSWindow class], @selector(_handleAutodisplay), reinterpret_cast<IMP>(autodisplay)));
}

}  // namespace vx
