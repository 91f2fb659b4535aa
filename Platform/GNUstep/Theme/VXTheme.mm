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
    [_darkInformation release];
    [super dealloc];
}

// By the library's names: "dark_X" takes the place of "common_X", and of what the library has
// renamed since.
- (NSDictionary *)darkImages
{
    NSString *const mark = @"dark_";
    NSDictionary *renamed =
        [NSDictionary dictionaryWithObjectsAndKeys:@"GSSwitch", @"SwitchOff", @"GSRadio",
                                                   @"RadioOff", @"GSMenuArrow", @"3DArrowRight",
                                                   @"GSMenuSelected", @"2DCheckMark", nil];
    NSMutableDictionary *images = [NSMutableDictionary dictionary];
    for (NSString *path in [[self bundle] pathsForResourcesOfType:@"png"
                                                      inDirectory:@"ThemeImages"]) {
        NSString *file = [[path lastPathComponent] stringByDeletingPathExtension];
        if (![file hasPrefix:mark])
            continue;
        NSString *name = [file substringFromIndex:[mark length]];
        [images setObject:file forKey:[@"common_" stringByAppendingString:name]];
        if ([renamed objectForKey:name] != nil)
            [images setObject:file forKey:[renamed objectForKey:name]];
    }
    return images;
}

- (NSDictionary *)infoDictionary
{
    NSDictionary *information = [super infoDictionary];
    if (!palette::isDark())
        return information;
    if (_darkInformation == nil) {
        NSString *const key = @"GSThemeImages";
        NSMutableDictionary *all = [[information mutableCopy] autorelease];
        NSMutableDictionary *images = [[[information objectForKey:key] mutableCopy] autorelease];
        [images addEntriesFromDictionary:[self darkImages]];
        [all setObject:images forKey:key];
        _darkInformation = [all retain];
    }
    return _darkInformation;
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
