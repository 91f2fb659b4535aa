// The faults of one run, as a file that the library of faulty calls reads; see Faults/FaultRules.h.
#pragma once

#include "RescueVolume.h"

#include <string>
#include <vector>

namespace vx {

// A read that was refused.
struct FailedRead {
    size_t part = 0;
    uint64_t offset = 0;
};

class FaultPlan {
public:
    static constexpr int kAlways = -1;

    // Reads that begin in the spot fail, so often; without an error they are slow.
    void Bad(const Spot &spot, int error, int times = kAlways, unsigned milliseconds = 0);
    // The first read that touches the spot is the end of the disk.
    void Gone(const Spot &spot, int error);
    void Destination(const std::string &path) { Add("destination\t" + path); }
    // Bytes that can still be written, and the error from then on.
    void Room(uint64_t bytes, int error);
    // The n-th write fails, counted from 1.
    void Hiccup(int write, int error);
    void Refuse(int error) { Add("refuse\t" + std::to_string(error)); }
    void Names(size_t bytes) { Add("names\t" + std::to_string(bytes)); }

    // parts: the files of the disk.
    void Save(const std::string &path, const std::vector<std::string> &parts,
              const std::string &log) const;
    static std::vector<FailedRead> ReadLog(const std::string &log);

private:
    void Add(const std::string &line) { _lines += line + "\n"; }

    std::string _lines;
};

}  // namespace vx
