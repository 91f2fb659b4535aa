#include "ProofPlace.h"

#include "PathText.h"
#include "ReplacementFile.h"
#include "TerminalText.h"

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <set>
#include <unistd.h>

namespace vx {
namespace {

// What a name gets at both ends: "." and ".journal" or ".partial".
constexpr size_t kMostAdded = 9;

struct FreeText {
    void operator()(char *text) const { free(text); }
};

std::string RealPath(const std::string &path)
{
    const std::unique_ptr<char, FreeText> real(realpath(path.c_str(), nullptr));
    return real == nullptr ? "" : real.get();
}

std::string NameOf(const std::string &path)
{
    return path.substr(path.rfind('/') + 1);
}

bool IsSameFolder(const struct stat &left, const std::string &right)
{
    struct stat found;
    return stat(right.c_str(), &found) == 0 && S_ISDIR(found.st_mode) &&
           found.st_dev == left.st_dev && found.st_ino == left.st_ino;
}

// folder: absolute, without links. outer: any path; no folder holds anything if it is none.
bool LiesIn(std::string folder, const std::string &outer)
{
    while (true) {
        struct stat found;
        if (stat(folder.c_str(), &found) == 0 && IsSameFolder(found, outer))
            return true;
        if (folder == "/")
            return false;
        folder = FolderOf(folder);
    }
}

std::string ReasonAgainstFolder(const std::string &folder, const std::string &name,
                                const ProofSurroundings &surroundings)
{
    const std::string real = RealPath(folder);
    if (real.empty() || faccessat(AT_FDCWD, real.c_str(), W_OK | X_OK, AT_EACCESS) != 0)
        return std::string("its folder cannot be written: ") + strerror(errno);
    const long longest = pathconf(real.c_str(), _PC_NAME_MAX);
    if (name.size() + kMostAdded > static_cast<size_t>(longest > 0 ? longest : NAME_MAX))
        return "its name is too long";
    if (LiesIn(real, surroundings.destination))
        return "it lies in the destination; choose a place outside";
    if (LiesIn(real, surroundings.volume))
        return "it lies in the folder that is exported; choose a place outside";
    return "";
}

std::string ReasonAgainstFound(const std::string &path, const ProofSurroundings &surroundings)
{
    struct stat found;
    if (lstat(path.c_str(), &found) != 0)
        return errno == ENOENT ? "" : strerror(errno);
    if (S_ISDIR(found.st_mode))
        return "it is a folder";
    if (S_ISLNK(found.st_mode))
        return "it is a symbolic link";
    if (!S_ISREG(found.st_mode))
        return "it is not an ordinary file";
    if (surroundings.isRead(found))
        return "this export reads it";
    if (faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0)
        return strerror(errno);
    return "";
}

std::string ReasonAgainst(const std::string &path, const ProofSurroundings &surroundings)
{
    const std::string name = NameOf(path);
    if (name.empty() || name == "." || name == "..")
        return "it is a folder";
    const std::string reason = ReasonAgainstFolder(FolderOf(path), name, surroundings);
    return reason.empty() ? ReasonAgainstFound(path, surroundings) : reason;
}

// False if one of the names that the file needs is taken by another file.
bool TakeNames(const std::string &path, std::set<std::string> *names)
{
    const std::string real = RealPath(FolderOf(path)) + "/" + NameOf(path);
    return names->insert(real).second && names->insert(PartialPathOf(real)).second &&
           names->insert(RealPath(FolderOf(path)) + "/." + NameOf(path) + ".journal").second;
}

}  // namespace

bool MayWrite(const std::vector<ProofFile> &files, const ProofSurroundings &surroundings,
              std::string *error)
{
    std::set<std::string> names;
    for (const ProofFile &file : files) {
        std::string reason = ReasonAgainst(file.path, surroundings);
        if (reason.empty() && !TakeNames(file.path, &names))
            reason = "another option names the same file, or one that belongs to it";
        if (reason.empty())
            continue;
        *error = std::string("cannot write the file of ") + file.option + ", " +
                 TerminalText(file.path) + ": " + reason;
        return false;
    }
    return true;
}

}  // namespace vx
