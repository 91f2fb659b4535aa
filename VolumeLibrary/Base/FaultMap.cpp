#include "FaultMap.h"

#include <algorithm>
#include <iterator>

namespace vx {

bool FaultMap::Add(const BadRun &run)
{
    BadRun joined = run;
    const auto first =
        std::lower_bound(_runs.begin(), _runs.end(), run.begin,
                         [](const BadRun &known, uint64_t begin) { return known.end < begin; });
    auto last = first;
    for (; last != _runs.end() && last->begin <= joined.end; ++last) {
        joined.begin = std::min(joined.begin, last->begin);
        if (last->end > joined.end) {
            joined.end = last->end;
            joined.isOpen = last->isOpen;
        }
    }
    if (first != last) {
        *first = joined;
        _runs.erase(std::next(first), last);
        return true;
    }
    if (_runs.size() == kMostRuns)
        return false;
    _runs.insert(first, joined);
    return true;
}

std::optional<BadRun> FaultMap::At(uint64_t place) const
{
    const auto above =
        std::upper_bound(_runs.begin(), _runs.end(), place,
                         [](uint64_t wanted, const BadRun &run) { return wanted < run.begin; });
    if (above == _runs.begin())
        return std::nullopt;
    const BadRun &run = *std::prev(above);
    const bool isAt = place < run.end || (place == run.end && run.isOpen);
    return isAt ? std::optional(run) : std::nullopt;
}

uint64_t FaultMap::NextBegin(uint64_t place) const
{
    const auto next =
        std::lower_bound(_runs.begin(), _runs.end(), place,
                         [](const BadRun &run, uint64_t wanted) { return run.begin < wanted; });
    return next == _runs.end() ? UINT64_MAX : next->begin;
}

}  // namespace vx
