#include "TskError.h"

#include <algorithm>
#include <tsk/libtsk.h>

namespace vx {

std::string TakeTskError()
{
    const char *text = tsk_error_get();
    std::string line = text != nullptr ? text : "";
    std::replace(line.begin(), line.end(), '\n', ' ');
    tsk_error_reset();
    return line;
}

}  // namespace vx
