#import "SourceTable.h"

#include "ThreadChecks.h"

@implementation SourceTable

- (void)keyDown:(NSEvent *)event
{
    AssertMainThread();
    NSString *keys = [event charactersIgnoringModifiers];
    const unichar key = [keys length] == 1 ? [keys characterAtIndex:0] : 0;
    if (key == NSDownArrowFunctionKey)
        [self selectFrom:[self selectedRow] by:1];
    else if (key == NSUpArrowFunctionKey)
        [self selectFrom:[self selectedRow] < 0 ? [self numberOfRows] : [self selectedRow] by:-1];
    else
        [super keyDown:event];
}

- (void)selectFrom:(NSInteger)row by:(NSInteger)step
{
    for (row += step; row >= 0 && row < [self numberOfRows]; row += step) {
        if (![[self delegate] tableView:self shouldSelectRow:row])
            continue;
        [self selectRowIndexes:[NSIndexSet indexSetWithIndex:static_cast<NSUInteger>(row)]
            byExtendingSelection:NO];
        return [self scrollRowToVisible:row];
    }
}

@end
