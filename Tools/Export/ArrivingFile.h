// A file that is being written: it lies beside its place under a hidden name, ".NAME.partial", and
// takes the place only when it is complete. What stood there stays until then.
//
// Ownership: removes the partial file when it goes, unless that was delivered. Borrows the folder,
// which must be open until then. Threads: one at a time. Errors: errno.
#pragma once

#include "LocalFile.h"
#include "UniqueFd.h"

#include <cstdio>
#include <string>
#include <sys/stat.h>

namespace vx {

class ArrivingFile {
public:
    ArrivingFile() = default;
    ~ArrivingFile() { Discard(); }
    ArrivingFile(const ArrivingFile &) = delete;
    ArrivingFile &operator=(const ArrivingFile &) = delete;

    // Creates the partial file. folder: an open one. longest: the most bytes of a name. replaced:
    // what stands in its place, or null; the new file gets its owner if that is allowed, and its
    // permissions. Null if it could not be created; the caller closes the stream.
    FILE *Create(int folder, const std::string &name, size_t longest, const struct stat *replaced);

    // Puts the complete file into its place.
    bool Deliver();
    // Puts it beside its place, under a name that says that it is damaged; empty if that fails.
    std::string DeliverAsDamaged();
    // Removes the partial file, if there is one.
    void Discard();

    // Stays the same when the file is moved.
    const FileIdentity &Identity() const { return _identity; }

private:
    UniqueFd CreatePartial();
    bool MoveTo(const std::string &name);

    int _folder = -1;
    std::string _name;
    std::string _partial;  // empty: there is none
    size_t _longest = 0;
    FileIdentity _identity = {0, 0};
};

}  // namespace vx
