// Files of which parts cannot be read, for all code of this process. Replaces the system's read and
// pread. Threads: faults are made while no thread reads.
#pragma once

#include <cstdint>
#include <string>

namespace vx {

class FailingFiles {
public:
    FailingFiles() = default;
    // Removes all faults.
    ~FailingFiles();
    FailingFiles(const FailingFiles &) = delete;
    FailingFiles &operator=(const FailingFiles &) = delete;

    // Reads of the file end before this range and fail in it.
    void MakeBad(const std::string &path, uint64_t begin, uint64_t length);
    int FailedReads() const;
};

}  // namespace vx
