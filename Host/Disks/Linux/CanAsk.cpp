#include "ReadingRight.h"

namespace vx {

bool CanAskForReadingRight()
{
    return true;
}

}  // namespace vx
