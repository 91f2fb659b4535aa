#include "VolumeImages.h"

#include <unistd.h>

#include <utility>

#include "ChildProcess.h"

namespace {

// Some programs are only in the administrator's path.
const char *const kPath = "PATH=$PATH:/usr/sbin:/sbin; ";

// $1: the image; $2: its size; $3: what it is filled from, with $4 run in its root; $5: the
// program that encrypts; $6: the password. What the programs print is not for the table.
const char *const kMake = R"(
exec >/dev/null
set -e
mount=$1.mount
unmount() { fusermount3 -u "$mount" 2>/dev/null || fusermount -u "$mount"; }
mkdir "$mount"
truncate -s "$2" "$1.part"
mkntfs -F -Q -q "$1.part" 2>/dev/null
ntfs-3g "$1.part" "$mount"
from=$(realpath "$3")
(cd "$mount" && eval "$4") || { unmount; exit 1; }
unmount
rmdir "$mount"
"$5" "$1.part" "$1.encrypted" --method xts128 --password "$6" --startup-key "$1.BEK"
mv "$1.part" "$1"
)";

bool Has(const std::string &program)
{
    return RunChild({"sh", "-c", kPath + ("command -v " + program)}).succeeded;
}

}  // namespace

VolumeImages::VolumeImages(BenchData &data, std::string programs)
    : _data(data), _programs(std::move(programs))
{
}

std::string VolumeImages::WhyNone() const
{
    if (access((_programs + "/make-bitlocker-volume").c_str(), X_OK) != 0)
        return "make-bitlocker-volume was not built";
    for (const char *program : {"mkntfs", "ntfs-3g"}) {
        if (!Has(program))
            return std::string("the program ") + program + " is missing";
    }
    return access("/dev/fuse", R_OK | W_OK) == 0 ? "" : "/dev/fuse may not be used";
}

VolumeImages::Pair VolumeImages::Make(const std::string &name, const std::string &size,
                                      const std::string &from, const std::string &fill) const
{
    const std::string image = _data.Folder() + "/" + name;
    Pair pair = {image, image + ".encrypted", image + ".BEK"};
    if (access(image.c_str(), R_OK) == 0)
        return pair;
    const ChildResult result =
        RunChild({"sh", "-c", std::string(kPath) + kMake, "sh", image, size, from, fill,
                  _programs + "/make-bitlocker-volume", kPassword});
    return result.succeeded ? pair : Pair{};
}

VolumeImages::Pair VolumeImages::OneGibibyte() const
{
    return Make("gibibyte.ntfs", "1200M", _data.OneGibibyte(), R"(cp -r "$from/." .)");
}

VolumeImages::Pair VolumeImages::OneGibibyteOfText() const
{
    return Make("text.ntfs", "1200M", _data.OneGibibyteOfText(), R"(cp -r "$from/." .)");
}

VolumeImages::Pair VolumeImages::ManySmallFiles() const
{
    return Make("small.ntfs", "300M", _data.ManySmallFiles(), R"(cp -r "$from/." .)");
}
