#include "FileBeside.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>

namespace vx {
namespace {

Error Refused(const std::string &file, const char *reason)
{
    return {Status::kUnsupportedContainer, file + " " + reason};
}

}  // namespace

Result<std::string> PathBeside(const std::string &image, const std::string &role,
                               const std::string &name)
{
    const std::string file = role + " " + ShownName(name);
    const bool isElsewhere = name.find_first_of("/\\") != std::string::npos;
    if (isElsewhere || name.empty() || name == "." || name == "..")
        return Refused(file, "lies elsewhere, and only files beside the image are read");
    std::string path = image.substr(0, image.rfind('/') + 1) + name;
    struct stat found;
    if (lstat(path.c_str(), &found) != 0) {
        if (errno == ENOENT)
            return Error{Status::kTruncatedImage, file + " is missing"};
        return Error{Status::kSystemError, file, errno};
    }
    if (!S_ISREG(found.st_mode))
        return Refused(file, "is a link or no ordinary file, and is not read");
    return path;
}

std::string ShownName(std::string name)
{
    std::replace_if(
        name.begin(), name.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return name;
}

}  // namespace vx
