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
        m_source->_root = Folder(@"root");
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

    static TreeNode *Folder(NSString *name)
    {
        TreeNode *node = Leaf(name);
        node->_children = [NSMutableArray new];
        return node;
    }
    static TreeNode *Leaf(NSString *name)
    {
        TreeNode *node = [[TreeNode new] autorelease];
        node->_name = [name copy];
        return node;
    }
    template <typename... Nodes>
    static void Fill(TreeNode *folder, Nodes... nodes)
    {
        for (TreeNode *node : {nodes...})
            [folder->_children addObject:node];
    }

    std::string Rows()
    {
        std::string names;
        for (NSInteger row = 0; row < [m_tree numberOfRows]; ++row)
            names += [((TreeNode *)[m_tree itemAtRow:row])->_name UTF8String];
        return names;
    }
    std::string Selected()
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
    TreeNode *A = Folder(@"A"), *B = Folder(@"B"), *C = Folder(@"C");
    Fill(m_source->_root, Leaf(@"1"), A, Leaf(@"5"));
    Fill(A, Leaf(@"2"), B, C, Leaf(@"4"));
    Fill(B, Leaf(@"3"));
    Fill(C, Leaf(@"x"));
    [m_tree reloadData];
    [m_tree expandItem:A];
    [m_tree expandItem:B];
    [m_tree expandItem:C];
    ASSERT_EQ(Rows(), "1A2B3Cx45");
    // Closed, but not forgotten.
    [m_tree collapseItem:C];
    EXPECT_EQ(Rows(), "1A2B3C45");
    [m_tree collapseItem:A];
    EXPECT_EQ(Rows(), "1A5");
    [m_tree expandItem:A];
    EXPECT_EQ(Rows(), "1A2B3C45");
    [m_tree collapseItem:B];
    EXPECT_EQ(Rows(), "1A2BC45");
}

TEST_F(OutlineView, AFolderThatIsClosedWhileTheOneAboveItIsClosedLeavesTheRowsAlone)
{
    TreeNode *A = Folder(@"A"), *B = Folder(@"B");
    Fill(m_source->_root, A, Leaf(@"4"), Leaf(@"5"));
    Fill(A, Leaf(@"1"), B, Leaf(@"3"));
    Fill(B, Leaf(@"2"));
    [m_tree reloadData];
    [m_tree expandItem:A];
    [m_tree expandItem:B];
    [m_tree collapseItem:A];
    [m_tree collapseItem:B];
    EXPECT_EQ(Rows(), "A45");
    [m_tree expandItem:A];
    EXPECT_EQ(Rows(), "A1B345");
}

TEST_F(OutlineView, WhatIsInAnOpenFolderInsideAClosedOneHasNoRow)
{
    TreeNode *A = Folder(@"A"), *B = Folder(@"B"), *C = Folder(@"C"), *D = Folder(@"D");
    Fill(m_source->_root, A, Leaf(@"z"));
    Fill(A, B);
    Fill(B, C);
    Fill(C, D);
    Fill(D, Leaf(@"x"));
    [m_tree reloadData];
    for (TreeNode *node : {A, B, C, D})
        [m_tree expandItem:node];
    ASSERT_EQ(Rows(), "ABCDxz");
    [m_tree collapseItem:C];
    ASSERT_EQ(Rows(), "ABCz");
    [m_tree collapseItem:A];
    EXPECT_EQ(Rows(), "Az");
    [m_tree expandItem:A];
    EXPECT_EQ(Rows(), "ABCz");
    [m_tree expandItem:C];
    EXPECT_EQ(Rows(), "ABCDxz");
}

TEST_F(OutlineView, TheSelectionLosesTheRowsThatGoAndFollowsTheOthers)
{
    TreeNode *A = Folder(@"A");
    Fill(m_source->_root, A, Leaf(@"3"), Leaf(@"4"));
    Fill(A, Leaf(@"1"), Leaf(@"2"));
    [m_tree reloadData];
    [m_tree expandItem:A];
    for (NSUInteger row : {2u, 4u})
        [m_tree selectRowIndexes:[NSIndexSet indexSetWithIndex:row] byExtendingSelection:YES];
    ASSERT_EQ(Selected(), "24");
    const int before = m_source->_selectionChanges;
    [m_tree collapseItem:A];
    EXPECT_EQ(Selected(), "4");
    EXPECT_EQ(m_source->_selectionChanges, before + 1);
}

// Row by row it takes ten times as long as the opening and more.
TEST_F(OutlineView, ClosingAFolderOfManyRowsTakesNoLongerThanOpeningIt)
{
    constexpr int kRows = 40000;
    TreeNode *many = Folder(@"many");
    Fill(m_source->_root, many);
    for (int i = 0; i < kRows; ++i)
        [many->_children addObject:Leaf(@"")];
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
