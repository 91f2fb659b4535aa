#import "Z5FileManager.h"

#import "ExportPath.h"
#import "Z5BitLockerFile.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>
#include <vector>

#include "ExportProgress.h"

namespace {

// Bytes of the copy buffer, of a chunk, and so the step of the progress.
constexpr int64_t kChunkSize = 4194304;

struct CloseFile {
    void operator()(FILE *file) const { fclose(file); }
};
using LocalFile = std::unique_ptr<FILE, CloseFile>;

// An array of entries that is being walked.
struct Walk {
    NSArray *entries;
    NSUInteger next;
};

bool mayEnter(Z5FindData *folder)
{
    NSString *name = [folder strFileName];
    return [name length] > 0 && ![name isEqualToString:@"."] && ![name isEqualToString:@".."];
}

// The engine goes with the last of its holders, which may be the worker: after a cancel the
// command that made it is long over. The sink is a window then, and a window may be let go of
// only by the main thread. The reference is handed over rather than shared, so that the main
// thread's release is the later one.
void releaseOnMainThread(id object)
{
    if ([NSThread isMainThread])
        [object release];
    else
        [object performSelectorOnMainThread:@selector(release) withObject:nil waitUntilDone:NO];
}

}  // namespace

@implementation Z5FileManager

- (id)initWithSourceFiles:(NSArray *)selection andExplorer:(Z5FileExplorerWapper *)explorer
{
    self = [super init];
    if (self == nil)
        return nil;
    if (selection != nil && explorer != nil && [selection count] > 0) {
        _fileExplorerWapper = [explorer retain];
        _innerBuffer = nullptr;
        _sourceFiles = [[self getAllFiles:selection withSize:&_nTotalCopySize] retain];
        if ([_sourceFiles count] > 0)
            return self;
    }
    [self release];
    return nil;
}

- (void)dealloc
{
    delete[] _innerBuffer;
    [_threadCopyFile release];
    [_sourceFiles release];
    releaseOnMainThread(_uiDelegate);
    [_fileExplorerWapper release];
    [super dealloc];
}

// Folders wait on a stack of ours: a volume may nest them deeper than the thread's stack goes.
- (NSMutableArray *)getAllFiles:(NSArray *)entries withSize:(int64_t *)size
{
    if ([entries count] == 0)
        return nil;
    NSMutableArray *files = [NSMutableArray array];
    std::vector<Walk> walks = {{entries, 0}};
    while (!walks.empty()) {
        Walk &walk = walks.back();
        if (walk.next == [walk.entries count]) {
            walks.pop_back();
            continue;
        }
        Z5FindData *entry = [walk.entries objectAtIndex:walk.next++];
        if (entry == nil)
            continue;
        if ([entry bDirectory]) {
            NSArray *children = mayEnter(entry) ? [_fileExplorerWapper findFiles:entry] : nil;
            if (children != nil)
                walks.push_back({children, 0});
            continue;
        }
        [files addObject:entry];
        *size = AddSizes(*size, [entry nFileSize]);
    }
    return files;
}

+ (BOOL)makeDirectory:(NSString *)root withSource:(NSString *)folder
{
    NSFileManager *manager = [NSFileManager defaultManager];
    if (root == nil || folder == nil || manager == nil)
        return NO;
    NSMutableString *path = [NSMutableString stringWithString:root];
    [path appendString:folder];
    [manager createDirectoryAtPath:path
        withIntermediateDirectories:YES
                         attributes:nil
                              error:nullptr];
    return [manager fileExistsAtPath:path];
}

- (BOOL)copyTo:(NSString *)destination withDelegate:(id<ExportingUIDelegate>)delegate
{
    [_threadCopyFile release];
    _threadCopyFile = nil;

    [delegate retain];
    [_uiDelegate release];
    _uiDelegate = delegate;

    _threadCopyFile = [[NSThread alloc] initWithTarget:self
                                              selector:@selector(copyToInThread:)
                                                object:destination];
    return [self startThread];
}

// Foundation throws where the system has no thread to give, and would throw again if the thread
// that did not start were let go of. It is left as it is, and keeps the engine.
- (BOOL)startThread
{
    @try {
        [_threadCopyFile start];
    } @catch (NSException *) {
        _threadCopyFile = nil;
    }
    return _threadCopyFile != nil;
}

- (BOOL)copyToInThread:(NSString *)destination
{
    if (destination == nil)
        return NO;
    const NSInteger count = static_cast<NSInteger>([_sourceFiles count]);
    for (NSInteger i = 0; i < count; ++i) {
        @autoreleasepool {
            if (![_uiDelegate Continued])
                break;
            if (![self exportFile:[_sourceFiles objectAtIndex:i] below:destination])
                break;
        }
    }
    [self letGoOfThread];
    return YES;
}

// Not every platform's thread drops its target when it ends: engine and thread would keep each
// other for ever. Left to the main thread, which made the reference.
- (void)letGoOfThread
{
    if ([NSThread currentThread] == _threadCopyFile)
        [self performSelectorOnMainThread:@selector(forgetThread:)
                               withObject:_threadCopyFile
                            waitUntilDone:NO];
}

- (void)forgetThread:(NSThread *)thread
{
    if (_threadCopyFile != thread)
        return;
    [_threadCopyFile release];
    _threadCopyFile = nil;
}

// NO to leave the export; a file that is skipped or fails does not.
- (BOOL)exportFile:(Z5FindData *)entry below:(NSString *)destination
{
    NSString *path = [Z5FileExplorerWapper fullPath:entry withfilter:nil];
    if (path == nil)
        return YES;
    NSString *folder = LocalPathFromVolumePath([Z5FileExplorerWapper parentPath:entry]);
    NSString *file = LocalPathFromVolumePath(path);
    if (PathClimbs(file) || ![Z5FileManager makeDirectory:destination withSource:folder])
        return YES;

    const double mebibytes = static_cast<double>(_nTotalCopySize) * (1.0 / 1024) * (1.0 / 1024);
    [_uiDelegate performSelector:@selector(UpdateInformation:) withObject:path];
    [_uiDelegate performSelector:@selector(UpdateTotalSize:)
                      withObject:[NSNumber numberWithDouble:mebibytes]];
    if ([_uiDelegate GetState] == kExportStateStop)
        return NO;
    [self copyOneFile:entry withDest:[destination stringByAppendingString:file]];
    return YES;
}

- (BOOL)copyOneFile:(Z5FindData *)entry withDest:(NSString *)destination
{
    if (entry == nil || destination == nil)
        return NO;
    // Zeroed: a chunk that cannot be read is written as the buffer stands.
    if (_innerBuffer == nullptr)
        _innerBuffer = new (std::nothrow) unsigned char[kChunkSize]();
    NSString *path = [Z5FileExplorerWapper fullPath:entry withfilter:nil];
    if (_innerBuffer == nullptr || path == nil)
        return NO;

    Z5BitLockerFile *source =
        [[Z5BitLockerFile alloc] initWithFile:path andVol:[_fileExplorerWapper getVolObject]];
    if (source == nil)
        return NO;
    const BOOL copied = [self copyFrom:source to:destination];
    [source release];
    return copied;
}

- (BOOL)copyFrom:(Z5BitLockerFile *)source to:(NSString *)destination
{
    [source seekFile:0];
    const char *path = [destination cStringUsingEncoding:NSUTF8StringEncoding];
    const LocalFile local(path == nullptr ? nullptr : fopen(path, "w"));
    if (local == nullptr)
        return NO;
    // A chunk is in the file when it is reported; the window may close on that report.
    setvbuf(local.get(), nullptr, _IONBF, 0);
    fseek(local.get(), 0, SEEK_SET);
    [self copyChunksFrom:source into:local.get()];
    return YES;
}

// Bytes that could not be read or written count as copied: the export is silent about them.
- (void)copyChunksFrom:(Z5BitLockerFile *)source into:(FILE *)local
{
    int64_t remaining = [source getFileSize];
    while (remaining > 0 && [_uiDelegate Continued]) {
        const int64_t count = std::min(remaining, kChunkSize);
        [source readFile:_innerBuffer ofsize:count];
        (void)fwrite(_innerBuffer, 1, static_cast<size_t>(count), local);
        remaining -= count;
        [self updateProgress:count];
    }
}

- (void)updateProgress:(int64_t)bytes
{
    _nCopiedSize = AddSizes(_nCopiedSize, bytes);
    const int32_t percent = ExportPercent(_nCopiedSize, _nTotalCopySize);
    [_uiDelegate performSelector:@selector(UpdateProgress:)
                      withObject:[NSNumber numberWithInt:percent]];
}

@end
