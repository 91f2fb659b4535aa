// A pipe whose ends are close-on-exec. Linux makes them so at once; macOS has no call for that, and
// a child that another thread starts within the same moment may inherit them there.
//
// Threads: any.
#pragma once

#include "UniqueFd.h"

namespace vx {

struct PipeEnds {
    UniqueFd out;
    UniqueFd in;
};

// False: there is none, and errno says why.
bool MakePipe(PipeEnds *ends);

}  // namespace vx
