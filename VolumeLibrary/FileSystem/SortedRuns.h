// A set of values that only grows, in sorted runs that are joined as they come to the same length.
//
// A volume that was made to deceive cannot make adding or finding slow, as it could with hashes of
// its choice. Memory: the values, and the longest run while two are joined.
// Threads: one at a time.
#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <vector>

namespace vx {

template <typename Value>
class SortedRuns {
public:
    // Values that are equal may be added; all of them are kept.
    void Add(const Value &value)
    {
        _runs.push_back({value});
        ++_size;
        while (_runs.size() > 1 && MayJoin(*std::prev(_runs.end(), 2), _runs.back()))
            JoinLast();
    }

    // Whether isIt is true for the last value below the wanted one, in any of the runs.
    template <typename Is>
    bool HasBelow(const Value &wanted, Is isIt) const
    {
        return std::any_of(_runs.begin(), _runs.end(), [&](const Run &run) {
            const auto above = std::lower_bound(run.begin(), run.end(), wanted);
            return above != run.begin() && isIt(*std::prev(above));
        });
    }

    bool Has(const Value &value) const
    {
        return std::any_of(_runs.begin(), _runs.end(), [&](const Run &run) {
            return std::binary_search(run.begin(), run.end(), value);
        });
    }

    size_t Size() const { return _size; }

private:
    using Run = std::vector<Value>;

    static constexpr size_t kLongest = size_t{1} << 16;

    static bool MayJoin(const Run &earlier, const Run &last)
    {
        return earlier.size() <= last.size() && earlier.size() + last.size() <= kLongest;
    }

    void JoinLast()
    {
        const Run &last = _runs.back();
        Run &earlier = *std::prev(_runs.end(), 2);
        Run joined;
        joined.reserve(earlier.size() + last.size());
        std::merge(earlier.begin(), earlier.end(), last.begin(), last.end(),
                   std::back_inserter(joined));
        earlier = std::move(joined);
        _runs.pop_back();
    }

    std::vector<Run> _runs;
    size_t _size = 0;
};

}  // namespace vx
