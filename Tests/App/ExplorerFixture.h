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

    vx::ScriptedEntry &root() { return volume.Root(); }
    // Shows the volume; called after the test has built its tree.
    void open();
    NSOutlineView *tree() { return [controller outlineView]; }
    size_t listings() { return volume.Count(vx::VolumeOperation::kFindFirstFile); }
    NSTableColumn *column(NSString *title);
    std::string text(NSInteger row, NSString *title);
    void select(const std::vector<NSUInteger> &rows);
    std::vector<std::string> selected();
    // A key pressed in the window, the way that the application takes it.
    void press(unichar key, NSUInteger modifiers = 0);

    vx::ScriptedVolume volume;
    AppDelegate *delegate = nil;
    Z5FileExplorer *controller = nil;
    NSWindow *window = nil;
};
