// Lets a program go on in the background once it has come to the point where it serves: until then
// it runs in front, with the terminal, and its status and signals are those of the command.
//
// The work is done by a child from the beginning, since keys would not stay locked in memory in a
// child that is made later. Threads: the main thread, before any other is started.
#pragma once

#include "UniqueFd.h"

namespace vx {

class Background {
public:
    // In the child it returns. The parent waits there until the child detaches itself, and ends
    // with status 0 then; if the child ends before, the parent ends as it did. False: there is no
    // child, and errno says why.
    bool Begin();

    // In the child: leaves the terminal, and lets the parent end. Does nothing without Begin.
    void Detach();

private:
    UniqueFd _toParent;
    UniqueFd _null;  // from the beginning: later there may be no descriptor left for it
};

}  // namespace vx
