#import "ExportTest.h"

#include <thread>

@implementation ThreadEnds

- (id)init
{
    self = [super init];
    if (self != nil) {
        [[NSNotificationCenter defaultCenter] addObserver:self
                                                 selector:@selector(threadWillExit:)
                                                     name:NSThreadWillExitNotification
                                                   object:nil];
    }
    return self;
}

- (void)dealloc
{
    [[NSNotificationCenter defaultCenter] removeObserver:self];
    [super dealloc];
}

- (void)threadWillExit:(NSNotification *)notification
{
    (void)notification;
    const vx::MutexLock guard(_mutex);
    ++_ended;
    _changed.NotifyAll();
}

- (void)forget
{
    const vx::MutexLock guard(_mutex);
    _ended = 0;
}

- (BOOL)awaitOne
{
    const auto deadline = vx::Condition::Deadline::clock::now() + 2 * vx::ScriptedVolume::kDeadline;
    const vx::MutexLock lock(_mutex);
    while (_ended == 0 && _changed.WaitUntil(_mutex, deadline)) {
    }
    if (_ended == 0)
        return NO;
    --_ended;
    return YES;
}

@end

ExportTest::ExportTest()
    : delegate([[RecordingDelegate alloc] init]), _ends([[ThreadEnds alloc] init])
{
}

void ExportTest::TearDown()
{
    [engine release];
    [delegate release];
    [_ends release];
    CoreTest::TearDown();
}

Z5FileManager *ExportTest::Plan(const std::vector<std::string> &names)
{
    if (explorer == nil)
        Open();
    if (names.empty())
        return PlanEntries([explorer rootDirectory]);
    NSMutableArray *selection = [NSMutableArray array];
    for (const std::string &name : names)
        [selection addObject:Named([explorer rootDirectory], name)];
    return PlanEntries(selection);
}

Z5FileManager *ExportTest::PlanEntries(NSArray *selection)
{
    engine = [[Z5FileManager alloc] initWithSourceFiles:selection andExplorer:explorer];
    return engine;
}

bool ExportTest::Start()
{
    if (engine == nil)
        Plan();
    return [engine copyTo:Text(Destination()) withDelegate:delegate];
}

bool ExportTest::Finish()
{
    return [_ends awaitOne];
}

void ExportTest::OnWorker(const std::function<void()> &job)
{
    std::thread([&] {
        @autoreleasepool {
            job();
        }
    }).join();
    [_ends forget];
}

bool ExportTest::Exists(const std::string &path) const
{
    struct stat status = {};
    return lstat(folder.At(path).c_str(), &status) == 0;
}

long long ExportTest::SizeOf(const std::string &path) const
{
    struct stat status = {};
    return stat(folder.At(path).c_str(), &status) == 0 ? status.st_size : -1;
}
