#include "InfoRows.h"

#include <cstdio>

#include "VolumeImages.h"

namespace {

// $1: the disk; $2: the program that encrypts; $3: the password. A GPT disk of 2 TB of which only
// the tables and an encrypted volume take room.
const char *const kMakeDisk = R"(
exec >/dev/null 2>&1
set -e
PATH=$PATH:/usr/sbin:/sbin
truncate -s 64M "$1.plain"
mkntfs -F -Q -q "$1.plain"
"$2" "$1.plain" "$1.volume" --method xts128 --password "$3"
truncate -s 2000000000000 "$1"
echo 'start=1MiB, type=EBD0A0A2-B9E5-4433-87C0-68B6B72699C7' | sfdisk --label gpt "$1"
dd if="$1.volume" of="$1" bs=1M seek=1 conv=notrunc
rm "$1.plain" "$1.volume"
)";

bool MakeDisk(const BenchSetting &setting, const std::string &disk)
{
    return RunChild({"sh", "-c", kMakeDisk, "sh", disk, setting.programs + "/make-bitlocker-volume",
                     VolumeImages::kPassword})
        .succeeded;
}

std::string InMilliseconds(double seconds)
{
    char text[32];
    snprintf(text, sizeof(text), "%.1f ms", seconds * 1000);
    return text;
}

// Whether it shows what is on the disk, and not that it cannot.
bool IsDescribed(const ChildResult &result)
{
    return result.succeeded && result.output.find("AES-128-XTS") != std::string::npos;
}

RowResult InfoBeyondAnEmptyProgram(const BenchSetting &setting)
{
    const std::string disk = setting.data.Folder() + "/disk";
    if (!MakeDisk(setting, disk))
        return {true, "", "", 0, "mkntfs, sfdisk or make-bitlocker-volume is missing"};
    const std::string program = setting.programs + "/volume-info";
    const Comparison comparison = Compare(
        setting.turns,
        [&] {
            const ChildResult result = RunChild({program, disk});
            return IsDescribed(result) ? result.seconds : -1;
        },
        [] {
            const ChildResult result = RunChild({"true"});
            return result.succeeded ? result.seconds : -1;
        });
    return {comparison.succeeded, InMilliseconds(comparison.ours),
            InMilliseconds(comparison.theirs), (comparison.ours - comparison.theirs) * 1000};
}

}  // namespace

std::vector<Row> InfoRows(const BenchSetting &setting)
{
    return {{"volume-info of a 2 TB image, milliseconds beyond an empty program", 20,
             [=] { return InfoBeyondAnEmptyProgram(setting); }}};
}
