// The program that ./bench measures: one job of the catalogue or the export engine per run.
//
//   catalogue-probe list FOLDER         lists the folder's root; prints entries, seconds and
//                                       bytes of resident growth per entry
//   catalogue-probe plan FILES          plans an export of that many made-up files; prints
//                                       files and seconds
//   catalogue-probe export FOLDER DEST [HOLES]
//                                       exports everything; prints the bytes of memory above
//                                       what was in use before the export, and its seconds;
//                                       fills free memory first, using the folder HOLES

#import <Foundation/Foundation.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#import "CBitlockerWrapper.h"
#include "FreeMemory.h"
#include "GeneratedVolume.h"
#include "ResidentMemory.h"
#import "SilentDelegate.h"
#import "Z5FileManager.h"

namespace {

using Clock = std::chrono::steady_clock;

constexpr uint64_t kAnyFileTime = 132000000000000000;  // in 2019

double SecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double>(Clock::now() - start).count();
}

int Fail(const char *what)
{
    fprintf(stderr, "catalogue-probe: %s\n", what);
    return 1;
}

IVolume *OpenFolder(const char *path)
{
    CBitlockerWrapper wrapper;
    IVolume *volume = nullptr;
    int32_t status = 0;
    const bool called = wrapper.openBitlockerDevice(path, "none", "", &volume, &status);
    return called && status == 0 ? volume : nullptr;
}

int ListRoot(const char *path)
{
    IVolume *volume = OpenFolder(path);
    if (volume == nullptr)
        return Fail("the volume does not open");
    const Clock::time_point start = Clock::now();
    // The first date loads the platform's tables, once in a process.
    [Z5FindData FormatFileTimeToString:kAnyFileTime];
    const int64_t before = ResidentBytesNow();
    Z5FileExplorerWapper *explorer = [[Z5FileExplorerWapper alloc] initWithVolumeObject:volume];
    const double seconds = SecondsSince(start);
    const NSUInteger count = [[explorer rootDirectory] count];
    if (count == 0)
        return Fail("the folder is empty");
    printf("%lu %.6f %.1f\n", static_cast<unsigned long>(count), seconds,
           static_cast<double>(ResidentBytesNow() - before) / static_cast<double>(count));
    [explorer release];
    return 0;
}

Z5FileManager *NewPlan(IVolume *volume)
{
    Z5FileExplorerWapper *explorer =
        [[[Z5FileExplorerWapper alloc] initWithVolumeObject:volume] autorelease];
    return [[Z5FileManager alloc] initWithSourceFiles:[explorer rootDirectory]
                                          andExplorer:explorer];
}

int Plan(unsigned files)
{
    constexpr unsigned kFilesPerFolder = 100;
    GeneratedVolume volume(files / kFilesPerFolder, kFilesPerFolder);
    const Clock::time_point start = Clock::now();
    Z5FileManager *engine = NewPlan(&volume);
    if (engine == nil)
        return Fail("nothing was planned");
    printf("%u %.6f\n", files, SecondsSince(start));
    [engine release];
    return 0;
}

int ExportAll(const char *path, const char *destination, const char *holes)
{
    IVolume *volume = OpenFolder(path);
    Z5FileManager *engine = volume == nullptr ? nil : NewPlan(volume);
    if (engine == nil)
        return Fail("nothing to export");
    const int64_t before = ResidentBytesNow();
    SilentDelegate *delegate = [[SilentDelegate alloc] init];
    if (holes != nullptr)
        FillFreeMemory(holes);
    const Clock::time_point start = Clock::now();
    [engine copyTo:[NSString stringWithUTF8String:destination] withDelegate:delegate];
    [delegate waitForTheEnd];
    const double seconds = SecondsSince(start);
    printf("%lld %.6f\n", static_cast<long long>(ResidentBytesAtMost() - before), seconds);
    [delegate release];
    [engine release];
    return 0;
}

int Run(int argc, char **argv)
{
    if (argc == 3 && strcmp(argv[1], "list") == 0)
        return ListRoot(argv[2]);
    if (argc == 3 && strcmp(argv[1], "plan") == 0)
        return Plan(static_cast<unsigned>(strtoul(argv[2], nullptr, 10)));
    if ((argc == 4 || argc == 5) && strcmp(argv[1], "export") == 0)
        return ExportAll(argv[2], argv[3], argv[4]);
    return Fail("usage: catalogue-probe list FOLDER | plan FILES | export FOLDER DEST [HOLES]");
}

}  // namespace

int main(int argc, char **argv)
{
    @autoreleasepool {
        return Run(argc, argv);
    }
}
