#include "Container.h"

#include "ContainerKind.h"
#include "EwfSegments.h"
#include "FileByteSource.h"
#include "JoinedSource.h"
#include "PartNames.h"
#include "VhdImage.h"
#include "VmdkImage.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <vector>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;

// A FIFO must not even be opened: that would wait for somebody to write.
Error CheckKindOfFile(const char *path, bool *isDevice)
{
    struct stat found;
    if (stat(path, &found) != 0)
        return {Status::kSystemError, "", errno};
    *isDevice = S_ISBLK(found.st_mode);
    if (S_ISREG(found.st_mode) || *isDevice)
        return {};
#ifdef __APPLE__
    if (S_ISCHR(found.st_mode))  // the raw form of a disk
        return {};
#endif
    return {Status::kNotAVolume, "it is neither a folder nor a disk or an image"};
}

std::string AdviceForPermission(bool isDevice)
{
    return isDevice ? "run the program as administrator (sudo), or let your user read the "
                      "device: sudo setfacl -m u:$USER:r DEVICE"
                    : "let your user read the file: chmod u+r FILE as its owner";
}

Error OpenRaw(const char *path, bool isDevice, Source *source)
{
    auto file = FileByteSource::Open(path);
    if (file) {
        *source = std::move(*file);
        return {};
    }
    Error error = file.Failure();
    if (IsPermissionError(error))
        error.detail = AdviceForPermission(isDevice);
    return error;
}

// What the parts do not hold, or did not when they were made.
void NoteLost(const EwfLayout &layout, Container *container)
{
    const uint64_t held = layout.chunks * layout.chunkBytes;
    if (held < layout.diskBytes)
        container->notes.push_back(std::to_string(layout.diskBytes - held) +
                                   " bytes of the disk are in no part of the E01 image and cannot "
                                   "be read");
    if (layout.lostSectors > 0)
        container->notes.push_back(std::to_string(layout.lostSectors) +
                                   " sectors could not be read when the E01 image was made; they "
                                   "are zeros in it");
}

Error OpenEwf(const char *path, Container *container)
{
    std::vector<EwfFile> files;
    EwfLayout layout;
    if (Error error = OpenEwfFiles(path, &files, &layout))
        return error;
    NoteLost(layout, container);
    for (const EwfFile &file : files)
        container->files.push_back(file.path);
    container->source = std::make_shared<EwfSource>(std::move(files), std::move(layout));
    return {};
}

// Of an image of either kind.
template <typename Image>
Error Take(Error error, Image image, Container *container)
{
    if (error)
        return error;
    container->source = std::move(image.disk);
    container->notes = std::move(image.notes);
    return {};
}

std::vector<uint8_t> HeadOf(const ByteSource &source)
{
    std::vector<uint8_t> head(
        static_cast<size_t>(std::min<uint64_t>(source.Size(), kContainerProbeBytes)));
    if (source.ReadAt(0, head.data(), head.size()))
        head.clear();
    return head;
}

// The parts as far as they follow each other; of what comes after a gap nothing is read, since it
// would lie in a wrong place.
Error OpenParts(const PartNames &names, Container *container)
{
    const size_t count = names.CountWithoutGap();
    std::vector<Source> parts;
    for (size_t number = 1; number <= count; ++number) {
        Source part;
        if (Error error = OpenRaw(names.Path(number).c_str(), false, &part)) {
            if (IsPermissionError(error))
                error.detail = "your user may not read its part " + names.Name(number);
            return error;
        }
        if (number < count && number > 1 && part->Size() < parts.front()->Size())
            return {Status::kTruncatedImage, "its part " + names.Name(number) + " ends early"};
        parts.push_back(std::move(part));
        container->files.push_back(names.Path(number));
    }
    if (names.ExistsBehind(count))
        container->notes.push_back("its part " + names.Name(count + 1) +
                                   " is missing; what follows it is not read");
    container->source = std::make_shared<JoinedSource>(std::move(parts));
    return {};
}

// Whether it is the first part of several.
bool IsSplit(const std::optional<PartNames> &names)
{
    return names && names->Given() == 1 && names->ExistsBehind(1);
}

Error OpenByItsKind(const char *path, const Source &raw, Container *container)
{
    const std::vector<uint8_t> head = HeadOf(*raw);
    if (const KnownContents *unsupported = UnsupportedContainer(head))
        return {Status::kUnsupportedContainer, unsupported->Sentence()};
    if (IsEwf(head))
        return OpenEwf(path, container);
    if (IsVhdImage(*raw)) {
        VhdImage image;
        Error error = OpenVhd(raw, &image);
        return Take(std::move(error), std::move(image), container);
    }
    if (IsVmdk(head)) {
        VmdkImage image;
        const std::string place = path;
        Error error =
            OpenVmdk(place.substr(place.rfind('/') + 1), raw, VmdkPartsBeside(place), &image);
        return Take(std::move(error), std::move(image), container);
    }
    const auto names = PartNames::OfRaw(path);
    if (IsSplit(names))
        return OpenParts(*names, container);
    if (names && names->Given() > 1 && names->Exists(1))
        container->firstPart = names->Name(1);
    container->source = raw;
    return {};
}

}  // namespace

Result<Container> OpenContainer(const std::string &path)
{
    bool isDevice = false;
    if (Error error = CheckKindOfFile(path.c_str(), &isDevice))
        return error;
    Source raw;
    if (Error error = OpenRaw(path.c_str(), isDevice, &raw))
        return error;
    Container container;
    if (isDevice)
        container.source = std::move(raw);
    else if (Error error = OpenByItsKind(path.c_str(), raw, &container))
        return error;
    if (container.files.empty())
        container.files.push_back(path);
    return container;
}

}  // namespace vx
