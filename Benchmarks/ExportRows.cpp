#include "ExportRows.h"

#include <unistd.h>

#include <cstdio>
#include <functional>
#include <memory>
#include <utility>

#include "ChildProcess.h"
#include "Comparison.h"
#include "VolumeImages.h"

namespace {

using Words = std::vector<std::string>;
using Pair = VolumeImages::Pair;
using ImagesOf = Pair (VolumeImages::*)() const;
using FolderOf = std::string (BenchData::*)();

const char *const kInMemory = "/dev/shm";

// What the row copies: as a folder, and as images.
struct Content {
    FolderOf folder;
    ImagesOf images;
};
const Content kGibibyte = {&BenchData::OneGibibyte, &VolumeImages::OneGibibyte};
const Content kSmallFiles = {&BenchData::ManySmallFiles, &VolumeImages::ManySmallFiles};

// Runs a command that fills the folder, and waits until it is on the disk. volume-export does that
// itself; to be compared, all are followed by the same sync.
double SecondsUntilSynced(const Words &command, const std::string &folder)
{
    Words words = {"sh", "-c", R"(folder=$1; shift; "$@" >/dev/null && sync -f "$folder")", "sh",
                   folder};
    words.insert(words.end(), command.begin(), command.end());
    const ChildResult result = RunChild(words);
    return result.succeeded ? result.seconds : -1;
}

double SecondsOfCopy(const BenchSetting &setting, const std::string &folder)
{
    const std::string copy = setting.data.FreshDestination();
    return SecondsUntilSynced({"cp", "-r", folder, copy}, copy);
}

// options: how to unlock, and others.
double SecondsOfExport(const BenchSetting &setting, const std::string &volume, const Words &options)
{
    const std::string copy = setting.data.FreshDestination();
    Words command = {setting.programs + "/volume-export", volume, "--to", copy};
    command.insert(command.end(), options.begin(), options.end());
    return SecondsUntilSynced(command, copy);
}

Words ByPassword()
{
    return {"--unlock", "password", VolumeImages::kPassword};
}

// Compares what two functions make of the images; an empty text: there is nothing to mount.
using OnImages = std::function<double(const Pair &images, const std::string &folder)>;

RowResult CompareOnImages(const BenchSetting &setting, const Content &content, const OnImages &ours,
                          const OnImages &theirs)
{
    const VolumeImages images(setting.data, setting.programs);
    if (std::string reason = images.WhyNone(); !reason.empty())
        return {true, "", "", 0, reason};
    const std::string folder = (setting.data.*content.folder)();
    const Pair pair = (images.*content.images)();
    if (!pair.Made() || folder.empty())
        return {false, "", "", 0};
    return RatioOf(Compare(
        setting.turns, [&] { return ours(pair, folder); }, [&] { return theirs(pair, folder); }));
}

RowResult EncryptedAgainstCopy(const BenchSetting &setting, const Content &content)
{
    return CompareOnImages(
        setting, content,
        [&](const Pair &images, const std::string &) {
            return SecondsOfExport(setting, images.encrypted, ByPassword());
        },
        [&](const Pair &, const std::string &folder) { return SecondsOfCopy(setting, folder); });
}

RowResult EncryptedAgainstPlain(const BenchSetting &setting, bool byKey)
{
    return CompareOnImages(
        setting, kGibibyte,
        [&](const Pair &images, const std::string &) {
            return SecondsOfExport(setting, images.encrypted,
                                   byKey ? Words{"--unlock", "startup-key", images.key}
                                         : ByPassword());
        },
        [&](const Pair &images, const std::string &) {
            return SecondsOfExport(setting, images.plain, {});
        });
}

RowResult WithHashListAgainstWithout(const BenchSetting &setting, const Content &content)
{
    const auto exported = [&](const Words &more) {
        return [&setting, more](const Pair &images, const std::string &) {
            Words options = ByPassword();
            options.insert(options.end(), more.begin(), more.end());
            return SecondsOfExport(setting, images.encrypted, options);
        };
    };
    return CompareOnImages(setting, content,
                           exported({"--manifest", setting.data.Folder() + "/manifest"}),
                           exported({}));
}

// $1: the encrypted image; $2: its password; $3: an empty folder to mount in; $4: the copy.
const char *const kMountAndCopy = R"(
PATH=$PATH:/usr/sbin:/sbin
mkdir "$3/plain" "$3/files" &&
dislocker-fuse -r -V "$1" -u"$2" -- "$3/plain" &&
ntfs-3g -o ro "$3/plain/dislocker-file" "$3/files" &&
cp -r "$3/files" "$4" && sync -f "$4"
)";
const char *const kUnmount = R"(
for mounted in "$1/files" "$1/plain"; do
    fusermount3 -u "$mounted" 2>/dev/null || fusermount -u "$mounted" || umount "$mounted"
    rmdir "$mounted"
done
rmdir "$1"
)";

double SecondsOfMountedCopy(const BenchSetting &setting, const std::string &image)
{
    const std::string copy = setting.data.FreshDestination();
    const std::string mounts = setting.data.Folder() + "/mounts";
    RunChild({"mkdir", mounts});
    const ChildResult result =
        RunChild({"sh", "-c", std::string("exec >/dev/null 2>&1\n") + kMountAndCopy, "sh", image,
                  VolumeImages::kPassword, mounts, copy});
    RunChild({"sh", "-c", kUnmount, "sh", mounts});
    return result.succeeded ? result.seconds : -1;
}

RowResult AgainstMountedCopy(const BenchSetting &setting, const Content &content)
{
    if (!RunChild({"sh", "-c", "command -v dislocker-fuse"}).succeeded)
        return {true, "", "", 0, "the program dislocker-fuse is missing"};
    return CompareOnImages(
        setting, content,
        [&](const Pair &images, const std::string &) {
            return SecondsOfExport(setting, images.encrypted, ByPassword());
        },
        [&](const Pair &images, const std::string &) {
            return SecondsOfMountedCopy(setting, images.encrypted);
        });
}

// Two trees of empty files in memory, one with ten times as many as the other.
class EmptyTrees {
public:
    EmptyTrees(const BenchSetting &setting, BenchData &data)
        : _program(setting.programs + "/volume-export"),
          _data(data),
          _many(data.EmptyFiles(1000)),
          _some(data.EmptyFiles(100))
    {
    }

    bool Made() const { return !_many.empty() && !_some.empty(); }
    ChildResult ExportMany() const { return Export(_many); }
    ChildResult ExportSome() const { return Export(_some); }

private:
    ChildResult Export(const std::string &tree) const
    {
        const std::string copy = _data.Folder() + "/copy";
        ChildResult result = RunChild({_program, tree, "--to", copy});
        RunChild({"rm", "-rf", copy});
        return result;
    }

    const std::string _program;
    BenchData &_data;
    const std::string _many;
    const std::string _some;
};

std::string InBytes(double bytes)
{
    return std::to_string(static_cast<int>(bytes)) + " bytes";
}

// Made by the first of the rows that needs it, and kept for the others.
using SharedTrees =
    std::shared_ptr<std::pair<std::unique_ptr<BenchData>, std::unique_ptr<EmptyTrees>>>;

RowResult OnEmptyTrees(const BenchSetting &setting, const SharedTrees &shared,
                       const std::function<RowResult(const EmptyTrees &trees)> &measure)
{
    if (access(kInMemory, W_OK) != 0)
        return {true, "", "", 0, std::string("there is no ") + kInMemory};
    if (shared->second == nullptr) {
        shared->first = std::make_unique<BenchData>(kInMemory);
        shared->second = std::make_unique<EmptyTrees>(setting, *shared->first);
    }
    return shared->second->Made() ? measure(*shared->second) : RowResult{false, "", "", 0};
}

RowResult TimeOfMany(int turns, const EmptyTrees &trees)
{
    const auto seconds = [](const ChildResult &result) {
        return result.succeeded ? result.seconds : -1;
    };
    return RatioOf(Compare(
        turns, [&] { return seconds(trees.ExportMany()); },
        [&] { return seconds(trees.ExportSome()); }));
}

// What each of the entries beyond the smaller tree's costs.
RowResult MemoryOfMany(const EmptyTrees &trees)
{
    constexpr double kMoreEntries = 1001000 - 100100;
    const ChildResult many = trees.ExportMany();
    const ChildResult some = trees.ExportSome();
    const double bytes = static_cast<double>(many.peakBytes - some.peakBytes) / kMoreEntries;
    return {many.succeeded && some.succeeded, InBytes(bytes), "-", bytes};
}

}  // namespace

std::vector<Row> ExportRows(const BenchSetting &setting)
{
    const auto trees = std::make_shared<SharedTrees::element_type>();
    const auto onTrees = [=](const std::function<RowResult(const EmptyTrees &)> &measure) {
        return [=] { return OnEmptyTrees(setting, trees, measure); };
    };
    return {
        {"export of 1 GiB, encrypted NTFS image / cp", 1.15,
         [=] { return EncryptedAgainstCopy(setting, kGibibyte); }},
        {"export of 1 GiB, encrypted NTFS image by password / plain one", 1.05,
         [=] { return EncryptedAgainstPlain(setting, false); }},
        {"export of 1 GiB, encrypted NTFS image by startup key / plain one", 1.05,
         [=] { return EncryptedAgainstPlain(setting, true); }},
        {"export of 1 GiB, encrypted NTFS image / dislocker, ntfs-3g and cp -r", 1,
         [=] { return AgainstMountedCopy(setting, kGibibyte); }},
        {"export of 1 GiB with a hash list / without", 1.1,
         [=] { return WithHashListAgainstWithout(setting, kGibibyte); }},
        {"export of 20,000 files of 4 KiB, encrypted NTFS image / cp -r", 0.8,
         [=] { return EncryptedAgainstCopy(setting, kSmallFiles); }},
        {"export of 20,000 files of 4 KiB, encrypted NTFS image / dislocker, ntfs-3g and cp -r", 1,
         [=] { return AgainstMountedCopy(setting, kSmallFiles); }},
        {"export of 20,000 files of 4 KiB with a hash list / without", 1.1,
         [=] { return WithHashListAgainstWithout(setting, kSmallFiles); }},
        // A fifth of it for the noise of the machine.
        {"export of 1,000,000 empty files in memory / 100,000", 12,
         onTrees([=](const EmptyTrees &made) { return TimeOfMany(setting.turns, made); })},
        {"export of 1,000,000 empty files in memory, bytes of an entry", 250,
         onTrees(MemoryOfMany)},
    };
}
