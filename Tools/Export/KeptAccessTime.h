// While a file is read that is open here, and gets back the access time that it had: reading a copy
// leaves no trace in its times.
//
// Ownership: borrows the descriptor. Threads: one at a time.
#pragma once

#include <ctime>
#include <sys/stat.h>

namespace vx {

class KeptAccessTime {
public:
    explicit KeptAccessTime(int file);
    ~KeptAccessTime();
    KeptAccessTime(const KeptAccessTime &) = delete;
    KeptAccessTime &operator=(const KeptAccessTime &) = delete;

private:
    const int _file;
    timespec _accessed;
};

// Its own source for each system.
timespec AccessTimeOf(const struct stat &file);

}  // namespace vx
