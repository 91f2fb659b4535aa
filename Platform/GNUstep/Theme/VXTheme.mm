#import "VXTheme.h"

#import "ThemePalette.h"
#include "ThreadChecks.h"

namespace palette = vx::palette;

@implementation VXTheme

- (id)initWithBundle:(NSBundle *)bundle
{
    vx::CheckThreads();
    return [super initWithBundle:bundle];
}

- (void)dealloc
{
    [_systemColors release];
    [super dealloc];
}

- (NSColorList *)colors
{
    AssertMainThread();
    if (_systemColors == nil)
        _systemColors = palette::newSystemColorList();
    return _systemColors;
}

// Names outside the system list, which the library's own drawing looks up.
- (NSColor *)colorNamed:(NSString *)name state:(GSThemeControlState)state
{
    AssertMainThread();
    if ([name isEqualToString:@"highlightedTableRowBackgroundColor"])
        return palette::selection();
    if ([name isEqualToString:@"highlightedTableRowTextColor"])
        return palette::text();
    if ([name isEqualToString:@"tableHeaderTextColor"])
        return palette::dimmedText();
    if ([name isEqualToString:@"browserHeaderTextColor"])
        return palette::dimmedText();
    if ([name isEqualToString:@"menuBorderColor"])
        return palette::border();
    if ([name isEqualToString:@"menuSeparatorColor"])
        return palette::separator();
    if ([name isEqualToString:@"windowBorderColor"])
        return palette::border();
    return [super colorNamed:name state:state];
}

@end
