#include "DescribedDisk.h"

#include "OpeningWords.h"
#include "TerminalText.h"
#include "VolumeOpening.h"

#include <algorithm>

namespace vx {
namespace {

constexpr char kOtherVersion[] =
    "the volume library is another version, which cannot describe a disk; install both together";

}  // namespace

DescribedDisk::DescribedDisk(const LoadedLibrary &library, const std::string &disk)
    : _disk(disk), _report(nullptr, library.ReleaseDiskReport())
{
    const VolumeLibraryDescribeDiskFunction describe = library.DescribeDisk();
    if (describe == nullptr || _report.get_deleter() == nullptr) {
        _error = kOtherVersion;
        return;
    }
    const DiskReport *report = nullptr;
    _status = describe(disk.c_str(), &report);
    _report.reset(report);
    if (_status != 0)
        _error = OpeningFailure(library.Handle(), "open", disk, _status);
    else if (report == nullptr)
        _error = "the volume library returned no report of " + TerminalText(disk);
}

std::vector<std::string> DescribedDisk::Warnings() const
{
    std::vector<std::string> warnings;
    for (uint64_t i = 0; i < _report->warningCount; ++i)
        warnings.push_back(TerminalText(_disk) + ": " +
                           TerminalText(std::string(_report->warnings[i])));
    return warnings;
}

bool DescribedDisk::HasClearKey() const
{
    return std::any_of(_report->volumes, _report->volumes + _report->volumeCount,
                       [](const DiskVolumeReport &volume) {
                           return volume.encryption != nullptr && volume.encryption->hasClearKey;
                       });
}

}  // namespace vx
