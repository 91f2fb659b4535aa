// What holds at the moment of each report of an export, and what is left of it afterwards.
#import "ExportTest.h"
#include "ServeUntil.h"

#include <fcntl.h>
#import <objc/runtime.h>
#include <unistd.h>

#include <atomic>
#include <functional>

// A sink that lets the test look around at each report, on the worker's thread.
@interface WatchingDelegate : RecordingDelegate {
@public
    std::function<void()> _atFile;
    std::function<void()> _atProgress;
}
@end

@implementation WatchingDelegate
- (void)UpdateInformation:(NSString *)path
{
    [super UpdateInformation:path];
    if (_atFile)
        _atFile();
}
- (void)UpdateProgress:(NSNumber *)percent
{
    [super UpdateProgress:percent];
    if (_atProgress)
        _atProgress();
}
@end

static std::atomic<int> g_remains;

// Something that is left to the pool of its thread.
@interface Remains : NSObject
@end

@implementation Remains
- (id)init
{
    self = [super init];
    ++g_remains;
    return self;
}
- (void)dealloc
{
    --g_remains;
    [super dealloc];
}
@end

namespace {

constexpr uint64_t kChunk = 4194304;
constexpr unsigned char kMark = 0x5a;

class ExportOrder : public ExportTest {
protected:
    ExportOrder() : watcher([[WatchingDelegate alloc] init])
    {
        [delegate release];
        delegate = watcher;
    }
    unsigned char *Buffer() const
    {
        const ptrdiff_t offset =
            ivar_getOffset(class_getInstanceVariable([Z5FileManager class], "_innerBuffer"));
        return *reinterpret_cast<unsigned char **>(reinterpret_cast<char *>(engine) + offset);
    }
    // The next descriptor that this process would get.
    static int NextDescriptor()
    {
        const int next = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
        ::close(next);
        return next;
    }
    WatchingDelegate *watcher;
};

}  // namespace

TEST_F(ExportOrder, AChunkIsInTheFileWhenItIsReported)
{
    Root().File(u"a", 2 * kChunk + 1);
    std::vector<long long> sizes;
    watcher->_atProgress = [&] { sizes.push_back(SizeOf("a")); };
    ASSERT_TRUE(Run());
    EXPECT_EQ(sizes, (std::vector<long long>{kChunk, 2 * kChunk, 2 * kChunk + 1}));
}

TEST_F(ExportOrder, WhatAFileLeavesToThePoolIsGoneBeforeTheNextFile)
{
    for (const char16_t *name : {u"a", u"b", u"c"})
        Root().File(name, 1);
    std::vector<int> remains;
    watcher->_atFile = [&] {
        remains.push_back(g_remains);
        [[[Remains alloc] init] autorelease];
    };
    ASSERT_TRUE(Run());
    EXPECT_EQ(remains, (std::vector<int>{0, 0, 0}));
}

// The mark lies in the buffer after the bytes that the files fill.
TEST_F(ExportOrder, OneBufferServesEveryFile)
{
    for (const char16_t *name : {u"a", u"b", u"c"})
        Root().File(name, 1);
    std::vector<unsigned char *> buffers;
    std::vector<bool> marked;
    watcher->_atFile = [&] {
        unsigned char *const current = Buffer();
        buffers.push_back(current);
        if (current == nullptr)
            return;
        marked.push_back(current[kChunk - 1] == kMark);
        current[kChunk - 1] = kMark;
    };
    ASSERT_TRUE(Run());
    ASSERT_EQ(buffers.size(), 3u);
    EXPECT_EQ(buffers[0], nullptr);
    EXPECT_EQ(buffers[1], buffers[2]);
    EXPECT_EQ(marked, (std::vector<bool>{false, true}));
}

TEST_F(ExportOrder, TheLocalFileIsClosedBeforeTheVolumesFile)
{
    Root().File(u"a", 1);
    volume.AtCall(VolumeOperation::kCloseHandle, 1, Fault::kStall);
    Plan();
    const int before = NextDescriptor();
    ASSERT_TRUE(Start());
    ASSERT_TRUE(volume.AwaitStall());
    EXPECT_EQ(NextDescriptor(), before);
    volume.Release();
    ASSERT_TRUE(Finish());
}

TEST_F(ExportOrder, ACancelInsideAFileEndsTheExportWhenItIsAskedForTheNextTime)
{
    Root().File(u"a", 3 * kChunk);
    Root().File(u"b", 1);
    [delegate cancelAfter:2];
    ASSERT_TRUE(Run());
    EXPECT_EQ([delegate operations], "Continued UpdateInformation: UpdateTotalSize: GetState"
                                     " Continued UpdateProgress: Continued Continued");
}

TEST_F(ExportOrder, NothingOfAnExportIsLeftWhenItHasEnded)
{
    Root().File(u"a", 1);
    Open();
    const NSUInteger explorers = [explorer retainCount];
    @autoreleasepool {
        ASSERT_TRUE(Run());
        [engine release];
        engine = nil;
    }
    EXPECT_TRUE(vxtest::ServeUntil([this] { return [delegate retainCount] == 1; })) << "the sink";
    EXPECT_TRUE(vxtest::ServeUntil([&] { return [explorer retainCount] == explorers; }))
        << "the engine";
}
