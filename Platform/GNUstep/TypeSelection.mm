#include "TypeSelection.h"

#include "MethodReplacement.h"
#include "ThreadChecks.h"

#import <AppKit/AppKit.h>

namespace vx {
namespace {

using KeyDown = void (*)(id, SEL, NSEvent *);
KeyDown g_libraryKeyDown = nullptr;

// After a pause of this length letters begin a new name. Seconds.
constexpr NSTimeInterval kPause = 1;

// What was typed last, folded, and where. The view is compared only.
const void *g_view = nullptr;
NSString *g_typed = @"";
NSTimeInterval g_typedAt = 0;

// Names compare in this form, whichever way case and accents are written.
NSString *folded(NSString *text)
{
    return [[text precomposedStringWithCanonicalMapping] lowercaseString];
}

unichar lowerAscii(unichar unit)
{
    return unit >= 'A' && unit <= 'Z' ? unit + ('a' - 'A') : unit;
}

// Settles most names of a large tree without a folded copy of each.
bool beginsWithAnotherAscii(NSString *name, NSString *beginning)
{
    const unichar one = lowerAscii([name characterAtIndex:0]),
                  other = [beginning characterAtIndex:0];
    return one < 0x80 && other < 0x80 && one != other;
}

bool beginsWith(NSString *name, NSString *beginning)
{
    if ([name length] == 0 || beginsWithAnotherAscii(name, beginning))
        return false;
    constexpr NSUInteger kMostUnitsOfACharacter = 4;
    const NSUInteger enough = kMostUnitsOfACharacter * ([beginning length] + 1);
    NSString *start = [name length] <= enough ? name : [name substringToIndex:enough];
    const NSStringCompareOptions literally = NSAnchoredSearch | NSLiteralSearch;
    return [folded(start) rangeOfString:beginning options:literally].location == 0;
}

NSString *nameInRow(NSOutlineView *tree, NSInteger row)
{
    id name = [[tree dataSource] outlineView:tree
                   objectValueForTableColumn:[tree outlineTableColumn]
                                      byItem:[tree itemAtRow:row]];
    return [name isKindOfClass:[NSString class]] ? name : nil;
}

bool maySelect(NSOutlineView *tree, NSInteger row)
{
    id delegate = [tree delegate];
    return ![delegate respondsToSelector:@selector(outlineView:shouldSelectItem:)] ||
           [delegate outlineView:tree shouldSelectItem:[tree itemAtRow:row]];
}

// The first one from `first` on, past the end from the top; -1: none.
NSInteger rowThatBeginsWith(NSOutlineView *tree, NSString *beginning, NSInteger first)
{
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    const NSInteger count = [tree numberOfRows];
    NSInteger found = -1;
    for (NSInteger i = 0; i < count && found < 0; ++i) {
        const NSInteger row = (first + i) % count;
        if (beginsWith(nameInRow(tree, row), beginning) && maySelect(tree, row))
            found = row;
    }
    [pool release];
    return found;
}

bool isOneCharacterRepeated(NSString *text)
{
    const NSUInteger length = [text rangeOfComposedCharacterSequenceAtIndex:0].length;
    NSString *one = [text substringToIndex:length];
    NSString *others = [text stringByReplacingOccurrencesOfString:one withString:@""];
    return [text length] > length && [others length] == 0;
}

// A name that is typed on may be that of the selected row; a new one goes on from there.
NSInteger rowFor(NSOutlineView *tree, NSString *typed, bool goesOn)
{
    const NSInteger selected = [tree selectedRow];
    const NSInteger row =
        rowThatBeginsWith(tree, typed, goesOn && selected >= 0 ? selected : selected + 1);
    if (row >= 0 || !isOneCharacterRepeated(typed))
        return row;
    const NSUInteger length = [typed rangeOfComposedCharacterSequenceAtIndex:0].length;
    return rowThatBeginsWith(tree, [typed substringToIndex:length], selected + 1);
}

bool isPartOfAName(NSString *characters)
{
    if ([characters length] == 0)
        return false;
    constexpr unichar kFirstFunctionKey = 0xf700, kLastFunctionKey = 0xf8ff;
    for (NSUInteger i = 0; i < [characters length]; ++i) {
        const unichar unit = [characters characterAtIndex:i];
        if (unit < ' ' || unit == 0x7f || (unit >= kFirstFunctionKey && unit <= kLastFunctionKey))
            return false;
    }
    return true;
}

// True if the key was taken. A space alone is no name.
bool takeKey(NSOutlineView *tree, NSEvent *event)
{
    const NSUInteger commands = NSCommandKeyMask | NSAlternateKeyMask | NSControlKeyMask;
    if (([event modifierFlags] & commands) != 0 || !isPartOfAName([event characters]))
        return false;
    const bool goesOn =
        g_view == tree && [g_typed length] > 0 && [event timestamp] - g_typedAt < kPause;
    NSString *typed = folded([goesOn ? g_typed : @"" stringByAppendingString:[event characters]]);
    if ([typed isEqualToString:@" "])
        return false;
    g_view = tree;
    g_typedAt = [event timestamp];
    [g_typed autorelease];
    g_typed = [typed copy];
    const NSInteger row = rowFor(tree, typed, goesOn);
    if (row < 0)
        return true;
    [tree selectRowIndexes:[NSIndexSet indexSetWithIndex:NSUInteger(row)] byExtendingSelection:NO];
    [tree scrollRowToVisible:row];
    return true;
}

void keyDown(id tree, SEL selector, NSEvent *event)
{
    if (!takeKey(tree, event))
        g_libraryKeyDown(tree, selector, event);
}

}  // namespace

void installTypeSelection()
{
    AssertMainThread();
    if (g_libraryKeyDown != nullptr)
        return;
    g_libraryKeyDown = reinterpret_cast<KeyDown>(
        replaceMethod([NSOutlineView class], @selector(keyDown:), reinterpret_cast<IMP>(keyDown)));
}

}  // namespace vx
