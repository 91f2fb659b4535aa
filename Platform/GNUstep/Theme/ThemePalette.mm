#import "ThemePalette.h"

#include "../LookSettings.h"
#include "ThreadChecks.h"

namespace vx::palette {

bool isDark()
{
    AssertMainThread();
    static const bool dark =
        [[NSUserDefaults standardUserDefaults] boolForKey:kDarkColorsKey] != NO;
    return dark;
}

namespace {

NSColor *rgb(int red, int green, int blue)
{
    AssertMainThread();
    return [NSColor colorWithCalibratedRed:red / 255.0
                                     green:green / 255.0
                                      blue:blue / 255.0
                                     alpha:1.0];
}

NSColor *ofBoth(NSColor *light, NSColor *dark)
{
    return isDark() ? dark : light;
}

struct SystemColor {
    NSString *name;
    NSColor *(*color)();
};

// A name that is not here keeps the library's default.
const SystemColor kSystemColors[] = {
    {@"alternateSelectedControlColor", accent},
    {@"alternateSelectedControlTextColor", content},
    {@"controlBackgroundColor", content},
    {@"controlColor", content},
    {@"controlDarkShadowColor", border},
    {@"controlHighlightColor", separator},
    {@"controlLightHighlightColor", content},
    {@"controlShadowColor", border},
    {@"controlTextColor", text},
    {@"disabledControlTextColor", disabledText},
    {@"gridColor", separator},
    {@"headerColor", windowBackground},
    {@"headerTextColor", text},
    {@"highlightColor", content},
    {@"keyboardFocusIndicatorColor", accent},
    {@"knobColor", knob},
    {@"labelColor", text},
    {@"secondaryLabelColor", dimmedText},
    {@"tertiaryLabelColor", disabledText},
    {@"quaternaryLabelColor", disabledText},
    {@"scrollBarColor", content},
    {@"secondarySelectedControlColor", pressed},
    {@"selectedControlColor", selection},
    {@"selectedControlTextColor", text},
    {@"selectedKnobColor", activeKnob},
    {@"selectedMenuItemColor", selection},
    {@"selectedMenuItemTextColor", text},
    {@"selectedTextBackgroundColor", selection},
    {@"selectedTextColor", text},
    {@"shadowColor", border},
    {@"textBackgroundColor", content},
    {@"textColor", text},
    {@"windowBackgroundColor", windowBackground},
    {@"windowFrameColor", windowBackground},
    {@"windowFrameTextColor", dimmedText},
    {@"rowBackgroundColor", content},
    {@"alternateRowBackgroundColor", alternateRow},
    {@"toolTipColor", content},
    {@"toolTipTextColor", text},
};

}  // namespace

NSColor *windowBackground()
{
    return ofBoth(rgb(246, 246, 247), rgb(42, 43, 46));
}
NSColor *content()
{
    return ofBoth(rgb(255, 255, 255), rgb(30, 31, 33));
}
NSColor *alternateRow()
{
    return ofBoth(rgb(244, 246, 249), rgb(36, 37, 40));
}
NSColor *text()
{
    return ofBoth(rgb(31, 33, 36), rgb(230, 232, 235));
}
NSColor *dimmedText()
{
    return ofBoth(rgb(92, 97, 104), rgb(168, 173, 180));
}
NSColor *disabledText()
{
    return ofBoth(rgb(163, 167, 173), rgb(128, 133, 141));
}
NSColor *border()
{
    return ofBoth(rgb(198, 201, 206), rgb(84, 88, 95));
}
NSColor *separator()
{
    return ofBoth(rgb(225, 227, 231), rgb(60, 62, 67));
}
NSColor *selection()
{
    return ofBoth(rgb(205, 227, 252), rgb(36, 73, 118));
}
NSColor *accent()
{
    return ofBoth(rgb(47, 123, 229), rgb(95, 158, 248));
}
NSColor *pressed()
{
    return ofBoth(rgb(229, 231, 235), rgb(64, 67, 73));
}
NSColor *track()
{
    return ofBoth(rgb(226, 228, 232), rgb(72, 75, 81));
}
NSColor *knob()
{
    return ofBoth(rgb(194, 198, 204), rgb(92, 96, 103));
}
NSColor *activeKnob()
{
    return ofBoth(rgb(154, 159, 167), rgb(132, 137, 145));
}

NSColor *defaultButton()
{
    return ofBoth(rgb(236, 244, 255), rgb(33, 48, 70));
}

NSColorList *newSystemColorList()
{
    NSColorList *list = [[NSColorList alloc] initWithName:@"System"];
    for (const SystemColor &entry : kSystemColors)
        [list setColor:entry.color() forKey:entry.name];
    return list;
}

}  // namespace vx::palette
