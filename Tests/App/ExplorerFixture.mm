#import "ExplorerFixture.h"

#import "Z5FindData.h"

ExplorerTest::ExplorerTest()
{
    EXPECT_TRUE([NSBundle loadNibNamed:@"MainMenu" owner:NSApp]);
    delegate = [(AppDelegate *)[NSApp delegate] retain];
    controller = [delegate FileExplorerController];
    window = [delegate window];
}

ExplorerTest::~ExplorerTest()
{
    // Closing the last window would end the process.
    [[NSNotificationCenter defaultCenter] removeObserver:delegate];
    [NSApp setDelegate:nil];
    [window close];
    [[delegate FileExplorerView] removeFromSuperview];
    [delegate release];
}

void ExplorerTest::Open()
{
    [controller setVolumeObject:&volume];
    [[window contentView] addSubview:[delegate FileExplorerView]];
}

NSTableColumn *ExplorerTest::Column(NSString *title)
{
    for (NSTableColumn *candidate in [Tree() tableColumns]) {
        if ([[[candidate headerCell] stringValue] isEqualToString:title])
            return candidate;
    }
    return nil;
}

std::string ExplorerTest::Text(NSInteger row, NSString *title)
{
    NSString *value = [(id)controller outlineView:Tree()
                        objectValueForTableColumn:Column(title)
                                           byItem:[Tree() itemAtRow:row]];
    return value == nil ? "(nil)" : [value UTF8String];
}

void ExplorerTest::Select(const std::vector<NSUInteger> &rows)
{
    [Tree() deselectAll:nil];
    for (const NSUInteger row : rows)
        [Tree() selectRowIndexes:[NSIndexSet indexSetWithIndex:row] byExtendingSelection:YES];
}

void ExplorerTest::Press(unichar key, NSUInteger modifiers, NSTimeInterval at)
{
    NSString *characters = [NSString stringWithCharacters:&key length:1];
    [NSApp sendEvent:[NSEvent keyEventWithType:NSKeyDown
                                            location:NSZeroPoint
                                       modifierFlags:modifiers
                                           timestamp:at
                                        windowNumber:[window windowNumber]
                                             context:[window graphicsContext]
                                          characters:characters
                         charactersIgnoringModifiers:characters
                                           isARepeat:NO
                                             keyCode:0]];
}

std::vector<std::string> ExplorerTest::Selected()
{
    std::vector<std::string> names;
    for (Z5FindData *entry in [controller valueForKey:@"_selectedFiles"])
        names.push_back([[entry strFileName] UTF8String]);
    return names;
}
