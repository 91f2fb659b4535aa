// Asks for a secret without showing it.
//
// On a terminal the question goes to standard error and the answer is not echoed; the terminal
// is as before afterwards, also when a signal ends or stops the program meanwhile. Otherwise one
// line is read from standard input. Nothing after the line is consumed.
// Threads: main, before others exist.
#pragma once

#include <string>

namespace vx {

// False if standard input ended before a line began.
bool AskSecret(const std::string &question, std::string *secret);

// Overwrites the secret in memory and empties it.
void WipeSecret(std::string *secret);

}  // namespace vx
