#include "ImageFiles.h"

#include "DeviceSize.h"
#include "RetryInterrupted.h"
#include "UniqueFd.h"

#include <algorithm>
#include <fcntl.h>
#include <sys/stat.h>

namespace vx {
namespace {

// A device that this user may no longer open is assumed to be there.
bool HasSize(const std::string &device)
{
    const UniqueFd opened(
        RetryInterrupted([&] { return open(device.c_str(), O_RDONLY | O_CLOEXEC); }));
    if (!opened)
        return errno == EACCES || errno == EPERM || errno == EMFILE || errno == ENFILE;
    const auto size = DeviceSize(opened.Get());
    return size && *size > 0;
}

}  // namespace

ImageFiles::ImageFiles(const std::vector<std::string> &paths)
{
    for (const std::string &path : paths) {
        File file;
        if (Look(path, &file))
            _files.push_back(file);
    }
}

bool ImageFiles::AreThere() const
{
    return std::all_of(_files.begin(), _files.end(), IsThere);
}

bool ImageFiles::Look(const std::string &path, File *file)
{
    struct stat found;
    if (stat(path.c_str(), &found) != 0)
        return false;
    const bool isFile = S_ISREG(found.st_mode);
    *file = {path, isFile ? found.st_dev : found.st_rdev, isFile ? found.st_ino : 0,
             isFile && found.st_size == 0};
    return true;
}

bool ImageFiles::IsThere(const File &file)
{
    File now;
    if (!Look(file.path, &now) || !now.IsSame(file))
        return false;
    return file.number == 0 ? HasSize(file.path) : file.wasEmpty || !now.wasEmpty;
}

bool ImageFiles::File::IsSame(const File &other) const
{
    return device == other.device && number == other.number;
}

}  // namespace vx
