// An invariant of a fuzz target; the process ends if it does not hold.
#pragma once

#include <cstdio>
#include <cstdlib>

inline void Require(bool holds, const char *what)
{
    if (holds)
        return;
    fprintf(stderr, "does not hold: %s\n", what);
    abort();
}
