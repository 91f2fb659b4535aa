// Progress bars: a rounded track of fixed thickness, centred in the view, filled in the accent
// colour.
#import "ThemePalette.h"
#import "ThemeShapes.h"
#import "VXTheme.h"

#include <algorithm>
#include <cmath>

namespace palette = vx::palette;
namespace shapes = vx::shapes;

namespace {

constexpr CGFloat kThickness = 8;

NSRect trackRect(NSRect bounds)
{
    const CGFloat height = std::min(kThickness, bounds.size.height);
    return NSMakeRect(bounds.origin.x,
                      bounds.origin.y + std::floor((bounds.size.height - height) / 2),
                      bounds.size.width, height);
}

// A quarter of the track that wanders from end to end in twenty steps.
NSRect wanderingRect(NSRect track, int step)
{
    const CGFloat width = track.size.width / 4;
    const int phase = step % 40;
    const CGFloat way = (phase < 20 ? phase : 40 - phase) / 20.0;
    return NSMakeRect(track.origin.x + (track.size.width - width) * way, track.origin.y, width,
                      track.size.height);
}

}  // namespace

@implementation VXTheme (Progress)

- (void)drawProgressIndicator:(NSProgressIndicator *)progress
                   withBounds:(NSRect)bounds
                     withClip:(NSRect)rect
                      atCount:(int)count
                     forValue:(double)value
{
    if ([progress style] == NSProgressIndicatorSpinningStyle || [progress isVertical]) {
        [super drawProgressIndicator:progress
                          withBounds:bounds
                            withClip:rect
                             atCount:count
                            forValue:value];
        return;
    }
    const NSRect track = trackRect(bounds);
    shapes::pill(track, palette::track());
    if ([progress isIndeterminate])
        return shapes::pill(wanderingRect(track, count), palette::accent());
    if (value <= 0)
        return;
    NSRect filled = track;
    // Never narrower than a full circle, so that the first percent is round as well.
    filled.size.width = std::max(track.size.width * std::min(value, 1.0), track.size.height);
    shapes::pill(filled, palette::accent());
}

@end
