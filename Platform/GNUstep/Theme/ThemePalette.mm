#import "ThemePalette.h"

#include "ThreadChecks.h"

namespace vx::palette {
namespace {

NSColor *rgb(int red, int green, int blue)
{
    AssertMainThread();
    return [NSColor colorWithCalibratedRed:red / 255.0
                                     green:green / 255.0
                                      blue:blue / 255.0
                                     alpha:1.0];
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
    return rgb(246, 246, 247);
}
NSColor *content()
{
    return rgb(255, 255, 255);
}
NSColor *alternateRow()
{
    return rgb(244, 246, 249);
}
NSColor *text()
{
    return rgb(31, 33, 36);
}
NSColor *dimmedText()
{
    return rgb(92, 97, 104);
}
NSColor *disabledText()
{
    return rgb(163, 167, 173);
}
NSColor *border()
{
    return rgb(198, 201, 206);
}
NSColor *separator()
{
    return rgb(225, 227, 231);
}
NSColor *selection()
{
    return rgb(205, 227, 252);
}
NSColor *accent()
{
    return rgb(47, 123, 229);
}
NSColor *pressed()
{
    return rgb(229, 231, 235);
}
NSColor *track()
{
    return rgb(226, 228, 232);
}
NSColor *knob()
{
    return rgb(194, 198, 204);
}
NSColor *activeKnob()
{
    return rgb(154, 159, 167);
}

NSColorList *newSystemColorList()
{
    NSColorList *list = [[NSColorList alloc] initWithName:@"System"];
    for (const SystemColor &entry : kSystemColors)
        [list setColor:entry.color() forKey:entry.name];
    return list;
}

}  // namespace vx::palette
