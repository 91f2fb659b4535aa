// Takes the place of DiskOpening.cpp, DiskDescription.cpp and DiskSearch.cpp where the libraries
// that disks and images need are missing.
#include "DiskDescription.h"
#include "DiskOpening.h"
#include "DiskSearch.h"

#include <cerrno>
#include <sys/stat.h>

namespace vx {
namespace {

Error Refusal(const std::string &device)
{
    struct stat found;
    if (stat(device.c_str(), &found) != 0)
        return {Status::kSystemError, "", errno};
    return {Status::kNotAVolume, "this volume library was built for folders only"};
}

}  // namespace

Result<OpenedVolume> OpenDisk(const std::string &device, const UnlockRequest &,
                              const OpeningOptions &)
{
    return Refusal(device);
}

Result<DescribedDisk> DescribeDisk(const std::string &device, const OpeningOptions &)
{
    return Refusal(device);
}

Result<DiskSearchResult> SearchDisk(const std::string &device, const CancelFlag *,
                                    const OpeningOptions &)
{
    return Refusal(device);
}

void ReportFindings(const DiskSearchResult &, DiskFindingFunction, void *) {}

}  // namespace vx
