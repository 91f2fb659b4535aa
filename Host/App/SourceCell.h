// The cell of a row in the list of what can be opened: an icon, a name and a smaller line below it.
// A heading is one bold line.
//
// Ownership: keeps its icon. Threads: main thread only.
#pragma once

#import <AppKit/AppKit.h>

@interface SourceCell : NSTextFieldCell {
    NSImage *_icon;
    NSString *_detail;
    BOOL _isHeading;
    BOOL _isPale;
    CGFloat _indentation;
}

// The name is the cell's string value. detail and icon may be nil.
- (void)setIcon:(NSImage *)icon detail:(NSString *)detail indentation:(CGFloat)points;
- (void)setHeading:(BOOL)isHeading;
// What it names is not there now.
- (void)setPale:(BOOL)isPale;

@end
