// Measures two things side by side, in turns, so that a slow minute of the machine hits both. Each
// comes first in every second turn: the later one may find memory that the earlier one warmed up.
#pragma once

#include <functional>

// One measurement; any unit, but the same for both sides. Negative: it failed.
using Measurement = std::function<double()>;

struct Comparison {
    bool succeeded;
    double ours;    // median
    double theirs;  // median
    double ratio;   // the median of the ratios of each turn
};

// One turn warms up and does not count; then the given number of turns is measured.
Comparison Compare(int turns, const Measurement &ours, const Measurement &theirs);
