// Volume Host: the host application with a window.
#import <AppKit/AppKit.h>

#include "CoreDumps.h"
#include "FreeDescriptors.h"
#import "HostAppDelegate.h"
#include "HostArguments.h"
#include "QuitOnSignal.h"
#include "StandardDescriptors.h"
#include "SystemServices.h"
#include "TerminalText.h"
#include "ThreadChecks.h"

#include <cstdio>
#include <cstdlib>

namespace {

constexpr int kWrongUse = 2;
// With fifteen it shows its disks; a session takes more.
constexpr size_t kLeastDescriptors = 40;

// Before there is a display. Returns whether that was all, with its status.
bool Answer(const vx::HostArguments &arguments, int *status)
{
    *status = arguments.error.empty() ? EXIT_SUCCESS : kWrongUse;
    if (!arguments.error.empty())
        fprintf(stderr, "volume-host-window: %s\n%s", vx::TerminalText(arguments.error).c_str(),
                vx::kHostUsage);
    else if (arguments.help || arguments.version)
        fputs(arguments.help ? vx::kHostHelp : vx::kHostVersion, stdout);
    else
        return false;
    return true;
}

}  // namespace

int main(int argc, const char *argv[])
{
    vx::CheckThreads();
    if (!vx::HoldStandardDescriptors())
        return EXIT_FAILURE;
    int status = EXIT_SUCCESS;
    const vx::HostArguments arguments = vx::ParseHostArguments({argv + 1, argv + argc});
    if (Answer(arguments, &status))
        return status;
    if (!vx::AreDescriptorsFree(kLeastDescriptors)) {
        fputs("volume-host-window: too few files can be open at a time; raise the limit (ulimit "
              "-n)\n",
              stderr);
        return EXIT_FAILURE;
    }
    // Secrets are typed into it.
    vx::ForbidCoreDumpsForGood();
    const vx::QuitOnSignal signals;
    if (!signals.Error().empty()) {
        fprintf(stderr, "volume-host-window: %s\n", signals.Error().c_str());
        return EXIT_FAILURE;
    }
    // A bare argument is the delegate's business alone.
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    [[NSUserDefaults standardUserDefaults]
        registerDefaults:[NSDictionary dictionaryWithObject:@"NO"
                                                     forKey:@"NSTreatUnknownArgumentsAsOpen"]];
    [HostAppDelegate setServicesMaker:vx::SystemServices];
    [HostAppDelegate setImage:arguments.image];
    [pool release];
    return NSApplicationMain(argc, argv);
}
