// The function of that name that this library stands in front of. type: a pointer to it.
#pragma once

#include <dlfcn.h>

namespace vx {

template <typename Function>
Function Next(const char *name)
{
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

}  // namespace vx
