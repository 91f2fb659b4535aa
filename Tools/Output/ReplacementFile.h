// A file of this machine that is written beside its place, as ".NAME.partial", and takes the place
// when it is complete: what stood there stays until then. If that name is taken, by what a killed
// run has left, by another run or by anything else, the file has a number in it.
//
// Ownership: removes the partial file when it goes, unless that was delivered. Threads: one at a
// time. Errors: errno, which the first failure sets.
#pragma once

#include "UniqueFd.h"

#include <string>
#include <string_view>

namespace vx {

// ".NAME.partial" in the same folder; of a later number ".NAME.2.partial".
std::string PartialPathOf(const std::string &path, unsigned number = 1);

class ReplacementFile {
public:
    explicit ReplacementFile(std::string path);
    ~ReplacementFile();
    ReplacementFile(const ReplacementFile &) = delete;
    ReplacementFile &operator=(const ReplacementFile &) = delete;

    bool Create();
    // After a failure nothing more is written, and Deliver fails.
    void Write(std::string_view text);
    // Makes it durable, with its folder, and moves it into its place.
    bool Deliver();

    // errno of the first failure; 0 without one.
    int Error() const { return _error; }

private:
    bool Note(bool done);
    bool Flush();
    void TakeAfter();

    const std::string _path;
    std::string _partial;
    UniqueFd _file;
    std::string _buffer;
    int _error = 0;
};

}  // namespace vx
