#import "Z5FileManager.h"

#import "CatalogueWalk.h"
#import "ExportPath.h"
#import "Z5BitLockerFile.h"

#include <algorithm>
#include <cstdio>
#include <new>

#include "ExportProgress.h"
#include "LocalFileOpening.h"
#include "ThreadChecks.h"

namespace {

// The last owner of the engine may be the worker: after a cancel the command that made it has
// ended. The sink may be a window, which only the main thread may release. The reference is handed
// over rather than shared, so that the main thread's release is the last one.
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
    AssertMainThread();
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

- (NSMutableArray *)getAllFiles:(NSArray *)entries withSize:(int64_t *)size
{
    AssertMainThread();
    if ([entries count] == 0)
        return nil;
    NSMutableArray *files = [NSMutableArray array];
    vx::WalkCatalogue(_fileExplorerWapper, entries, [&](Z5FindData *entry, bool) {
        if ([entry bDirectory])
            return;
        [files addObject:entry];
        *size = AddSizes(*size, [entry nFileSize]);
    });
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
    AssertMainThread();
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

// Foundation throws if the system cannot start a thread, and would throw again if the thread object
// were released. The object leaks on purpose, and keeps the engine.
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
    AssertWorkerThread();
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

// Not every platform's thread releases its target when it ends: engine and thread would then keep
// each other alive. The main thread made the reference and releases it.
- (void)letGoOfThread
{
    if ([NSThread currentThread] == _threadCopyFile)
        [self performSelectorOnMainThread:@selector(forgetThread:)
                               withObject:_threadCopyFile
                            waitUntilDone:NO];
}

- (void)forgetThread:(NSThread *)thread
{
    AssertMainThread();
    if (_threadCopyFile != thread)
        return;
    [_threadCopyFile release];
    _threadCopyFile = nil;
}

// NO ends the export; a file that is skipped or fails does not.
- (BOOL)exportFile:(Z5FindData *)entry below:(NSString *)destination
{
    NSString *path = [Z5FileExplorerWapper fullPath:entry withfilter:nil];
    if (path == nil)
        return YES;
    NSString *file = LocalPathFromVolumePath(path);
    NSString *folder = LocalPathFromVolumePath([Z5FileExplorerWapper parentPath:entry]);
    if (PathClimbs(file) || ![Z5FileManager makeDirectory:destination withSource:folder])
        return YES;

    const double mebibytes = static_cast<double>(_nTotalCopySize) * (1.0 / 1024) * (1.0 / 1024);
    [_uiDelegate performSelector:@selector(UpdateInformation:) withObject:path];
    [_uiDelegate performSelector:@selector(UpdateTotalSize:)
                      withObject:[NSNumber numberWithDouble:mebibytes]];
    if ([_uiDelegate GetState] == kExportStateStop)
        return NO;
    NSString *local = [destination stringByAppendingString:file];
    if (!LiesInOpenFolder([local UTF8String], [destination UTF8String]))
        [self copyOneFile:entry withDest:local];
    return YES;
}

- (BOOL)copyOneFile:(Z5FindData *)entry withDest:(NSString *)destination
{
    AssertWorkerThread();
    if (entry == nil || destination == nil)
        return NO;
    // Zeroed: a chunk that cannot be read is written as the buffer stands.
    if (_innerBuffer == nullptr)
        _innerBuffer = new (std::nothrow) unsigned char[kExportChunkSize]();
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
    FILE *local = path == nullptr ? nullptr : OpenLocalFile(path);
    if (local == nullptr)
        return NO;
    // A chunk is in the file when it is reported; the window may close on that report.
    setvbuf(local, nullptr, _IONBF, 0);
    fseek(local, 0, SEEK_SET);
    [self copyChunksFrom:source into:local];
    fclose(local);
    return YES;
}

// Bytes that could not be read or written count as copied: the export is silent about them.
- (void)copyChunksFrom:(Z5BitLockerFile *)source into:(FILE *)local
{
    int64_t remaining = [source getFileSize];
    while (remaining > 0 && [_uiDelegate Continued]) {
        const int64_t count = std::min(remaining, kExportChunkSize);
        [source readFile:_innerBuffer ofsize:count];
        fwrite(_innerBuffer, 1, static_cast<size_t>(count), local);
        remaining -= count;
        [self updateProgress:count];
    }
}

- (void)updateProgress:(int64_t)bytes
{
    AssertWorkerThread();
    _nCopiedSize = AddSizes(_nCopiedSize, bytes);
    const int32_t percent = ExportPercent(_nCopiedSize, _nTotalCopySize);
    [_uiDelegate performSelector:@selector(UpdateProgress:)
                      withObject:[NSNumber numberWithInt:percent]];
}

@end
