#include "Container.h"

#include "ContainerKind.h"
#include "DeviceSize.h"
#include "EwfImage.h"
#include "LostMark.h"
#include "ParentImage.h"
#include "QcowImage.h"
#include "RawImage.h"
#include "RememberingSource.h"
#include "VdiImage.h"
#include "VhdImage.h"
#include "VhdxImage.h"
#include "VmdkImage.h"

#include <cerrno>
#include <sys/stat.h>
#include <utility>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;

enum class FileForm { kFile, kDevice };

// Opening a FIFO would wait for a writer, so the form is found without opening.
Result<FileForm> FormOf(const std::string &path)
{
    struct stat found;
    if (stat(path.c_str(), &found) != 0)
        return Error{Status::kSystemError, "", errno};
    if (IsDiskDevice(found.st_mode))
        return FileForm::kDevice;
    if (S_ISREG(found.st_mode))
        return FileForm::kFile;
    return Error{Status::kNotAVolume, "it is neither a folder nor a disk or an image"};
}

std::string AdviceForPermission(FileForm form)
{
    return form == FileForm::kDevice ? AdviceForReadingDevice()
                                     : "let your user read the file: chmod u+r FILE as its owner";
}

Result<Container> InForm(const char *form, Result<Container> image)
{
    if (image)
        image->form = form;
    return image;
}

Result<Container> OpenAs(const FoundContainer &found, const std::string &path, const Source &file,
                         const ParentOpener &parents, uint32_t retries)
{
    switch (found.kind) {
    case ContainerKind::kUnsupported:
        return Error{Status::kUnsupportedContainer, found.unsupported->Sentence()};
    case ContainerKind::kEwf:
        return InForm("an E01 or S01 image", OpenEwf(path, retries));
    case ContainerKind::kVhd:
        return InForm("a VHD image", OpenVhd(file, parents));
    case ContainerKind::kVhdx:
        return InForm("a VHDX image", OpenVhdx(file, parents));
    case ContainerKind::kVmdk:
        return InForm("a VMDK image", OpenVmdk(path.substr(path.rfind('/') + 1), file,
                                               VmdkPartsBeside(path, retries)));
    case ContainerKind::kQcow:
        return InForm("a QCOW2 image", OpenQcow(file, parents, DataFileBeside(path)));
    case ContainerKind::kVdi:
        return InForm("a VDI image", OpenVdi(file));
    case ContainerKind::kSplit:
        return OpenSplit(*found.parts);
    case ContainerKind::kRaw:
        break;
    }
    Container raw = {file};
    if (found.named != nullptr)
        raw.notes.push_back("its name is that of a " + std::string(found.named) +
                            " image, but nothing in it shows one; it is read as a raw image");
    if (found.parts && found.parts->Given() > 1 && found.parts->Exists(1))
        raw.firstPart = found.parts->Name(1);
    return raw;
}

// With the mark that it lacks put in place.
Result<Container> OpenMarked(const FoundContainer &found, const std::string &path,
                             const Source &file, const ParentOpener &parents, uint32_t retries)
{
    const Source marked = std::make_shared<MarkedSource>(file, *found.lostMark);
    auto container = OpenAs(found, path, marked, parents, retries);
    if (container)
        container->notes.insert(container->notes.begin(),
                                "the signature of the " + std::string(found.lostMark->format) +
                                    " image is damaged; it is recognised by the rest of it");
    return container;
}

Container OpenDevice(const std::string &path, const Source &device)
{
    Container container = {device};
    container.kind = "device";
    container.description = "a device";
    container.sectorBytes = DeviceSectorBytes(path);
    return container;
}

// wanted: the kind that the file must have, if any. A raw image is not examined.
Result<Container> OpenWanted(const std::string &path, std::optional<ContainerKind> wanted,
                             const ParentOpener &parents, uint32_t retries)
{
    const auto form = FormOf(path);
    if (!form)
        return form.Failure();
    const auto file = OpenRaw(path, AdviceForPermission(*form));
    if (!file)
        return file.Failure();
    if (*form == FileForm::kDevice)
        return OpenDevice(path, *file);
    if (wanted == ContainerKind::kRaw)
        return Container{*file};
    const Source kept = std::make_shared<RememberingSource>(*file, retries);
    const FoundContainer found = FindContainerKind(path, *kept);
    if (wanted && found.kind != *wanted && found.kind != ContainerKind::kUnsupported)
        return Error{Status::kUnsupportedContainer, "it is not of the format that is needed"};
    if (found.lostMark)
        return OpenMarked(found, path, kept, parents, retries);
    const Source &source = found.kind == ContainerKind::kRaw ? *file : kept;
    return OpenAs(found, path, source, parents, retries);
}

// With the path before those of further parts and of parents.
Result<Container> OpenImage(const std::string &path, std::optional<ContainerKind> wanted,
                            const ParentOpener &parents, uint32_t retries)
{
    auto container = OpenWanted(path, wanted, parents, retries);
    if (container && (container->files.empty() || container->files.front() != path))
        container->files.insert(container->files.begin(), path);
    return container;
}

}  // namespace

Result<Container> OpenContainer(const std::string &path, uint32_t retries)
{
    const auto open = [retries](const std::string &image, std::optional<ContainerKind> wanted,
                                const ParentOpener &parents) {
        return OpenImage(image, wanted, parents, retries);
    };
    return open(path, {}, ParentImage::Beside(path, open));
}

ReadingLimits LimitsFor(const Container &container, ReadingLimits limits)
{
    if (container.inDoubt.empty())
        return limits;
    ByteRanges ranges = container.inDoubt;
    std::string why = container.doubt;
    if (limits.withheld != nullptr) {
        ranges.insert(ranges.end(), limits.withheld->begin(), limits.withheld->end());
        why = std::string(ReadingLimits::kMarkedByMap) + ", or " + why;
    }
    limits.withheld = std::make_shared<const ByteRanges>(JoinedRanges(std::move(ranges)));
    limits.whyWithheld = std::move(why);
    return limits;
}

}  // namespace vx
