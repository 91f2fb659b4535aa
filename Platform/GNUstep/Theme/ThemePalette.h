// The theme's colours, each named once. Every drawing of the theme takes its colours from here, and
// so do the system colours that the library's own classes ask for. Ownership: colours are
// autoreleased. Main thread only.
#pragma once

#import <AppKit/AppKit.h>

namespace vx::palette {

// Whether the colours are the dark ones. Settled by the first call: what is drawn already would
// keep its colours.
bool isDark();

NSColor *windowBackground();
NSColor *content();
NSColor *alternateRow();
NSColor *text();
NSColor *dimmedText();
NSColor *disabledText();
NSColor *border();
NSColor *separator();
NSColor *selection();
NSColor *accent();
NSColor *defaultButton();
NSColor *pressed();
NSColor *track();
NSColor *knob();
NSColor *activeKnob();

// The complete list of system colours; its name is "System", as the library expects. Owned by the
// caller.
NSColorList *newSystemColorList();

}  // namespace vx::palette
