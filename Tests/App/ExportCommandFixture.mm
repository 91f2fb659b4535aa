#import "ExportCommandFixture.h"
#import "ModalDriver.h"

std::string ExportCommandTest::opened;
int ExportCommandTest::activations = 0;
int ExportCommandTest::activationsBeforeOpening = 0;

BOOL ExportCommandTest::recordOpening(id, SEL, NSURL *url)
{
    opened = [[url path] UTF8String];
    activationsBeforeOpening = activations;
    return YES;
}

ExportCommandTest::ExportCommandTest()
{
    opened.clear();
    Method method = class_getInstanceMethod([NSWorkspace class], @selector(openURL:));
    _opener = method_setImplementation(method, reinterpret_cast<IMP>(recordOpening));
}

ExportCommandTest::~ExportCommandTest()
{
    // A worker outlives its window by the closing of its file, and needs the volume for it.
    EXPECT_TRUE(apptest::ServeUntil([this] { return volume.OpenHandles() == 0; }));
    method_setImplementation(class_getInstanceMethod([NSWorkspace class], @selector(openURL:)),
                             _opener);
}

CopyingFileWindow *ExportCommandTest::progress()
{
    id controller = [[NSApp modalWindow] windowController];
    return [controller isKindOfClass:[CopyingFileWindow class]] ? controller : nil;
}

void ExportCommandTest::choose(const std::string &folder)
{
    NSString *path = [NSString stringWithUTF8String:folder.c_str()];
    apptest::When(panelIsUp, [path] {
        NSOpenPanel *panel = (NSOpenPanel *)[NSApp modalWindow];
        [panel setDirectory:path];
        [panel ok:nil];
    });
}

bool ExportCommandTest::workerStalls()
{
    return progress() != nil && volume.AwaitStall(vx::ScriptedVolume::Milliseconds(0));
}

bool ExportCommandTest::holds(const std::string &file, const std::string &contents)
{
    return apptest::ServeUntil([&] { return folder.ReadFile(file) == contents; });
}
