#include "VmdkImage.h"

#include "FilePool.h"
#include "JoinedSource.h"
#include "PartOfSource.h"
#include "VmdkDescription.h"
#include "VmdkGrains.h"
#include "VmdkTables.h"
#include "ZeroSource.h"

#include <algorithm>
#include <cerrno>
#include <set>
#include <sys/stat.h>
#include <utility>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;

constexpr uint64_t kSector = VmdkHeader::kSector;

Error Damaged()
{
    return {Status::kDamagedContainer,
            "the VMDK image is damaged, or one of its parts is missing or cannot be read"};
}

Error Cut(const std::string &name)
{
    return {Status::kTruncatedImage, name + " ends early"};
}

Error Refused(const std::string &name, const char *reason)
{
    return {Status::kUnsupportedContainer, "its part " + ShownName(name) + " " + reason};
}

Error CheckPartName(const std::string &name)
{
    const bool isElsewhere = name.find_first_of("/\\") != std::string::npos;
    if (isElsewhere || name == "." || name == "..")
        return Refused(name, "lies elsewhere, and only files beside the image are read");
    return {};
}

Error CheckPartFile(const std::string &path, const std::string &name)
{
    struct stat found;
    if (lstat(path.c_str(), &found) != 0) {
        if (errno == ENOENT)
            return {Status::kTruncatedImage, "its part " + ShownName(name) + " is missing"};
        return {Status::kSystemError, "its part " + ShownName(name), errno};
    }
    if (!S_ISREG(found.st_mode))
        return Refused(name, "is a link or no ordinary file, and is not read");
    return {};
}

Error OpenPart(FilePool &pool, const std::string &folder, const std::string &name, Source *part)
{
    if (Error error = CheckPartName(name))
        return error;
    if (Error error = CheckPartFile(folder + name, name))
        return error;
    auto opened = pool.Open(folder + name);
    if (opened) {
        *part = std::move(*opened);
        return {};
    }
    Error error = opened.Failure();
    if (IsPermissionError(error))
        error.detail = "your user may not read its part " + ShownName(name);
    return error;
}

// Tables of which some cannot be read, or lie beyond the end of the file, give way to their copy.
Error CheckTables(const std::string &name, const ByteSource &file, VmdkHeader *header,
                  VmdkImage *image)
{
    VmdkShortfall shortfall;
    Error error = FindVmdkShortfall(file, *header, &shortfall);
    if ((error || shortfall.isOfTables) && header->secondDirectory != 0) {
        std::swap(header->directory, header->secondDirectory);
        image->notes.push_back("the tables of " + name + " are damaged; their copy is used");
        shortfall = {};
        error = FindVmdkShortfall(file, *header, &shortfall);
    }
    if (error)
        return error;
    if (shortfall.isOfTables || (shortfall.isPacked && shortfall.missingBytes > 0))
        return Cut(name);
    if (shortfall.missingBytes > 0)
        image->notes.push_back(name + " ends early; " + std::to_string(shortfall.missingBytes) +
                               " bytes of the disk cannot be read");
    return {};
}

Error ReadText(const ByteSource &file, uint64_t at, uint64_t bytes, std::string *text)
{
    text->assign(static_cast<size_t>(std::min<uint64_t>(bytes, VmdkDescription::kLongestText)),
                 '\0');
    if (Error error = file.ReadAt(at, text->data(), text->size()))
        return error;
    return {};
}

// The text inside of a file that grows is of interest for one thing: whether it is a snapshot.
Error CheckIsWhole(const ByteSource &file, const VmdkHeader &header)
{
    const uint64_t sectors = file.Size() / kSector;
    if (header.text == 0 || header.text > sectors || header.textSectors > sectors - header.text)
        return {};
    std::string text;
    if (Error error = ReadText(file, header.text * kSector, header.textSectors * kSector, &text))
        return error;
    VmdkDescription description;
    Error error = VmdkDescription::Parse(text, &description);
    return error.status == Status::kUnsupportedContainer ? error : Error{};
}

Error OpenGrowing(const std::string &name, const Source &file, VmdkImage *image, Source *disk)
{
    std::optional<VmdkHeader> header;
    if (Error error = ReadVmdkHeader(*file, &header))
        return error.status == Status::kTruncatedImage ? Cut(name) : error;
    if (!header)
        return Damaged();
    if (Error error = CheckTables(name, *file, &*header, image))
        return error;
    if (Error error = CheckIsWhole(*file, *header))
        return error;
    *disk = std::make_shared<VmdkGrains>(file, *header);
    return {};
}

// The disk that a text describes.
class Extents {
public:
    Extents(const VmdkPartOpener &openPart, VmdkImage *image) : _openPart(openPart), _image(image)
    {
    }

    Error Open(const VmdkExtent &extent, Source *disk)
    {
        const uint64_t bytes = extent.sectors * kSector;
        if (extent.kind == VmdkExtent::Kind::kZeros) {
            *disk = std::make_shared<ZeroSource>(bytes);
            return {};
        }
        Source file;
        const std::string name = ShownName(extent.name);
        if (Error error = _openPart(extent.name, &file))
            return error;
        if (extent.kind == VmdkExtent::Kind::kFlat) {
            if (file->Size() / kSector < extent.first + extent.sectors)
                return Cut(name);
            *disk = std::make_shared<PartOfSource>(file, extent.first * kSector, bytes);
            return {};
        }
        if (!_growing.insert(extent.name).second)
            return Refused(extent.name, "is named twice");
        if (Error error = OpenGrowing(name, file, _image, disk))
            return error;
        if ((*disk)->Size() < bytes)
            return Damaged();
        *disk = std::make_shared<PartOfSource>(*disk, 0, bytes);
        return {};
    }

private:
    const VmdkPartOpener &_openPart;
    VmdkImage *const _image;
    std::set<std::string> _growing;
};

Error OpenText(const Source &file, const VmdkPartOpener &openPart, VmdkImage *image)
{
    std::string text;
    if (Error error = ReadText(*file, 0, file->Size(), &text))
        return error;
    VmdkDescription description;
    if (Error error = VmdkDescription::Parse(text, &description))
        return error;
    if (description.extents.empty())
        return Damaged();
    Extents extents(openPart, image);
    std::vector<Source> parts;
    for (const VmdkExtent &extent : description.extents) {
        Source part;
        if (Error error = extents.Open(extent, &part))
            return error;
        parts.push_back(std::move(part));
    }
    image->disk = std::make_shared<JoinedSource>(std::move(parts));
    return {};
}

}  // namespace

VmdkPartOpener VmdkPartsBeside(const std::string &path)
{
    const std::string folder = path.substr(0, path.rfind('/') + 1);
    return [pool = FilePool::Make(), folder](const std::string &name, Source *part) {
        return OpenPart(*pool, folder, name, part);
    };
}

Error OpenVmdk(const std::string &name, const Source &file, const VmdkPartOpener &openPart,
               VmdkImage *image)
{
    uint8_t head[4] = {};
    if (Error error = file->ReadAt(
            0, head, static_cast<size_t>(std::min<uint64_t>(sizeof head, file->Size()))))
        return error;
    return IsVmdkThatGrows({head, sizeof head}) ? OpenGrowing(name, file, image, &image->disk)
                                                : OpenText(file, openPart, image);
}

}  // namespace vx
