// What a tree does differently from the library's.
#import <AppKit/AppKit.h>

#include <gtest/gtest.h>

#include <chrono>
#include <initializer_list>
#include <string>

// A folder and what is in it; a node without an array is a leaf.
@interface TreeNode : NSObject {
@public
    NSString *_name;
    NSMutableArray *_children;
}
@end

@implementation TreeNode

- (void)dealloc
{
    [_name release];
    [_children release];
    [super dealloc];
}

@end

@interface TreeSource : NSObject {
@public
    TreeNode *_root;
    int _selectionChanges;
}
@end

@implementation TreeSource

- (TreeNode *)nodeOf:(id)item
{
    return item == nil ? _root : item;
}

- (id)outlineView:(NSOutlineView *)view child:(NSInteger)index ofItem:(id)item
{
    return [[self nodeOf:item]->_children objectAtIndex:NSUInteger(index)];
}

- (BOOL)outlineView:(NSOutlineView *)view isItemExpandable:(id)item
{
    return [self nodeOf:item]->_children != nil;
}

- (NSInteger)outlineView:(NSOutlineView *)view numberOfChildrenOfItem:(id)item
{
    return NSInteger([[self nodeOf:item]->_children count]);
}

- (id)outlineView:(NSOutlineView *)view
    objectValueForTableColumn:(NSTableColumn *)column
                       byItem:(id)item
{
    return ((TreeNode *)item)->_name;
}

- (void)outlineViewSelectionDidChange:(NSNotification *)notification
{
    ++_selectionChanges;
}

@end

namespace {

using Clock = std::chrono::steady_clock;

class OutlineView : public testing::Test {
protected:
    OutlineView()
    {
        m_source = [[TreeSource new] autorelease];
        m_source->_root = folder(@"root");
        m_tree = [[[NSOutlineView alloc] initWithFrame:NSMakeRect(0, 0, 200, 200)] autorelease];
        NSTableColumn *column = [[[NSTableColumn alloc] initWithIdentifier:@"name"] autorelease];
        [m_tree addTableColumn:column];
        [m_tree setOutlineTableColumn:column];
        [m_tree setAllowsMultipleSelection:YES];
        [m_tree setDataSource:(id)m_source];
        [m_tree setDelegate:(id)m_source];
    }
    ~OutlineView() override
    {
        [m_tree setDelegate:nil];
        [m_tree setDataSource:nil];
        [m_pool release];
    }
    OutlineView(const OutlineView &) = delete;
    OutlineView &operator=(const OutlineView &) = delete;

    static TreeNode *folder(NSString *name)
    {
        TreeNode *node = leaf(name);
        node->_children = [NSMutableArray new];
        return node;
    }
    static TreeNode *leaf(NSString *name)
    {
        TreeNode *node = [[TreeNode new] autorelease];
        node->_name = [name copy];
        return node;
    }
    template <typename... Nodes>
    static void fill(TreeNode *folder, Nodes... nodes)
    {
        for (TreeNode *node : {nodes...})
            [folder->_children addObject:node];
    }

    std::string rows()
    {
        std::string names;
        for (NSInteger row = 0; row < [m_tree numberOfRows]; ++row)
            names += [((TreeNode *)[m_tree itemAtRow:row])->_name UTF8String];
        return names;
    }
    std::string selected()
    {
        std::string names;
        NSIndexSet *set = [m_tree selectedRowIndexes];
        for (NSUInteger row = [set firstIndex]; row != NSNotFound;
             row = [set indexGreaterThanIndex:row])
            names += [((TreeNode *)[m_tree itemAtRow:NSInteger(row)])->_name UTF8String];
        return names;
    }

    NSAutoreleasePool *m_pool = [NSAutoreleasePool new];
    TreeSource *m_source = nil;
    NSOutlineView *m_tree = nil;
};

TEST_F(OutlineView, ClosingAFolderTakesOutWhatIsInItAndInTheOpenFoldersBelow)
{
    TreeNode *A = folder(@"A"), *B = folder(@"B"), *C = folder(@"C");
    fill(m_source->_root, leaf(@"1"), A, leaf(@"5"));
    fill(A, leaf(@"2"), B, C, leaf(@"4"));
    fill(B, leaf(@"3"));
    fill(C, leaf(@"x"));
    [m_tree reloadData];
    [m_tree expandItem:A];
    [m_tree expandItem:B];
    [m_tree expandItem:C];
    ASSERT_EQ(rows(), "1A2B3Cx45");
    // Closed, but not forgotten.
    [m_tree collapseItem:C];
    EXPECT_EQ(rows(), "1A2B3C45");
    [m_tree collapseItem:A];
    EXPECT_EQ(rows(), "1A5");
    [m_tree expandItem:A];
    EXPECT_EQ(rows(), "1A2B3C45");
    [m_tree collapseItem:B];
    EXPECT_EQ(rows(), "1A2BC45");
}

TEST_F(OutlineView, AFolderThatIsClosedWhileTheOneAboveItIsClosedLeavesTheRowsAlone)
{
    TreeNode *A = folder(@"A"), *B = folder(@"B");
    fill(m_source->_root, A, leaf(@"4"), leaf(@"5"));
    fill(A, leaf(@"1"), B, leaf(@"3"));
    fill(B, leaf(@"2"));
    [m_tree reloadData];
    [m_tree expandItem:A];
    [m_tree expandItem:B];
    [m_tree collapseItem:A];
    [m_tree collapseItem:B];
    EXPECT_EQ(rows(), "A45");
    [m_tree expandItem:A];
    EXPECT_EQ(rows(), "A1B345");
}

TEST_F(OutlineView, WhatIsInAnOpenFolderInsideAClosedOneHasNoRow)
{
    TreeNode *A = folder(@"A"), *B = folder(@"B"), *C = folder(@"C"), *D = folder(@"D");
    fill(m_source->_root, A, leaf(@"z"));
    fill(A, B);
    fill(B, C);
    fill(C, D);
    fill(D, leaf(@"x"));
    [m_tree reloadData];
    for (TreeNode *node : {A, B, C, D})
        [m_tree expandItem:node];
    ASSERT_EQ(rows(), "ABCDxz");
    [m_tree collapseItem:C];
    ASSERT_EQ(rows(), "ABCz");
    [m_tree collapseItem:A];
    EXPECT_EQ(rows(), "Az");
    [m_tree expandItem:A];
    EXPECT_EQ(rows(), "ABCz");
    [m_tree expandItem:C];
    EXPECT_EQ(rows(), "ABCDxz");
}

TEST_F(OutlineView, TheSelectionLosesTheRowsThatGoAndFollowsTheOthers)
{
    TreeNode *A = folder(@"A");
    fill(m_source->_root, A, leaf(@"3"), leaf(@"4"));
    fill(A, leaf(@"1"), leaf(@"2"));
    [m_tree reloadData];
    [m_tree expandItem:A];
    for (NSUInteger row : {2u, 4u})
        [m_tree selectRowIndexes:[NSIndexSet indexSetWithIndex:row] byExtendingSelection:YES];
    ASSERT_EQ(selected(), "24");
    const int before = m_source->_selectionChanges;
    [m_tree collapseItem:A];
    EXPECT_EQ(selected(), "4");
    EXPECT_EQ(m_source->_selectionChanges, before + 1);
}

// Row by row it takes ten times as long as the opening and more.
TEST_F(OutlineView, ClosingAFolderOfManyRowsTakesNoLongerThanOpeningIt)
{
    constexpr int kRows = 40000;
    TreeNode *many = folder(@"many");
    fill(m_source->_root, many);
    for (int i = 0; i < kRows; ++i)
        [many->_children addObject:leaf(@"")];
    [m_tree reloadData];
    const auto start = Clock::now();
    [m_tree expandItem:many];
    const auto opened = Clock::now();
    ASSERT_EQ([m_tree numberOfRows], kRows + 1);
    [m_tree collapseItem:many];
    const auto closed = Clock::now();
    EXPECT_EQ([m_tree numberOfRows], 1);
    EXPECT_LT(closed - opened, opened - start);
    RecordProperty("opened_us", int((opened - start) / std::chrono::microseconds(1)));
    RecordProperty("closed_us", int((closed - opened) / std::chrono::microseconds(1)));
}

}  // namespace
