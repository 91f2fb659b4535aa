#include "QuitOnSignal.h"

#import <AppKit/AppKit.h>

#include "BackgroundWork.h"
#include "StartThread.h"

#include <csignal>
#include <cstdlib>

namespace vx {
namespace {

// By the loop: the application awaits the end of a session within this call, and the main queue
// would hand over nothing until it returns.
void TerminateSoon()
{
    NSArray *modes = @[ NSDefaultRunLoopMode, NSModalPanelRunLoopMode, NSEventTrackingRunLoopMode ];
    [NSApp performSelector:@selector(terminate:) withObject:nil afterDelay:0 inModes:modes];
}

}  // namespace

QuitOnSignal::QuitOnSignal() : _error(_events.Error())
{
    if (!_error.empty())
        return;
    std::thread thread = StartThread([this] { PassOn(); });
    if (thread.joinable())
        thread.detach();
    else
        _error = "no thread is left; end other programs first";
}

void QuitOnSignal::PassOn()
{
    bool isEnding = false;
    for (;;) {
        const std::optional<int> event = _events.Await(std::nullopt);
        if (!event || *event == SIGCHLD)
            continue;
        if (isEnding)
            _Exit(EXIT_FAILURE);
        isEnding = true;
        CallOnMain(TerminateSoon);
    }
}

}  // namespace vx
