// Opens an image, for tests that look at the container or at why it does not open.
#pragma once

#include "Container.h"

namespace vx {

inline Error OpenAt(const std::string &path, Container *container)
{
    Result<Container> opened = OpenContainer(path);
    if (!opened)
        return opened.Failure();
    *container = std::move(*opened);
    return {};
}

}  // namespace vx
