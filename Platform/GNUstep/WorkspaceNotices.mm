#include "WorkspaceNotices.h"

#include "MethodReplacement.h"
#include "ThreadChecks.h"

#import <AppKit/AppKit.h>
#include <objc/runtime.h>

@interface NSObject (WorkspaceCenter)
- (void)_handleRemoteNotification:(NSNotification *)notification;
@end

namespace vx {
namespace {

constexpr char kRemote[] = "remote";

// As the library's own, but with a plain centre instead of the daemon's.
id initAlone(id center, SEL selector)
{
    IMP base = class_getMethodImplementation([NSNotificationCenter class], selector);
    center = reinterpret_cast<id (*)(id, SEL)>(base)(center, selector);
    if (center == nil)
        return nil;
    NSNotificationCenter *remote = [[NSNotificationCenter alloc] init];
    object_setInstanceVariable(center, kRemote, remote);
    [remote addObserver:center selector:@selector(_handleRemoteNotification:) name:nil object:nil];
    return center;
}

}  // namespace

void installWorkspaceNotices()
{
    AssertMainThread();
    Class center = NSClassFromString(@"_GSWorkspaceCenter");
    if (class_getInstanceVariable(center, kRemote) != nullptr)
        replaceMethod(center, @selector(init), reinterpret_cast<IMP>(initAlone));
}

}  // namespace vx
