// The main window as the interface file makes it, its tree on a scripted volume.
#pragma once

#import "AppDelegate.h"
#import "TreeOutlineView.h"
#import "Z5FileExplorer+Export.h"

#include "ScriptedVolume.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

class ExplorerTest : public testing::Test {
protected:
    ExplorerTest();
    ~ExplorerTest() override;
    ExplorerTest(const ExplorerTest &) = delete;
    ExplorerTest &operator=(const ExplorerTest &) = delete;

    vx::ScriptedEntry &Root() { return volume.Root(); }
    // Shows the volume; called after the test has built its tree.
    void Open();
    NSOutlineView *Tree() { return [controller outlineView]; }
    size_t Listings() { return volume.Count(vx::VolumeOperation::kFindFirstFile); }
    NSTableColumn *Column(NSString *title);
    std::string Text(NSInteger row, NSString *title);
    void Select(const std::vector<NSUInteger> &rows);
    std::vector<std::string> Selected();
    // A key pressed in the window, the way that the application takes it.
    void Press(unichar key, NSUInteger modifiers = 0, NSTimeInterval at = 0);

    vx::ScriptedVolume volume;
    AppDelegate *delegate = nil;
    Z5FileExplorer *controller = nil;
    NSWindow *window = nil;
};
