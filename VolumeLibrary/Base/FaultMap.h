// Which parts of a disk cannot be read, as sorted runs that do not touch each other.
//
// Threads: one at a time. Memory: 1 MiB at most. A full map only extends existing runs; other
// failures are retried by the next read. Units: bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace vx {

struct BadRun {
    uint64_t begin = 0;
    uint64_t end = 0;
    bool isOpen = false;  // whether it continues at its end is not known yet
};

class FaultMap {
public:
    static constexpr size_t kMostRuns = (size_t{1} << 20) / sizeof(BadRun);

    // Joins the run with those that it touches; whether it is open is then said by the one that
    // ends last. False if the map is full.
    bool Add(const BadRun &run);

    // The run that holds the place, or an open one that ends there.
    std::optional<BadRun> At(uint64_t place) const;
    // Where the first run from this place on begins; UINT64_MAX if there is none.
    uint64_t NextBegin(uint64_t place) const;

private:
    std::vector<BadRun> _runs;
};

}  // namespace vx
