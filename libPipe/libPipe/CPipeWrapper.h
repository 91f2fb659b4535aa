// One end of one named FIFO: remembers a path and open flags, makes the FIFO on demand, opens
// it, moves raw blocks and removes its path.
//
// Life: unset (no path) -> InitPipe -> set -> OpenPipe -> open -> ClosePipe -> unset.
// Ownership: the descriptor, which is close-on-exec, is closed by ClosePipe and by destruction.
// The FIFO file outlives the object unless DeletePipe is called.
// Threads: one at a time; there is no lock.
// Errors: -1 as a result, nothing else. A reader that went away never ends the process.
//
// The paths lie in a folder that others can write to. Whatever is opened must therefore turn
// out to be a FIFO, reached through no symbolic link; anything else counts as a failed open.
#pragma once

#include "UniqueFd.h"

#include <cstddef>
#include <sys/types.h>

class CPipeWrapper {
public:
    // Bytes of the stored path, its terminating zero included.
    static constexpr size_t kPathSize = 1024;
    // Whether a path can be stored whole; null cannot.
    static bool PathFits(const char *name);

    CPipeWrapper() = default;
    ~CPipeWrapper() = default;
    CPipeWrapper(const CPipeWrapper &) = delete;
    CPipeWrapper &operator=(const CPipeWrapper &) = delete;

    // Stores the path and the flags of open(). The flag O_CREAT means: make the FIFO first.
    // A name that is null or does not fit changes nothing. Touches no file.
    void InitPipe(const char *name, int flags);
    // Returns the new descriptor, or -1. A descriptor already held is not closed, only
    // replaced: a caller that opens twice keeps the first descriptor itself.
    int OpenPipe();
    // Zero-fills the buffer and reads once, up to len bytes. Returns the bytes read, 0 when no
    // writer has the FIFO open, -1 when nothing is waiting and on every failure.
    long ReadFromPipe(char *buf, size_t len);
    // Writes once. Returns the bytes written or -1. Blocks of up to PIPE_BUF bytes go whole.
    long WriteToPipe(const char *buf, size_t len);
    // Closes the descriptor and forgets the path; nothing if no descriptor is held.
    void ClosePipe();
    // Unlinks the path, which must be done before ClosePipe forgets it. Returns what unlink
    // returns: -1 also when there is no path.
    int DeletePipe();

    int GetPipeDescr() const { return _descriptor.Get(); }
    const char *GetPipeName() const { return _path; }

private:
    vx::UniqueFd _descriptor;
    int _flags = 0;
    char _path[kPathSize] = {};
};
