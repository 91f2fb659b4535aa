// The files or the device that a disk is read from, by their paths: whether they are still there.
//
// A path that leads nowhere or to something else by now, a file that has become empty and a device
// without a size are gone. Threads: unchanging; any number at a time.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace vx {

class ImageFiles {
public:
    // What cannot be examined now is not watched.
    explicit ImageFiles(const std::vector<std::string> &paths);

    bool AreThere() const;

private:
    struct File {
        std::string path;
        dev_t device = 0;  // where it lies, or of a device itself
        ino_t number = 0;  // 0 for a device
        bool wasEmpty = false;

        bool IsSame(const File &other) const;
    };

    static bool Look(const std::string &path, File *file);
    static bool IsThere(const File &file);

    std::vector<File> _files;
};

}  // namespace vx
