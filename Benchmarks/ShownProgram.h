// Starts a program with a window and measures when its picture comes to rest.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "DisplayClient.h"

// The picture at which the program's window comes to rest; 0: it showed none, or ended. The program
// is stopped afterwards, here and below.
uint64_t RestingPicture(const std::vector<std::string> &command, DisplayClient &display);

// Seconds from starting the process until its window shows the picture; negative: it never did.
double SecondsUntilShown(const std::vector<std::string> &command, DisplayClient &display,
                         uint64_t picture);
