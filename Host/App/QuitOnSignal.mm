#include "QuitOnSignal.h"

#import <AppKit/AppKit.h>

#include "BackgroundWork.h"

#include <csignal>
#include <cstdlib>
#include <thread>

namespace vx {

QuitOnSignal::QuitOnSignal()
{
    if (Error().empty())
        std::thread([this] { PassOn(); }).detach();
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
        CallOnMain([] { [NSApp terminate:nil]; });
    }
}

}  // namespace vx
