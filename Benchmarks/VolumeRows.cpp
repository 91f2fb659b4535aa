#include "VolumeRows.h"

#include <cstdio>

#include "ChildProcess.h"
#include "Comparison.h"
#include "VolumeImages.h"

namespace {

using Words = std::vector<std::string>;

std::string inSeconds(double seconds)
{
    char text[32];
    snprintf(text, sizeof(text), "%.3f s", seconds);
    return text;
}

// How long volume-export takes for a whole volume; unlocking: the options for it.
double secondsOfExport(const BenchSetting &setting, const std::string &volume,
                       const Words &unlocking)
{
    Words command = {setting.programs + "/volume-export", volume, "--to",
                     setting.data.freshDestination()};
    command.insert(command.end(), unlocking.begin(), unlocking.end());
    const ChildResult result = RunChild(command);
    return result.succeeded ? result.seconds : -1;
}

RowResult encryptedAgainst(const BenchSetting &setting, const VolumeImages::Pair &images,
                           const std::string &other)
{
    if (!images.made() || other.empty())
        return {false, "", "", 0};
    const Comparison comparison = Compare(
        setting.turns,
        [&] {
            return secondsOfExport(setting, images.encrypted,
                                   {"--unlock", "password", VolumeImages::kPassword});
        },
        [&] { return secondsOfExport(setting, other, {}); });
    return {comparison.succeeded, inSeconds(comparison.ours), inSeconds(comparison.theirs),
            comparison.ratio};
}

RowResult largeFile(const BenchSetting &setting)
{
    const VolumeImages images(setting.data, setting.programs);
    if (std::string reason = images.whyNone(); !reason.empty())
        return {true, "", "", 0, reason};
    const VolumeImages::Pair pair = images.oneLargeFile();
    return encryptedAgainst(setting, pair, pair.plain);
}

RowResult smallFiles(const BenchSetting &setting)
{
    const VolumeImages images(setting.data, setting.programs);
    if (std::string reason = images.whyNone(); !reason.empty())
        return {true, "", "", 0, reason};
    return encryptedAgainst(setting, images.manySmallFiles(), setting.data.manySmallFiles());
}

}  // namespace

std::vector<Row> VolumeRows(const BenchSetting &setting)
{
    // At least 0.6 of the speed is at most 1/0.6 of the time.
    return {
        {"1 GiB file, encrypted NTFS image / plain one", 1.67, [=] { return largeFile(setting); }},
        {"20,000 files of 4 KiB, encrypted NTFS image / plain folder", 3,
         [=] { return smallFiles(setting); }},
    };
}
