// A file on its way: it lies beside its place under a hidden name of its own, ".NAME.partial", and
// takes the place only when it is complete. What stood there stays until then.
//
// Ownership: removes the partial file when it goes, unless that was delivered. Borrows the folder,
// which must be open until then. Threads: one at a time. Errors: errno.
#pragma once

#include "LocalFile.h"

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

    // Creates the partial file. folder: an open one. longest: bytes of a name. replaced: what
    // stands in its place, or null; the new file gets its owner, as far as that is allowed, and its
    // permissions. Null if it could not be created; the caller closes the stream.
    FILE *Create(int folder, const std::string &name, size_t longest, const struct stat *replaced);

    // Puts the complete file into its place.
    bool Deliver();
    // Puts it beside its place, under a name that says that it is damaged; empty if that fails.
    std::string DeliverAsDamaged();
    // Removes the partial file, if there is one.
    void Discard();

    // What tells the file apart, wherever it lies.
    const FileIdentity &Identity() const { return _identity; }

private:
    int CreatePartial();
    bool MoveTo(const std::string &name);

    int _folder = -1;
    std::string _name;
    std::string _partial;  // empty: there is none
    size_t _longest = 0;
    FileIdentity _identity = {0, 0};
};

}  // namespace vx
