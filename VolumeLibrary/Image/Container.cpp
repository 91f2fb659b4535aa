#include "Container.h"

#include "Bitlocker/FileByteSource.h"
#include "ContainerKind.h"
#include "StatusFromDecryptor.h"
#include "StatusFromErrno.h"
#include "TskError.h"
#include "TskSource.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <tsk/libtsk.h>
#include <vector>

namespace vx {
namespace {

using Source = std::shared_ptr<const bitlocker::ByteSource>;

// A FIFO must not even be opened: that would wait for somebody to write.
OpenError CheckKindOfFile(const char *path, bool *isDevice)
{
    struct stat found;
    if (stat(path, &found) != 0)
        return {StatusFromErrno(errno), ""};
    *isDevice = S_ISBLK(found.st_mode);
    if (S_ISREG(found.st_mode) || *isDevice)
        return {};
#ifdef __APPLE__
    if (S_ISCHR(found.st_mode))  // the raw form of a disk
        return {};
#endif
    return {VolumeLibraryStatus::kNotAFolder, "it is neither a folder nor a disk or an image"};
}

std::string AdviceForPermission(bool isDevice)
{
    return isDevice ? "run the program as administrator (sudo), or let your user read the "
                      "device: sudo setfacl -m u:$USER:r DEVICE"
                    : "let your user read the file: chmod u+r FILE as its owner";
}

OpenError OpenRaw(const char *path, bool isDevice, Source *source)
{
    auto file = bitlocker::FileByteSource::open(path);
    if (file) {
        *source = std::move(*file);
        return {};
    }
    OpenError error = FromDecryptor(file.error());
    if (error.status == VolumeLibraryStatus::kPermissionDenied)
        error.detail = AdviceForPermission(isDevice);
    return error;
}

// kind: the name of the format; null for one that is raw inside. libtsk takes for raw what it
// cannot open as anything else.
OpenError OpenThroughTsk(const char *path, const char *kind, Source *source)
{
    TSK_IMG_INFO *image = tsk_img_open_utf8_sing(path, TSK_IMG_TYPE_DETECT, 0);
    if (image == nullptr)
        return {VolumeLibraryStatus::kReadFailed, TakeTskError()};
    auto opened = std::make_shared<TskSource>(image);
    if (kind != nullptr && TSK_IMG_TYPE_ISRAW(image->itype))
        return {VolumeLibraryStatus::kReadFailed,
                std::string("the ") + kind +
                    " image is damaged, or one of its parts is missing or cannot be read"};
    *source = std::move(opened);
    return {};
}

std::vector<uint8_t> HeadOf(const bitlocker::ByteSource &source)
{
    std::vector<uint8_t> head(
        static_cast<size_t>(std::min<uint64_t>(source.size(), kContainerProbeBytes)));
    if (source.readAt(0, head.data(), head.size()))
        head.clear();
    return head;
}

// A VHD image of fixed size is a raw one with a footer.
bool HasVhdFooter(const bitlocker::ByteSource &source)
{
    std::vector<uint8_t> foot(512);
    return source.size() >= foot.size() &&
           !source.readAt(source.size() - foot.size(), foot.data(), foot.size()) &&
           TskContainer(foot) != nullptr;
}

bool IsFile(const std::string &path)
{
    struct stat found;
    return stat(path.c_str(), &found) == 0 && S_ISREG(found.st_mode);
}

// Whether it is the first part of several, by the name of the second one.
bool IsSplit(const std::string &path)
{
    constexpr const char *kFirstAndSecond[][2] = {
        {".001", ".002"}, {".000", ".001"}, {".00", ".01"},  {".01", ".02"},
        {"aaa", "aab"},   {"aa", "ab"},     {"_000", "_001"}};
    for (const auto &pair : kFirstAndSecond) {
        const std::string first = pair[0];
        if (path.size() > first.size() &&
            path.compare(path.size() - first.size(), first.size(), first) == 0)
            return IsFile(path.substr(0, path.size() - first.size()) + pair[1]);
    }
    return false;
}

}  // namespace

OpenError OpenContainer(const char *path, Source *source)
{
    bool isDevice = false;
    if (OpenError error = CheckKindOfFile(path, &isDevice))
        return error;
    Source raw;
    if (OpenError error = OpenRaw(path, isDevice, &raw))
        return error;
    const std::vector<uint8_t> head = HeadOf(*raw);
    if (const char *unsupported = UnsupportedContainer(head))
        return {VolumeLibraryStatus::kContainerNotSupported, std::string("it is ") + unsupported};
    const char *kind = TskContainer(head);
    if (!isDevice && (kind != nullptr || HasVhdFooter(*raw) || IsSplit(path)))
        return OpenThroughTsk(path, kind, source);
    *source = std::move(raw);
    return {};
}

}  // namespace vx
