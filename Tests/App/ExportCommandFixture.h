// The export command in the main window, from the click on. Nothing is opened in the file manager:
// what would be is recorded.
#pragma once

#import "CopyingFileWindow.h"
#import "ExplorerFixture.h"

#include "TemporaryFolder.h"

#include <objc/runtime.h>
#include <string>

class ExportCommandTest : public ExplorerTest {
protected:
    ExportCommandTest();
    ~ExportCommandTest() override;
    ExportCommandTest(const ExportCommandTest &) = delete;
    ExportCommandTest &operator=(const ExportCommandTest &) = delete;

    static bool panelIsUp() { return [[NSApp modalWindow] isKindOfClass:[NSOpenPanel class]]; }
    static bool panelHasGrown()
    {
        return panelIsUp() && NSHeight([[NSApp modalWindow] frame]) == 500;
    }
    static CopyingFileWindow *progress();
    static bool alertIsUp()
    {
        return [NSApp modalWindow] != nil && !panelIsUp() && progress() == nil;
    }

    // Chooses the folder in the panel, as soon as it is up.
    static void choose(const std::string &folder);

    // Asked without a wait: the worker needs the main thread on its way there.
    bool workerStalls();
    // The window ends with the last chunk, and the worker closes the local file right after.
    bool holds(const std::string &file, const std::string &contents);

    static std::string opened;  // the path, or nothing yet
    static int activations, activationsBeforeOpening;
    vx::TemporaryFolder folder;

private:
    static BOOL recordOpening(id, SEL, NSURL *url);

    IMP _opener;
};
