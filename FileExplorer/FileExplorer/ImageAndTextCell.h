// A text cell with an icon to the left of its text.
//
// Drawing reserves a strip of 19 points and draws the icon at 16 by 16 whatever its own size;
// editing, selecting and the cell's size use the image's own width plus 3. The two agree for
// icons 16 points wide. Without an image the cell draws as a plain text field cell.
// Ownership: keeps its image; a copy of the cell shares the image object.
// Threads: main thread only. Units: points.
#pragma once

#import <AppKit/AppKit.h>

@interface ImageAndTextCell : NSTextFieldCell {
    NSImage *image;
}

- (void)setImage:(NSImage *)newImage;
- (NSImage *)image;

// Where an image of its own size lies within a cell: 3 points in, centred vertically. The zero
// rectangle without an image.
- (NSRect)imageFrameForCellFrame:(NSRect)cellFrame;

@end
