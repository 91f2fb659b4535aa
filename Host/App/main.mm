// Volume Host: VolumeHost [PATH]
#import <AppKit/AppKit.h>

#include "EndingSignals.h"
#import "HostAppDelegate.h"
#include "StandardDescriptors.h"
#include "SystemServices.h"
#include "ThreadChecks.h"

#include <cstdlib>

int main(int argc, const char *argv[])
{
    vx::CheckThreads();
    if (!vx::HoldStandardDescriptors())
        return EXIT_FAILURE;
    const vx::EndingSignals signals;
    // A bare argument is the delegate's business alone.
    NSAutoreleasePool *pool = [NSAutoreleasePool new];
    [[NSUserDefaults standardUserDefaults]
        registerDefaults:[NSDictionary dictionaryWithObject:@"NO"
                                                     forKey:@"NSTreatUnknownArgumentsAsOpen"]];
    [HostAppDelegate setServicesMaker:vx::SystemServices];
    [pool release];
    return NSApplicationMain(argc, argv);
}
