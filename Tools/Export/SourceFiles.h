// The files of this machine that the opened volume lies in. No export may replace them. The open
// files alone are not enough: a library opens some parts of an image only when it needs them.
//
// These are all files that the process has open when this is made; those beside the image that are
// named like its parts ("disk.E02", "disk-s001.vmdk"); those that its descriptor names; and those
// that have keys. Threads: one at a time.
#pragma once

#include "LocalFile.h"

#include <set>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace vx {

class SourceFiles {
public:
    // volume: as it was opened, "disk.E01#2" and "disk.img@1048576" too. keys: files, and folders
    // of them.
    SourceFiles(const std::string &volume, const std::vector<std::string> &keys);
    // One more; a path that is empty or leads nowhere adds nothing.
    void AddFile(const std::string &path);

    bool Holds(const struct stat &file) const;
    // Whether a file that the program writes may get this path: nothing is there, or an ordinary
    // file that is none of these. False: error says why in one line.
    bool MayReplace(const std::string &path, std::string *error) const;

    // The path without the number or the offset of a volume: "disk.E01#2" → "disk.E01", "disk@512"
    // → "disk", unless the whole name leads to something.
    static std::string ImageOf(const std::string &volume);

private:
    void AddOpenFiles();
    void AddParts(const std::string &image);
    void AddNamedBy(const std::string &descriptor);
    void AddKeys(const std::string &path, int depth);

    std::set<FileIdentity> _files;
};

}  // namespace vx
