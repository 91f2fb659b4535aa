#include "PipeEnds.h"

#include <fcntl.h>
#include <unistd.h>

namespace vx {

bool MakePipe(PipeEnds *ends)
{
    int numbers[2];
    if (pipe2(numbers, O_CLOEXEC) != 0)
        return false;
    ends->out = UniqueFd(numbers[0]);
    ends->in = UniqueFd(numbers[1]);
    return true;
}

}  // namespace vx
