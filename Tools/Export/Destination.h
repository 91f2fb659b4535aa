// The folder of this machine that an export goes to.
#pragma once

#include <string>
#include <utility>

namespace vx {

class Destination {
public:
    explicit Destination(std::string path) : _path(std::move(path)) {}

    // Whether files can be put there, or the folder can be made; changes nothing. If not, error
    // says why in one line.
    bool IsUsable(std::string *error) const;

    // Whether the destination exists and is the very folder at the given path.
    bool IsFolder(const std::string &path) const;

    // Resolves the path of the folder if it exists. False: as for Prepare.
    bool Find(bool *exists, std::string *error);

    // Makes the folder if it is missing and resolves its path. made: whether it was. False: error
    // says why in one line, and nothing was made.
    bool Prepare(bool *made, std::string *error);

    // As given, and absolute without links after Find, for a folder that exists,
    // and Prepare; no "/" at the end, the root aside.
    const std::string &Path() const { return _path; }

private:
    bool Resolve(std::string *error);

    std::string _path;
};

}  // namespace vx
