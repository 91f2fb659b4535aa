#include "MountPoint.h"

#include "TerminalText.h"
#include "UniqueFd.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sstream>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr char kDevice[] = "/dev/fuse";
constexpr char kProgram[] = "fusermount3";
// Where libfuse of Debian looks before it searches the path.
constexpr char kUsualProgram[] = "/usr/bin/fusermount3";

struct Free {
    void operator()(char *text) const { free(text); }
};
struct CloseFolder {
    void operator()(DIR *folder) const { closedir(folder); }
};

std::string Resolved(const std::string &path)
{
    const std::unique_ptr<char, Free> resolved(realpath(path.c_str(), nullptr));
    return resolved == nullptr ? "" : resolved.get();
}

bool IsInPath(const std::string &program)
{
    const char *path = getenv("PATH");
    std::istringstream folders(path == nullptr ? "" : path);
    for (std::string folder; std::getline(folders, folder, ':');) {
        folder.append("/").append(program);
        if (access(folder.c_str(), X_OK) == 0)
            return true;
    }
    return false;
}

std::string WhyNoDevice(int error)
{
    const std::string device = kDevice;
    if (error == EACCES || error == EPERM)
        return device + " may not be used by this user; ask for access to it";
    return device +
           " is missing; load the kernel's part of FUSE with \"modprobe fuse\", or let the "
           "container have the device";
}

std::string WhyNotUsable(int error)
{
    if (error == ENOENT)
        return "there is nothing at this path; make an empty folder there";
    if (error == ENOTCONN)
        return "a mount whose program has ended is there; remove it with \"fusermount3 -u\"";
    return strerror(error);
}

bool IsEmpty(DIR *folder)
{
    while (const dirent *entry = readdir(folder)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..")
            return false;
    }
    return true;
}

bool IsBelow(const std::string &path, const std::string &folder)
{
    return path == folder || folder == "/" || path.rfind(folder + "/", 0) == 0;
}

}  // namespace

bool CanMount(std::string *error)
{
    const UniqueFd device(open(kDevice, O_RDWR | O_CLOEXEC));
    if (!device) {
        *error = WhyNoDevice(errno);
        return false;
    }
    if (geteuid() == 0 || access(kUsualProgram, X_OK) == 0 || IsInPath(kProgram))
        return true;
    *error = "the program fusermount3 is missing; install the package fuse3";
    return false;
}

bool IsUsableMountPoint(const std::string &volume, std::string *folder, std::string *error)
{
    const std::string named = TerminalText(*folder);
    const std::unique_ptr<DIR, CloseFolder> opened(opendir(folder->c_str()));
    if (opened == nullptr) {
        *error = "cannot mount on " + named + ": " + WhyNotUsable(errno);
        return false;
    }
    if (!IsEmpty(opened.get())) {
        *error = "cannot mount on " + named + ": it is not empty; name an empty folder";
        return false;
    }
    // The kernel lets nobody hide what belongs to others.
    if (geteuid() != 0 && access(folder->c_str(), W_OK) != 0) {
        *error = "cannot mount on " + named +
                 ": your user may not write in it; name a folder of your own";
        return false;
    }
    *folder = Resolved(*folder);
    struct stat found = {};
    const bool isFolder = stat(volume.c_str(), &found) == 0 && S_ISDIR(found.st_mode);
    if (folder->empty() || (isFolder && IsBelow(*folder, Resolved(volume)))) {
        *error = "cannot mount on " + named + ": it lies in the volume; name a folder elsewhere";
        return false;
    }
    return true;
}

}  // namespace vx
