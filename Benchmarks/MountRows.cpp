#include "MountRows.h"

#include <unistd.h>

#include <functional>
#include <memory>

#include "ChildProcess.h"
#include "Comparison.h"
#include "VolumeImages.h"

namespace {

using Words = std::vector<std::string>;
using Pair = VolumeImages::Pair;
using ImagesOf = Pair (VolumeImages::*)() const;

// A way to mount the images: $1 the folder of the programs, $2 the encrypted image, $3 its key, $4
// its password, $5 the plain one, $6 an empty folder to mount in, $7 another one.
const char *const kOurs = R"("$1/volume-mount" --background "$2" --unlock startup-key "$3" "$6")";
const char *const kPlainPeer = R"(ntfs-3g -o ro "$5" "$6")";
const char *const kPeers =
    R"(dislocker-fuse -r -V "$2" -u"$4" -- "$7" && ntfs-3g -o ro "$7/dislocker-file" "$6")";

const char *const kUnmount = R"(
for mounted in "$@"; do
    mountpoint -q "$mounted" || continue
    fusermount3 -u "$mounted" || fusermount -u "$mounted" || umount "$mounted"
done
)";

// What is copied from the mounted folder $1 to $2. Reading alone shows what the mount takes.
const char *const kFile = R"(exec cp "$1"/* "$2")";
const char *const kNothing = R"(exec cp "$1"/* /dev/null)";
const char *const kSmallFiles = R"(mkdir "$2" && exec cp -r "$1"/folder\ 0* "$2")";

struct Content {
    ImagesOf images;
    const char *copy;
};
const Content kCopied = {&VolumeImages::OneGibibyte, kFile};
const Content kRead = {&VolumeImages::OneGibibyte, kNothing};
const Content kManyFiles = {&VolumeImages::ManySmallFiles, kSmallFiles};

Words Script(const char *script, const Words &arguments)
{
    Words words = {"sh", "-c",
                   std::string("PATH=$PATH:/usr/sbin:/sbin; exec >/dev/null 2>&1; ") + script,
                   "sh"};
    words.insert(words.end(), arguments.begin(), arguments.end());
    return words;
}

// Only the copy counts, not the mounting.
double SecondsOfCopy(const BenchSetting &setting, const Pair &images, const char *mount,
                     const char *copy)
{
    const std::string destination = setting.data.FreshDestination();
    const std::string folder = setting.data.Folder() + "/mounted";
    const std::string between = setting.data.Folder() + "/between";
    RunChild({"mkdir", "-p", folder, between});
    double seconds = -1;
    if (RunChild(Script(mount, {setting.programs, images.encrypted, images.key,
                                VolumeImages::kPassword, images.plain, folder, between}))
            .succeeded) {
        const ChildResult result = RunChild(Script(copy, {folder, destination}));
        seconds = result.succeeded ? result.seconds : -1;
    }
    RunChild(Script(kUnmount, {folder, between}));
    return seconds;
}

RowResult Against(const BenchSetting &setting, const Content &content, const char *peer)
{
    if (access((setting.programs + "/volume-mount").c_str(), X_OK) != 0)
        return {true, "", "", 0, "volume-mount was not built"};
    if (peer == kPeers && !RunChild({"sh", "-c", "command -v dislocker-fuse"}).succeeded)
        return {true, "", "", 0, "the program dislocker-fuse is missing"};
    const VolumeImages images(setting.data, setting.programs);
    if (std::string reason = images.WhyNone(); !reason.empty())
        return {true, "", "", 0, reason};
    const Pair pair = (images.*content.images)();
    if (!pair.Made())
        return {false, "", "", 0};
    return RatioOf(Compare(
        setting.turns, [&] { return SecondsOfCopy(setting, pair, kOurs, content.copy); },
        [&] { return SecondsOfCopy(setting, pair, peer, content.copy); }));
}

}  // namespace

// The peer of the plain image decrypts nothing.
std::vector<Row> MountRows(const BenchSetting &setting)
{
    constexpr double kOneAndAHalfTimes = 1 / 1.5;
    const auto row = [&setting](const char *what, double limit, const Content &content,
                                const char *peer) {
        return Row{what, limit, [=] { return Against(setting, content, peer); }};
    };
    return {
        row("mounted encrypted NTFS image, 1 GiB read by cp / plain one by ntfs-3g",
            kOneAndAHalfTimes, kRead, kPlainPeer),
        row("mounted encrypted NTFS image, 1 GiB copied by cp / plain one by ntfs-3g",
            kOneAndAHalfTimes, kCopied, kPlainPeer),
        row("mounted encrypted NTFS image, 1 GiB read by cp / dislocker and ntfs-3g",
            kOneAndAHalfTimes, kRead, kPeers),
        row("mounted encrypted NTFS image, 10,000 files of 4 KiB by cp -r / plain one by ntfs-3g",
            kOneAndAHalfTimes, kManyFiles, kPlainPeer),
        row("mounted encrypted NTFS image, 10,000 files of 4 KiB by cp -r / dislocker and ntfs-3g",
            kOneAndAHalfTimes, kManyFiles, kPeers),
    };
}
