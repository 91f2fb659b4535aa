// In which order the export command shows its window and starts the worker.
#import "ExplorerFixture.h"
#import "ModalDriver.h"

#import "CopyingFileWindow.h"
#import "Z5FileManager.h"

#include "TemporaryFolder.h"

#include <objc/runtime.h>

#include <string>

namespace {

using apptest::When;

std::string g_order;
IMP g_center = nullptr;

void NoteCentering(id window, SEL selector)
{
    if ([[window windowController] isKindOfClass:[CopyingFileWindow class]])
        g_order += "centred ";
    reinterpret_cast<void (*)(id, SEL)>(g_center)(window, selector);
}

BOOL NoteStart(id, SEL, NSString *, id)
{
    g_order += "started ";
    return YES;
}

BOOL OpenNothing(id, SEL, NSURL *)
{
    return YES;
}

// A method in another's place, for as long as this lives.
class Replacement {
public:
    Replacement(Class type, SEL selector, IMP other)
        : _method(class_getInstanceMethod(type, selector)),
          _original(method_setImplementation(_method, other))
    {
    }
    ~Replacement() { method_setImplementation(_method, _original); }
    Replacement(const Replacement &) = delete;
    Replacement &operator=(const Replacement &) = delete;

    IMP Original() const { return _original; }

private:
    Method _method;
    IMP _original;
};

bool PanelIsUp()
{
    return [[NSApp modalWindow] isKindOfClass:[NSOpenPanel class]];
}

bool ProgressIsUp()
{
    return [[[NSApp modalWindow] windowController] isKindOfClass:[CopyingFileWindow class]];
}

TEST_F(ExplorerTest, TheProgressWindowIsCentredBeforeTheWorkerIsStarted)
{
    Root().File(u"a", 10);
    Open();
    Select({0});
    g_order.clear();
    const Replacement opening([NSWorkspace class], @selector(openURL:),
                              reinterpret_cast<IMP>(OpenNothing));
    const Replacement starting([Z5FileManager class], @selector(copyTo:withDelegate:),
                               reinterpret_cast<IMP>(NoteStart));
    const Replacement centering([NSWindow class], @selector(center),
                                reinterpret_cast<IMP>(NoteCentering));
    g_center = centering.Original();

    const vx::TemporaryFolder folder;
    NSString *path = [NSString stringWithUTF8String:folder.Path().c_str()];
    When(PanelIsUp, [path] {
        NSOpenPanel *panel = (NSOpenPanel *)[NSApp modalWindow];
        [panel setDirectory:path];
        [panel ok:nil];
    });
    When(ProgressIsUp,
         [] { [(CopyingFileWindow *)[[NSApp modalWindow] windowController] cancelClicked:nil]; });
    [controller onClickedExport:nil];
    EXPECT_EQ(g_order, "centred started ");
}

}  // namespace
