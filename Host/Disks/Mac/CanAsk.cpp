// There is no polkit.
#include "ReadingRight.h"

namespace vx {

bool CanAskForReadingRight()
{
    return false;
}

}  // namespace vx
