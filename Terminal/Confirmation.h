// Asks on the terminal whether to go on. Only "y" and "yes" are a yes, in any case of letters.
//
// Threads: the main thread.
#pragma once

#include <string>

namespace vx {

enum class Confirmation { kYes, kNo, kInterrupted };

// Whether there is somebody to ask: standard input and standard error are terminals.
bool CanConfirm();

// question: shown on standard error. The end of input is a no, and so is a lack of descriptors to
// wait for the answer. kInterrupted: signal receives the number of the signal that is to end the
// program, which can clean up before.
Confirmation Confirm(const std::string &question, int *signal);

}  // namespace vx
