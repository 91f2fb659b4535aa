#include "Destination.h"

#include "PathText.h"
#include "TerminalText.h"
#include "Unicode.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

bool FailFor(const std::string &what, const std::string &path, std::string *error)
{
    *error = what + TerminalText(path) + ": " + strerror(errno);
    return false;
}

bool IsWritableFolder(const std::string &path, const struct stat &found, std::string *error)
{
    if (!S_ISDIR(found.st_mode)) {
        *error = "the destination " + TerminalText(path) + " is not a folder";
        return false;
    }
    if (access(path.c_str(), W_OK | X_OK) != 0)
        return FailFor("cannot write to ", path, error);
    return true;
}

}  // namespace

bool Destination::IsUsable(std::string *error) const
{
    struct stat found;
    if (stat(_path.c_str(), &found) == 0)
        return IsWritableFolder(_path, found, error);
    if (errno != ENOENT)
        return FailFor("cannot use the destination ", _path, error);
    const std::string parent = FolderOf(_path);
    if (stat(parent.c_str(), &found) != 0)
        return FailFor("cannot make the destination in ", parent, error);
    return IsWritableFolder(parent, found, error);
}

bool Destination::IsFolder(const std::string &path) const
{
    struct stat own;
    struct stat other;
    if (stat(_path.c_str(), &own) != 0 || stat(path.c_str(), &other) != 0)
        return false;
    return own.st_dev == other.st_dev && own.st_ino == other.st_ino;
}

bool Destination::Find(bool *exists, std::string *error)
{
    *exists = access(_path.c_str(), F_OK) == 0;
    return !*exists || Resolve(error);
}

bool Destination::Prepare(bool *made, std::string *error)
{
    *made = mkdir(_path.c_str(), 0777) == 0;
    if (!*made && errno != EEXIST)
        return FailFor("cannot make the folder ", _path, error);
    if (Resolve(error))
        return true;
    if (*made)
        rmdir(_path.c_str());
    return false;
}

bool Destination::Resolve(std::string *error)
{
    const std::unique_ptr<char, decltype(&free)> resolved(realpath(_path.c_str(), nullptr), &free);
    if (!resolved)
        return FailFor("cannot use the destination ", _path, error);
    // The export engine takes no other paths; a link with a good name may lead to one.
    if (!IsUtf8(resolved.get())) {
        *error = "the destination " + TerminalText(_path) +
                 " lies in a folder whose name is not valid UTF-8";
        return false;
    }
    _path = resolved.get();
    return true;
}

}  // namespace vx
