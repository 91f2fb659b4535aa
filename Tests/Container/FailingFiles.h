// Files of which parts cannot be read, whoever in this process opens and reads them: for the
// libraries that open images by themselves. Takes the place of the system's read and pread.
// Threads: faults are made while nobody reads.
#pragma once

#include <cstdint>
#include <string>

namespace vx {

class FailingFiles {
public:
    FailingFiles() = default;
    // Nothing fails any more.
    ~FailingFiles();
    FailingFiles(const FailingFiles &) = delete;
    FailingFiles &operator=(const FailingFiles &) = delete;

    // Reads of the file stop before this range, and fail at it.
    void MakeBad(const std::string &path, uint64_t begin, uint64_t length);
    int FailedReads() const;
};

}  // namespace vx
