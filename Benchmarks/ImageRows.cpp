#include "ImageRows.h"

#include <string>

#include "ChildProcess.h"
#include "Comparison.h"
#include "VolumeImages.h"

namespace {

using Words = std::vector<std::string>;
using ImagesOf = VolumeImages::Pair (VolumeImages::*)() const;

// An image of an NTFS volume, as qemu-img makes it.
struct Form {
    const char *name;
    Words options;
    ImagesOf source = &VolumeImages::OneGibibyte;
};

// Runs a command that makes the file, and waits until it is on the disk; volume-export does that
// itself.
double SecondsUntilSynced(const Words &command, const std::string &file)
{
    Words words = {"sh", "-c", R"sh(file=$1; shift; "$@" >/dev/null && sync -f "$file")sh", "sh",
                   file};
    words.insert(words.end(), command.begin(), command.end());
    const ChildResult result = RunChild(words);
    return result.succeeded ? result.seconds : -1;
}

// Made for one row and removed after it.
class Image {
public:
    Image(const std::string &source, const Form &form) : _path(source + ".image")
    {
        Words words = {"qemu-img", "convert"};
        words.insert(words.end(), form.options.begin(), form.options.end());
        words.insert(words.end(), {source, _path});
        _isMade = !source.empty() && RunChild(words).succeeded;
    }
    ~Image() { RunChild({"rm", "-f", _path}); }
    Image(const Image &) = delete;
    Image &operator=(const Image &) = delete;

    bool IsMade() const { return _isMade; }
    const std::string &Path() const { return _path; }

private:
    const std::string _path;
    bool _isMade = false;
};

RowResult AgainstConversion(const BenchSetting &setting, const Form &form)
{
    const VolumeImages images(setting.data, setting.programs);
    if (std::string reason = images.WhyNone(); !reason.empty())
        return {true, "", "", 0, reason};
    if (!RunChild({"sh", "-c", "command -v qemu-img"}).succeeded)
        return {true, "", "", 0, "the program qemu-img is missing"};
    const Image image((images.*form.source)().plain, form);
    if (!image.IsMade())
        return {false, "", "", 0};
    return RatioOf(Compare(
        setting.turns,
        [&] {
            const std::string file = setting.data.FreshDestination();
            return SecondsUntilSynced(
                {setting.programs + "/volume-export", "--raw", file, image.Path()}, file);
        },
        [&] {
            const std::string file = setting.data.FreshDestination();
            return SecondsUntilSynced({"qemu-img", "convert", "-O", "raw", image.Path(), file},
                                      file);
        }));
}

}  // namespace

std::vector<Row> ImageRows(const BenchSetting &setting)
{
    // 0.9 of the speed.
    constexpr double kMost = 1.11;
    const Form forms[] = {
        {"sparse VMDK", {"-O", "vmdk"}},
        {"dynamic VHDX", {"-O", "vhdx", "-o", "subformat=dynamic"}},
        {"QCOW2", {"-O", "qcow2"}},
        {"compressed QCOW2, text", {"-c", "-O", "qcow2"}, &VolumeImages::OneGibibyteOfText},
    };
    std::vector<Row> rows;
    for (const Form &form : forms)
        rows.push_back({"image of 1 GiB, " + std::string(form.name) +
                            ", volume-export --raw / qemu-img convert",
                        kMost, [=] { return AgainstConversion(setting, form); }});
    return rows;
}
