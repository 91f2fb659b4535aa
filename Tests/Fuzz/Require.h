// A condition that a fuzz target holds to be always true; the process stops if it is not.
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
