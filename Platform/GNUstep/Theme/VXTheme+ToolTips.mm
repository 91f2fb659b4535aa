// Tool tips: dark text on white within a thin grey line, where the library draws a black one.
#import "ThemePalette.h"
#import "ThemeShapes.h"
#import "VXTheme.h"

namespace {

constexpr CGFloat kMargin = 2;

}  // namespace

// The library's own class, which no header shows; the text that it shows is its only variable.
@interface GSTTView : NSView
@end

@implementation GSTTView (Look)

- (void)drawRect:(NSRect)dirty
{
    NSAttributedString *text = [self valueForKey:@"_text"];
    if (text == nil)
        return;
    vx::shapes::frame([self bounds], vx::palette::border());
    [text drawInRect:NSInsetRect([self bounds], kMargin, kMargin)];
}

@end
