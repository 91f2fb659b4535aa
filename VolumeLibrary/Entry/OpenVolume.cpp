#include "OpenVolume.h"

#include "DiskDescription.h"
#include "DiskOpening.h"
#include "FolderVolume.h"
#include "HostOpening.h"
#include "UnlockKind.h"

#include <sys/stat.h>

namespace vx {
namespace {

bool IsFolder(const char *path)
{
    struct stat found;
    return stat(path, &found) == 0 && S_ISDIR(found.st_mode);
}

// Where no advice was given below.
Error WithAdvice(Error error, const char *advice)
{
    if (IsPermissionError(error) && error.detail.empty())
        error.detail = advice;
    return error;
}

Result<OpenedVolume> OpenFolder(const char *path)
{
    auto volume = FolderVolume::Open(path);
    if (!volume)
        return WithAdvice(volume.Failure(),
                          "let your user read the folder: chmod u+rx FOLDER as its owner");
    return OpenedVolume{std::move(*volume), {}};
}

Error WithAdviceForWay(Error error)
{
    return WithAdvice(std::move(error), "let your user enter the folders on the way to it: "
                                        "chmod u+x FOLDER as their owner");
}

}  // namespace

std::string NotesText(const std::vector<std::string> &notes)
{
    std::string lines;
    for (const std::string &note : notes)
        lines += (lines.empty() ? "" : "\n") + note;
    return lines;
}

Result<OpenedVolume> OpenVolume(const OpenRequest &request)
{
    if (IsHostChannel(request.unlockKind))
        return OpenForHost(request);
    const auto unlock = ParseUnlockKind(request.unlockKind);
    if (!unlock)
        return Error{Status::kUnsupportedUnlockKind, ""};
    if (IsFolder(request.device)) {
        if (*unlock != UnlockKind::kNone)
            return Error{Status::kNotBitlocker, "it is a folder; open it with \"none\""};
        if (request.options.NamesPlaces())
            return Error{Status::kPlacesNotKept, "it is a folder"};
        if (request.options.opensContents)
            return Error{Status::kNotAVolume, "it is a folder, of which there is no image"};
        return OpenFolder(request.device);
    }
    auto disk =
        OpenDisk(request.device, {*unlock, request.secret, request.cancel}, request.options);
    if (!disk)
        return WithAdviceForWay(disk.Failure());
    return disk;
}

Result<std::unique_ptr<const OwnedDiskReport>> DescribeDevice(const char *device,
                                                              const OpeningOptions &options)
{
    if (IsFolder(device))
        return Error{
            Status::kNotBitlocker,
            "it is a folder, not a disk or an image; volume-export --list shows its files"};
    auto report = DescribeDisk(device, options);
    if (!report)
        return WithAdviceForWay(report.Failure());
    return report;
}

}  // namespace vx
