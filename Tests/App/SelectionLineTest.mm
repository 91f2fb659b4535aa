// The line under the tree about the selected rows.
#import "SelectionLine.h"

#import "ExplorerFixture.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class SelectionLineTest : public ExplorerTest {
protected:
    std::string Line()
    {
        for (NSView *part in [[delegate FileExplorerView] subviews])
            if ([part isKindOfClass:[SelectionLine class]])
                return [[(SelectionLine *)part stringValue] UTF8String];
        return "(no line)";
    }
};

TEST_F(SelectionLineTest, IsEmptyWhileNothingIsSelected)
{
    Root().File(u"a", 10);
    Open();
    EXPECT_EQ(Line(), "");
    Select({0});
    EXPECT_EQ(Line(), "1 item, 10 byte");
    [Tree() deselectAll:nil];
    EXPECT_EQ(Line(), "");
}

TEST_F(SelectionLineTest, SaysOfHowManyFilesTheSizeIsIfAFolderIsAmongTheRows)
{
    Root().Folder(u"folder").File(u"inside", 1 << 30);
    Root().File(u"a", 12 << 20);
    Root().File(u"b", 300 << 10);
    Root().File(u"c", 5 << 20);
    Open();
    Select({0, 1, 2});
    EXPECT_EQ(Line(), "3 items, 12.3 MB in 2 files");
    Select({0, 1});
    EXPECT_EQ(Line(), "2 items, 12.0 MB in 1 file");
    Select({1, 2});
    EXPECT_EQ(Line(), "2 items, 12.3 MB");
    Select({2});
    EXPECT_EQ(Line(), "1 item, 300.0 KB");
}

TEST_F(SelectionLineTest, FoldersAloneHaveNoSize)
{
    Root().Folder(u"folder").File(u"inside", 100);
    Root().Folder(u"other");
    Root().File(u"nothing", 0);
    Open();
    Select({0});
    EXPECT_EQ(Line(), "1 item");
    Select({0, 1});
    EXPECT_EQ(Line(), "2 items");
    Select({0, 1, 2});
    EXPECT_EQ(Line(), "3 items, 0 byte in 1 file");
}

TEST_F(SelectionLineTest, SizesThatNoDiskHasAddUpWithoutWrappingAround)
{
    Root().File(u"a", UINT64_MAX);
    Root().File(u"b", UINT64_MAX);
    Open();
    Select({0, 1});
    EXPECT_EQ(Line(), "2 items, 34359738368.0 GB");
}

TEST_F(SelectionLineTest, RowsThatAreClosedAwayAreNotCounted)
{
    Root().Folder(u"folder").File(u"inside", 100);
    Root().File(u"b", 50);
    Open();
    [Tree() expandItem:[Tree() itemAtRow:0]];
    Select({1, 2});
    EXPECT_EQ(Line(), "2 items, 150 byte");
    [Tree() collapseItem:[Tree() itemAtRow:0]];
    EXPECT_EQ(Line(), std::to_string(Selected().size()) + " item, 50 byte");
}

}  // namespace
