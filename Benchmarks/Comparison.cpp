#include "Comparison.h"

#include <algorithm>
#include <vector>

namespace {

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

}  // namespace

Comparison Compare(int turns, const Measurement &ours, const Measurement &theirs)
{
    std::vector<double> oursSeen;
    std::vector<double> theirsSeen;
    std::vector<double> ratios;
    for (int turn = 0; turn <= turns; ++turn) {
        const bool oursFirst = turn % 2 == 0;
        const double first = oursFirst ? ours() : theirs();
        const double second = oursFirst ? theirs() : ours();
        const double ourValue = oursFirst ? first : second;
        const double theirValue = oursFirst ? second : first;
        if (ourValue < 0 || theirValue <= 0)
            return {false, 0, 0, 0};
        if (turn == 0)
            continue;
        oursSeen.push_back(ourValue);
        theirsSeen.push_back(theirValue);
        ratios.push_back(ourValue / theirValue);
    }
    return {true, Median(oursSeen), Median(theirsSeen), Median(ratios)};
}
