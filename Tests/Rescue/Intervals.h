// A set of places, kept as intervals from a first place to one past the last.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace vx {

struct Interval {
    uint64_t from = 0;
    uint64_t to = 0;
};

class Intervals {
public:
    void Add(uint64_t from, uint64_t to) { _all.push_back({from, to}); }
    void Add(const Intervals &others)
    {
        _all.insert(_all.end(), others._all.begin(), others._all.end());
    }

    bool IsEmpty() const { return _all.empty(); }
    bool Holds(uint64_t place) const
    {
        return std::any_of(_all.begin(), _all.end(), [place](const Interval &one) {
            return one.from <= place && place < one.to;
        });
    }

private:
    std::vector<Interval> _all;
};

}  // namespace vx
