// The program that ./bench measures for what the window costs: one job per run, with the
// application's own controller and windows on the display that DISPLAY names. Prints seconds.
//
//   window-probe expand COUNT -     opens a folder of that many made-up entries in the tree
//   window-probe rows COUNT -       the same on a bare tree whose data source only counts
//   window-probe list COUNT -       lists such a folder without a tree
//   window-probe export FOLDER DEST [HOLES]
//                                   exports everything under the progress window; fills free
//                                   memory first, using the folder HOLES
#import "AppDelegate.h"
#import "CBitlockerWrapper.h"
#import "TreeOutlineView.h"
#import "Z5FileManager.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#import "CountedRows.h"
#include "FreeMemory.h"
#include "GeneratedVolume.h"
#import "VXApplication.h"
#import "WatchedProgress.h"

namespace {

using Clock = std::chrono::steady_clock;

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

int Fail(const char *what)
{
    fprintf(stderr, "window-probe: %s\n", what);
    return 1;
}

// Opens the first row and draws what is then visible.
int OpenFirstRow(NSOutlineView *tree, NSInteger expected)
{
    [[tree window] makeKeyAndOrderFront:nil];
    [[tree window] display];
    const Clock::time_point start = Clock::now();
    [tree expandItem:[tree itemAtRow:0]];
    [tree display];
    const double seconds = SecondsSince(start);
    if ([tree numberOfRows] != expected)
        return Fail("the rows did not appear");
    printf("%.6f\n", seconds);
    return 0;
}

int Expand(AppDelegate *delegate, unsigned count)
{
    GeneratedVolume volume(1, count);
    [[delegate FileExplorerController] setVolumeObject:&volume];
    [[[delegate window] contentView] addSubview:[delegate FileExplorerView]];
    return OpenFirstRow([[delegate FileExplorerController] outlineView],
                        1 + static_cast<NSInteger>(count));
}

int Rows(AppDelegate *delegate, unsigned count)
{
    NSOutlineView *tree = [[delegate FileExplorerController] outlineView];
    CountedRows *source = [[[CountedRows alloc] initWithCount:count] autorelease];
    [tree setDelegate:nil];
    [tree setDataSource:(id)source];
    [[[delegate window] contentView] addSubview:[delegate FileExplorerView]];
    return OpenFirstRow(tree, 1 + static_cast<NSInteger>(count));
}

int List(unsigned count)
{
    GeneratedVolume volume(1, count);
    Z5FileExplorerWapper *explorer =
        [[[Z5FileExplorerWapper alloc] initWithVolumeObject:&volume] autorelease];
    const Clock::time_point start = Clock::now();
    NSArray *entries = [explorer findFiles:[[explorer rootDirectory] objectAtIndex:0]];
    printf("%.6f\n", SecondsSince(start));
    return [entries count] == count ? 0 : Fail("entries are missing");
}

int ExportAll(const char *folder, const char *destination, const char *holes)
{
    CBitlockerWrapper wrapper;
    IVolume *volume = nullptr;
    int32_t status = 0;
    wrapper.openBitlockerDevice(folder, "none", "", &volume, &status);
    Z5FileExplorerWapper *explorer =
        [[[Z5FileExplorerWapper alloc] initWithVolumeObject:volume] autorelease];
    Z5FileManager *engine = [[[Z5FileManager alloc] initWithSourceFiles:[explorer rootDirectory]
                                                            andExplorer:explorer] autorelease];
    if (engine == nil)
        return Fail("nothing to export");
    WatchedProgress *progress = [[[WatchedProgress alloc] init] autorelease];
    NSWindow *window = [progress window];
    if (holes != nullptr)
        FillFreeMemory(holes);
    const Clock::time_point start = Clock::now();
    [engine copyTo:[NSString stringWithUTF8String:destination] withDelegate:progress];
    [NSApp runModalForWindow:window];
    [progress waitForTheEnd];
    printf("%.6f\n", SecondsSince(start));
    return 0;
}

// The application's delegate, made with the interface file, opens the first argument as a volume;
// the name of a job is not.
int Run(int argc, char **argv)
{
    [VXApplication sharedApplication];
    [NSApp finishLaunching];
    if (![NSBundle loadNibNamed:@"MainMenu" owner:NSApp])
        return Fail("the main window does not load");
    AppDelegate *delegate = (AppDelegate *)[NSApp delegate];
    const unsigned count = argc > 2 ? static_cast<unsigned>(strtoul(argv[2], nullptr, 10)) : 0;
    if (argc == 4 && strcmp(argv[1], "expand") == 0)
        return Expand(delegate, count);
    if (argc == 4 && strcmp(argv[1], "rows") == 0)
        return Rows(delegate, count);
    if (argc == 4 && strcmp(argv[1], "list") == 0)
        return List(count);
    if ((argc == 4 || argc == 5) && strcmp(argv[1], "export") == 0)
        return ExportAll(argv[2], argv[3], argv[4]);
    return Fail("usage: window-probe expand|rows|list COUNT - | export FOLDER DEST [HOLES]");
}

}  // namespace

int main(int argc, char **argv)
{
    @autoreleasepool {
        return Run(argc, argv);
    }
}
