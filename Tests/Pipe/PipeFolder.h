// A folder of its own for the FIFOs of one test.
#pragma once

#include "TemporaryFolder.h"

#include <string>
#include <sys/stat.h>

class PipeFolder : public vx::TemporaryFolder {
public:
    // The FIFOs of a link, named as its client uses them.
    std::string ToClient() const { return At("to-client"); }
    std::string ToServer() const { return At("to-server"); }

    static bool Exists(const std::string &path)
    {
        struct stat status;
        return lstat(path.c_str(), &status) == 0;
    }
};
