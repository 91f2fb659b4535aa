#include "MethodReplacement.h"

#include "ThreadChecks.h"

#include <objc/runtime.h>

namespace vx {

IMP replaceMethod(Class owner, SEL selector, IMP replacement)
{
    AssertMainThread();
    struct objc_method *method = class_getInstanceMethod(owner, selector);
    NSCAssert(method != nullptr, @"no method of that name");
    return method_setImplementation(method, replacement);
}

}  // namespace vx
