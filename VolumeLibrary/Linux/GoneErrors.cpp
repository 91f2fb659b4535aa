#include "GoneErrors.h"

#include <cerrno>

namespace vx {

bool MeansGone(int error)
{
    switch (error) {
    case ENXIO:
    case ENODEV:
    case ENOMEDIUM:
    case ESTALE:
    case ENOTCONN:
    case ESHUTDOWN:
    case EHOSTDOWN:
        return true;
    default:
        return false;
    }
}

}  // namespace vx
