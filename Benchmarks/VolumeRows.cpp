#include "VolumeRows.h"

#include <cstdio>

#include "ChildProcess.h"
#include "Comparison.h"
#include "VolumeImages.h"

namespace {

using Words = std::vector<std::string>;

std::string InSeconds(double seconds)
{
    char text[32];
    snprintf(text, sizeof(text), "%.3f s", seconds);
    return text;
}

// How long volume-export takes for a whole volume; unlocking: the options for it.
double SecondsOfExport(const BenchSetting &setting, const std::string &volume,
                       const Words &unlocking)
{
    Words command = {setting.programs + "/volume-export", volume, "--to",
                     setting.data.FreshDestination()};
    command.insert(command.end(), unlocking.begin(), unlocking.end());
    const ChildResult result = RunChild(command);
    return result.succeeded ? result.seconds : -1;
}

RowResult EncryptedAgainst(const BenchSetting &setting, const VolumeImages::Pair &images,
                           const std::string &other)
{
    if (!images.Made() || other.empty())
        return {false, "", "", 0};
    const Comparison comparison = Compare(
        setting.turns,
        [&] {
            return SecondsOfExport(setting, images.encrypted,
                                   {"--unlock", "password", VolumeImages::kPassword});
        },
        [&] { return SecondsOfExport(setting, other, {}); });
    return {comparison.succeeded, InSeconds(comparison.ours), InSeconds(comparison.theirs),
            comparison.ratio};
}

RowResult LargeFile(const BenchSetting &setting)
{
    const VolumeImages images(setting.data, setting.programs);
    if (std::string reason = images.WhyNone(); !reason.empty())
        return {true, "", "", 0, reason};
    const VolumeImages::Pair pair = images.OneLargeFile();
    return EncryptedAgainst(setting, pair, pair.plain);
}

RowResult SmallFiles(const BenchSetting &setting)
{
    const VolumeImages images(setting.data, setting.programs);
    if (std::string reason = images.WhyNone(); !reason.empty())
        return {true, "", "", 0, reason};
    return EncryptedAgainst(setting, images.ManySmallFiles(), setting.data.ManySmallFiles());
}

}  // namespace

std::vector<Row> VolumeRows(const BenchSetting &setting)
{
    // At least 0.6 of the speed is at most 1/0.6 of the time.
    return {
        {"1 GiB file, encrypted NTFS image / plain one", 1.67, [=] { return LargeFile(setting); }},
        {"20,000 files of 4 KiB, encrypted NTFS image / plain folder", 3,
         [=] { return SmallFiles(setting); }},
    };
}
