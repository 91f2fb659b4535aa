// What a faulty disk and a faulty destination do, read once from the file that VX_FAULTS names.
//
// A line is a word and its values, separated by tabs:
//   log PATH                            failed reads are appended there
//   image PATH                          a file of the disk; the first one has the number 0
//   bad IMAGE START END ERRNO TIMES MS  reads from [START, END) fail so often, -1: always, or with
//                                       ERRNO 0 only take MS milliseconds longer
//   gone IMAGE START END ERRNO          from the read on that touches [START, END) nothing of the
//                                       disk can be read or opened
//   destination PATH                    the folder that the following lines are about
//   room BYTES ERRNO                    what can still be written there
//   hiccup N ERRNO                      the n-th write there fails, and no other
//   refuse ERRNO                        nothing there can be made, changed or removed
//   names BYTES                         what a name there may have
// Errors: a file that cannot be read, or a line that is not understood, ends the process, so that
// no test passes without its faults.
// Threads: any.
#pragma once

#include <atomic>
#include <cstdint>
#include <deque>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vx {

class FaultRules {
public:
    // The rules of this process.
    static FaultRules &Get();

    // How many of the bytes a read of an image may deliver: all, fewer, or -1 with errno set, as a
    // disk does it: what lies before the bad place arrives, and the next read fails.
    ssize_t Readable(int file, uint64_t offset, size_t count);
    // How many of the bytes may be written, or -1 with errno set.
    ssize_t Writable(int file, size_t count);
    // Whether Writable has anything to say about the file.
    bool IsFaulty(int file) const;
    // The error of opening or looking at a path for reading, 0 for none.
    int ErrorOfPath(const std::string &path) const;
    // The error of making, changing or removing a path, 0 for none.
    int ErrorOfChange(const std::string &path) const;

private:
    struct Bad {
        size_t image;
        uint64_t start;
        uint64_t end;
        int error;
        std::atomic<int64_t> times;
        unsigned milliseconds;
    };
    struct Image {
        std::string path;
        dev_t device;
        ino_t inode;
    };
    struct Gone {
        size_t image;
        uint64_t start;
        uint64_t end;
    };

    FaultRules();
    void Take(const std::string &line);
    bool TakeSource(const std::vector<std::string> &words);
    bool TakeDestination(const std::vector<std::string> &words);
    int ImageOf(int file) const;
    bool IsInDestination(const std::string &path) const;
    ssize_t UpTo(Bad &bad, uint64_t offset);
    void Log(size_t image, uint64_t offset) const;

    std::vector<Image> _images;
    std::deque<Bad> _bad;
    std::vector<Gone> _gone;
    int _goneError = 0;
    std::atomic<bool> _isGone{false};
    std::string _destination;
    std::atomic<int64_t> _room{-1};
    int _roomError = 0;
    std::atomic<int64_t> _writesToHiccup{0};
    int _hiccupError = 0;
    int _refusal = 0;
    size_t _nameBytes = 0;
    int _log = -1;
};

}  // namespace vx
