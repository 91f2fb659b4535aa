#import "Z5FileManager.h"

#import "CatalogueWalk.h"
#import "ExportPath.h"
#import "ExportPlacing.h"
#import "Z5BitLockerFile.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <new>

#include "ExportProgress.h"
#include "LocalFileOpening.h"
#include "ThreadChecks.h"

namespace {

// The first failure is the one that explains the others.
void noteWriteError(ExportOutcome *outcome)
{
    if (outcome->end == ExportEnd::kNotWritten)
        return;
    outcome->end = ExportEnd::kNotWritten;
    outcome->error = errno;
}

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
        return [self skip:entry because:ExportEnd::kNoPath];
    NSString *file = LocalPathFromVolumePath(path);
    if (PathClimbs(file))
        return [self skip:entry because:ExportEnd::kLeavesDestination];
    if (![self makeFolderFor:entry below:destination])
        return [self skip:entry because:ExportEnd::kNoFolder];

    const double mebibytes = static_cast<double>(_nTotalCopySize) * (1.0 / 1024) * (1.0 / 1024);
    [_uiDelegate performSelector:@selector(UpdateInformation:) withObject:path];
    [_uiDelegate performSelector:@selector(UpdateTotalSize:)
                      withObject:[NSNumber numberWithDouble:mebibytes]];
    if ([_uiDelegate GetState] == kExportStateStop)
        return NO;
    NSString *local = [destination stringByAppendingString:file];
    if ([self placing] != nil || !LiesInOpenFolder([local UTF8String], [destination UTF8String]))
        [self copyOneFile:entry withDest:local];
    return YES;
}

// The sink, if it places files itself.
- (id<ExportPlacing>)placing
{
    const BOOL places = [_uiDelegate respondsToSelector:@selector(entry:endedWith:)];
    return places ? static_cast<id<ExportPlacing>>(_uiDelegate) : nil;
}

- (BOOL)skip:(Z5FindData *)entry because:(ExportEnd)reason
{
    ExportOutcome outcome;
    outcome.end = reason;
    [[self placing] entry:entry endedWith:outcome];
    return YES;
}

- (BOOL)makeFolderFor:(Z5FindData *)entry below:(NSString *)destination
{
    id<ExportPlacing> placing = [self placing];
    if (placing != nil)
        return [placing makeFolderFor:entry];
    NSString *folder = LocalPathFromVolumePath([Z5FileExplorerWapper parentPath:entry]);
    return [Z5FileManager makeDirectory:destination withSource:folder];
}

- (BOOL)copyOneFile:(Z5FindData *)entry withDest:(NSString *)destination
{
    AssertWorkerThread();
    if (entry == nil || destination == nil)
        return NO;
    ExportOutcome outcome;
    const BOOL copied = [self copy:entry to:destination outcome:&outcome];
    [[self placing] entry:entry endedWith:outcome];
    return copied;
}

- (BOOL)copy:(Z5FindData *)entry to:(NSString *)destination outcome:(ExportOutcome *)outcome
{
    outcome->end = ExportEnd::kNoMemory;
    // Zeroed: a chunk that cannot be read is written as the buffer stands.
    if (_innerBuffer == nullptr)
        _innerBuffer = new (std::nothrow) unsigned char[kExportChunkSize]();
    if (_innerBuffer == nullptr)
        return NO;
    outcome->end = ExportEnd::kNoPath;
    NSString *path = [Z5FileExplorerWapper fullPath:entry withfilter:nil];
    if (path == nil)
        return NO;

    outcome->end = ExportEnd::kNotOpened;
    Z5BitLockerFile *source =
        [[Z5BitLockerFile alloc] initWithFile:path andVol:[_fileExplorerWapper getVolObject]];
    if (source == nil)
        return NO;
    [source seekFile:0];
    FILE *local = [self openFileFor:entry at:destination];
    outcome->end = local == nullptr ? ExportEnd::kNoLocalFile : ExportEnd::kCopied;
    if (local != nullptr)
        [self copyFrom:source into:local outcome:outcome];
    [source release];
    return local != nullptr;
}

- (FILE *)openFileFor:(Z5FindData *)entry at:(NSString *)destination
{
    id<ExportPlacing> placing = [self placing];
    if (placing != nil)
        return [placing openFileFor:entry];
    const char *path = [destination cStringUsingEncoding:NSUTF8StringEncoding];
    return path == nullptr ? nullptr : OpenLocalFile(path);
}

// Closes the local file.
- (void)copyFrom:(Z5BitLockerFile *)source into:(FILE *)local outcome:(ExportOutcome *)outcome
{
    // A chunk is in the file when it is reported; the window may close on that report.
    setvbuf(local, nullptr, _IONBF, 0);
    fseek(local, 0, SEEK_SET);
    [self copyChunksFrom:source into:local outcome:outcome];
    if (fclose(local) != 0)
        noteWriteError(outcome);
}

// Bytes that could not be read or written count as copied: the export is silent about them. Only
// for a sink that is notified of failed writes does the copy end at the first one.
- (void)copyChunksFrom:(Z5BitLockerFile *)source into:(FILE *)local outcome:(ExportOutcome *)outcome
{
    const BOOL endsAtFailure = [self placing] != nil;
    outcome->size = [source getFileSize];
    int64_t remaining = outcome->size;
    while (remaining > 0) {
        if (![_uiDelegate Continued]) {
            outcome->end = ExportEnd::kStopped;
            return;
        }
        const int64_t count = std::min(remaining, kExportChunkSize);
        [source readFile:_innerBuffer ofsize:count];
        const size_t written = fwrite(_innerBuffer, 1, static_cast<size_t>(count), local);
        if (written != static_cast<size_t>(count))
            noteWriteError(outcome);
        if (endsAtFailure && outcome->end == ExportEnd::kNotWritten) {
            outcome->copied += static_cast<int64_t>(written);
            return;
        }
        remaining -= count;
        outcome->copied += count;
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
