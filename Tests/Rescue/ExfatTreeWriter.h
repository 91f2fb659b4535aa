// Writes files and their folders into a fresh exFAT image, one cluster after the other.
#pragma once

#include "ExfatImage.h"

#include <map>
#include <string>

namespace vx {

class ExfatTreeWriter {
public:
    // made: the image as mkfs.exfat has made it.
    explicit ExfatTreeWriter(const std::string &made);

    // path: "/" in front, UTF-8. inPieces: every second cluster, so that the table is needed.
    void Add(const std::string &path, const std::string &contents, bool inPieces);

    std::string Image() const { return _image.Text(); }

private:
    // The first cluster of the folder, "" for the root; made with all above it if it is missing.
    uint32_t FolderAt(const std::string &path);

    ExfatImage _image;
    std::map<std::string, uint32_t> _folders;
    uint32_t _next = 64;  // the first cluster that nothing has taken
};

}  // namespace vx
