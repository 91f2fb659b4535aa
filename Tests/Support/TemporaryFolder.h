// A folder of its own for one test: made with a unique name under TMPDIR (or /tmp), and removed
// with everything in it, links not followed, when the object goes.
// Paths given to the operations are relative to the folder and separated by "/"; folders on the
// way are made. Every operation that fails throws std::system_error, which fails the test.
// Threads: several at a time, if they touch different files.
#pragma once

#include <string>
#include <string_view>

namespace vx {

class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder &) = delete;
    TemporaryFolder &operator=(const TemporaryFolder &) = delete;

    // Absolute, without links and without "/" at the end.
    const std::string &Path() const { return _path; }
    std::string At(const std::string &relative) const { return _path + '/' + relative; }

    // Each returns the absolute path of what was made.
    std::string MakeFolder(const std::string &relative) const;
    std::string WriteFile(const std::string &relative, std::string_view contents) const;
    // A file of the given size that holds zeros and takes no room on the disk.
    std::string MakeSparseFile(const std::string &relative, long long bytes) const;
    // A symbolic link with the given text.
    std::string MakeLink(const std::string &relative, const std::string &text) const;

    std::string ReadFile(const std::string &relative) const;

private:
    void MakeParents(const std::string &relative) const;

    std::string _path;
};

}  // namespace vx
