#import "ExportTest.h"

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
    const std::lock_guard<std::mutex> guard(_mutex);
    ++_ended;
    _changed.notify_all();
}

- (BOOL)awaitOne
{
    std::unique_lock<std::mutex> lock(_mutex);
    const bool came =
        _changed.wait_for(lock, vx::ScriptedVolume::kDeadline * 2, [self] { return _ended > 0; });
    if (came)
        --_ended;
    return came;
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
