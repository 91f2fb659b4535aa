// Puts another implementation in a library method's place, where a category would lose the
// original.
#pragma once

#import <Foundation/Foundation.h>

namespace vx {

// Returns the original implementation, to be called with the same receiver and selector. The method
// must exist; the type of `replacement` must be the method's own. Main thread, before the method is
// in use.
IMP replaceMethod(Class owner, SEL selector, IMP replacement);

}  // namespace vx
