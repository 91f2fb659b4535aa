#include "LostRelease.h"

#include "ThreadChecks.h"

#import <AppKit/AppKit.h>
#import <GNUstepGUI/GSDisplayServer.h>

#include <dlfcn.h>

namespace vx {

// The display's library is loaded at run time, by the window library's back end.
bool isAnyButtonPressed()
{
    AssertMainThread();
    using RootWindow = unsigned long (*)(void *);
    using QueryPointer = int (*)(void *, unsigned long, unsigned long *, unsigned long *, int *,
                                 int *, int *, int *, unsigned *);
    constexpr unsigned kButtons = 0x1f00;
    const auto rootWindow = reinterpret_cast<RootWindow>(dlsym(RTLD_DEFAULT, "XDefaultRootWindow"));
    const auto queryPointer = reinterpret_cast<QueryPointer>(dlsym(RTLD_DEFAULT, "XQueryPointer"));
    void *const display = [GSCurrentServer() serverDevice];
    if (rootWindow == nullptr || queryPointer == nullptr || display == nullptr)
        return true;
    unsigned long root = 0, child = 0;
    int x = 0, y = 0, inX = 0, inY = 0;
    unsigned pressed = 0;
    if (queryPointer(display, rootWindow(display), &root, &child, &x, &y, &inX, &inY, &pressed) ==
        0)
        return true;
    return (pressed & kButtons) != 0;
}

}  // namespace vx
