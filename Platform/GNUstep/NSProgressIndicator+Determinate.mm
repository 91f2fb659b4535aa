// A determinate bar is on view whether it is animated or not, as on macOS. The library hides a bar
// from an interface file until it is animated, which a determinate one never is. A category takes
// the place of the library's method. Main thread.
#import <AppKit/AppKit.h>

@implementation NSProgressIndicator (Determinate)

- (BOOL)isHidden
{
    const BOOL determinate = !_isIndeterminate && _style == NSProgressIndicatorBarStyle;
    if (!determinate && !_isRunning && !_isDisplayedWhenStopped)
        return YES;
    return [super isHidden];
}

@end
