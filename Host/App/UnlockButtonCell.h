// The cell of the window's main button: paler while the button can do nothing.
//
// Threads: main thread only.
#pragma once

#import "ColorButtonCell.h"

@interface UnlockButtonCell : ColorButtonCell
@end
