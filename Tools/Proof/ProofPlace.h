// Whether the hash list and the report of an export can be written where the user wants them, found
// out before anything is exported.
//
// They lie outside the destination, so that they are no part of what they describe, and outside a
// plain folder that is exported. Nothing but an ordinary file is replaced.
// Threads: any. Errors: one line, ready to follow "volume-export: ".
#pragma once

#include <functional>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace vx {

struct ProofFile {
    const char *option;  // "--manifest"
    std::string path;    // as given
};

struct ProofSurroundings {
    std::string destination;                               // it need not exist yet
    std::string volume;                                    // what is opened
    std::function<bool(const struct stat &found)> isRead;  // by the export: the image, its parts
};

// None of the files may be another one, nor lie where another one puts its partial file or journal.
bool MayWrite(const std::vector<ProofFile> &files, const ProofSurroundings &surroundings,
              std::string *error);

}  // namespace vx
