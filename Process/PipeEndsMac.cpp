#include "PipeEnds.h"

#include <fcntl.h>
#include <unistd.h>

namespace vx {

bool MakePipe(PipeEnds *ends)
{
    int numbers[2];
    if (pipe(numbers) != 0)
        return false;
    ends->out = UniqueFd(numbers[0]);
    ends->in = UniqueFd(numbers[1]);
    for (const int number : numbers) {
        if (fcntl(number, F_SETFD, FD_CLOEXEC) == -1)
            return false;
    }
    return true;
}

}  // namespace vx
