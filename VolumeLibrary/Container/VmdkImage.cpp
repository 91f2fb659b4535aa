#include "VmdkImage.h"

#include "FileBeside.h"
#include "FilePool.h"
#include "JoinedSource.h"
#include "PartOfSource.h"
#include "RememberingSource.h"
#include "VmdkDescription.h"
#include "VmdkGrains.h"
#include "VmdkHeader.h"
#include "VmdkPlaces.h"
#include "VmdkTables.h"

#include <algorithm>
#include <set>
#include <utility>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;

constexpr uint64_t kSector = VmdkHeader::kSector;

// What the text of an image calls ZERO.
class Zeros final : public ByteSource {
public:
    explicit Zeros(uint64_t size) : _size(size) {}

    uint64_t Size() const override { return _size; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override
    {
        if (Error error = CheckRange(_size, offset, count))
            return error;
        std::fill_n(static_cast<uint8_t *>(buffer), count, uint8_t{0});
        return {};
    }

private:
    const uint64_t _size;
};

Error Cut(const std::string &name)
{
    return {Status::kTruncatedImage, name + " ends early"};
}

Error Refused(const std::string &name, const char *reason)
{
    return {Status::kUnsupportedContainer, "its part " + ShownName(name) + " " + reason};
}

Result<Source> OpenPart(FilePool &pool, const std::string &image, const std::string &name,
                        uint32_t retries)
{
    const auto path = PathBeside(image, "its part", name);
    if (!path)
        return path.Failure();
    auto part = pool.Open(*path);
    if (part)
        return Source(std::make_shared<RememberingSource>(std::move(*part), retries));
    Error error = part.Failure();
    if (IsPermissionError(error))
        error.detail = "your user may not read its part " + ShownName(name);
    return error;
}

struct CheckedTables {
    VmdkHeader header;  // its first directory is the one to use
    std::vector<std::string> notes;
};

// If some tables cannot be read or lie beyond the end of the file, their copy is used.
Result<CheckedTables> CheckTables(const std::string &name, const ByteSource &file,
                                  const VmdkHeader &header)
{
    CheckedTables checked = {header, {}};
    auto shortfall = FindVmdkShortfall(file, header);
    if ((!shortfall || shortfall->isOfTables) && header.secondDirectory != 0) {
        std::swap(checked.header.directory, checked.header.secondDirectory);
        checked.notes.push_back("the tables of " + name + " are damaged; their copy is used");
        shortfall = FindVmdkShortfall(file, checked.header);
    }
    if (!shortfall)
        return shortfall.Failure();
    if (shortfall->isOfTables || (shortfall->isPacked && shortfall->missingBytes > 0))
        return Cut(name);
    if (!shortfall->isOfAll)
        checked.notes.push_back(name + " is so large that not all of its tables were checked; what "
                                       "it lacks shows only when it is read");
    if (shortfall->missingBytes > 0)
        checked.notes.push_back(name + " ends early; " + std::to_string(shortfall->missingBytes) +
                                " bytes of the disk cannot be read");
    return checked;
}

Container VmdkContainer(std::string description, Source disk, std::vector<std::string> notes)
{
    Container container = {std::move(disk), std::move(notes)};
    container.kind = "vmdk";
    container.description = std::move(description);
    container.sectorBytes = kSector;
    return container;
}

// "a flat VMDK image in 3 parts"
std::string Describe(const VmdkDescription &description)
{
    const bool isFlat = std::none_of(
        description.extents.begin(), description.extents.end(),
        [](const VmdkExtent &extent) { return extent.kind == VmdkExtent::Kind::kGrowing; });
    const size_t parts = description.extents.size();
    return std::string("a ") + (isFlat ? "flat" : "sparse") + " VMDK image" +
           (parts > 1 ? " in " + std::to_string(parts) + " parts" : "");
}

// What comes after the end of the text need not be readable.
Result<VmdkDescription> ReadDescription(const ByteSource &file, uint64_t at, uint64_t bytes)
{
    const uint64_t most = std::min<uint64_t>(bytes, VmdkDescription::kLongestText);
    std::string text;
    std::string piece;
    while (text.size() < most && piece.find('\0') == std::string::npos) {
        piece.resize(static_cast<size_t>(std::min<uint64_t>(kSector, most - text.size())));
        if (Error error = file.ReadAt(at + text.size(), piece.data(), piece.size()))
            return error;
        text += piece;
    }
    return VmdkDescription::Parse(text);
}

// Fails if the text in a file that grows cannot be read or says that the file is a snapshot. Of the
// rest only the size of the disk matters: the notes say if it is not that of the header.
Error CheckText(const std::string &name, const ByteSource &file, const VmdkHeader &header,
                std::vector<std::string> *notes)
{
    const uint64_t sectors = file.Size() / kSector;
    if (header.text == 0 || header.text > sectors || header.textSectors > sectors - header.text)
        return {};
    const auto description =
        ReadDescription(file, header.text * kSector, header.textSectors * kSector);
    if (!description)
        return description.Failure().status == Status::kDamagedContainer ? Error()
                                                                         : description.Failure();
    const std::vector<VmdkExtent> &extents = description->extents;
    if (extents.size() == 1 && extents[0].sectors != header.capacity)
        notes->push_back(
            "the header of " + name + " gives its disk " + std::to_string(header.capacity) +
            " sectors, which are read, and its text " + std::to_string(extents[0].sectors));
    return {};
}

void AddNotes(const std::string &name, const VmdkPlaces &places, std::vector<std::string> *notes)
{
    if (places.disputedGrains > 0)
        notes->push_back("the tables of " + name + " and their copy differ in " +
                         std::to_string(places.disputedGrains) +
                         " pieces; those that stay in doubt cannot be read");
    if (!places.contested.empty())
        notes->push_back("pieces of " + name +
                         " lie in the same place, which is impossible; they cannot be read");
    if (!places.isComplete)
        notes->push_back(name + " is too large to find out whether pieces lie in the same place");
}

Result<Container> OpenGrowing(const std::string &name, const Source &file)
{
    const auto header = ReadVmdkHeader(*file);
    if (!header)
        return header.Failure().status == Status::kTruncatedImage ? Cut(name) : header.Failure();
    auto checked = CheckTables(name, *file, *header);
    if (!checked)
        return checked.Failure();
    if (Error error = CheckText(name, *file, checked->header, &checked->notes))
        return error;
    VmdkPlaces places = VmdkPlaces::Examine(*file, checked->header);
    AddNotes(name, places, &checked->notes);
    return VmdkContainer(checked->header.isPacked ? "a packed VMDK image" : "a sparse VMDK image",
                         std::make_shared<VmdkGrains>(file, checked->header, std::move(places)),
                         std::move(checked->notes));
}

// The parts of the disk that a text describes.
class Extents {
public:
    explicit Extents(const VmdkPartOpener &openPart) : _openPart(openPart) {}

    Result<Source> Open(const VmdkExtent &extent)
    {
        const uint64_t bytes = extent.sectors * kSector;
        if (extent.kind == VmdkExtent::Kind::kZeros)
            return Source(std::make_shared<Zeros>(bytes));
        const auto file = _openPart(extent.name);
        if (!file)
            return file.Failure();
        if (extent.kind == VmdkExtent::Kind::kGrowing)
            return OpenPiece(extent, *file);
        if ((*file)->Size() / kSector < extent.first + extent.sectors)
            return Cut(ShownName(extent.name));
        return Source(std::make_shared<PartOfSource>(*file, extent.first * kSector, bytes));
    }

    std::vector<std::string> TakeNotes() { return std::move(_notes); }

private:
    Result<Source> OpenPiece(const VmdkExtent &extent, const Source &file)
    {
        if (!_growing.insert(extent.name).second)
            return Refused(extent.name, "is named twice");
        const auto piece = OpenGrowing(ShownName(extent.name), file);
        if (!piece)
            return piece.Failure();
        const uint64_t bytes = extent.sectors * kSector;
        if (piece->source->Size() < bytes)
            return DamagedVmdk();
        _notes.insert(_notes.end(), piece->notes.begin(), piece->notes.end());
        return Source(std::make_shared<PartOfSource>(piece->source, 0, bytes));
    }

    const VmdkPartOpener &_openPart;
    std::set<std::string> _growing;
    std::vector<std::string> _notes;
};

Result<Container> OpenText(const Source &file, const VmdkPartOpener &openPart)
{
    const auto description = ReadDescription(*file, 0, file->Size());
    if (!description)
        return description.Failure();
    if (description->extents.empty())
        return DamagedVmdk();
    Extents extents(openPart);
    std::vector<Source> parts;
    for (const VmdkExtent &extent : description->extents) {
        auto part = extents.Open(extent);
        if (!part)
            return part.Failure();
        parts.push_back(std::move(*part));
    }
    return VmdkContainer(Describe(*description), std::make_shared<JoinedSource>(std::move(parts)),
                         extents.TakeNotes());
}

}  // namespace

VmdkPartOpener VmdkPartsBeside(const std::string &path, uint32_t retries)
{
    return [pool = FilePool::Make(), path, retries](const std::string &name) {
        return OpenPart(*pool, path, name, retries);
    };
}

Result<Container> OpenVmdk(const std::string &name, const Source &file,
                           const VmdkPartOpener &openPart)
{
    uint8_t head[4] = {};
    if (Error error = file->ReadAt(
            0, head, static_cast<size_t>(std::min<uint64_t>(sizeof head, file->Size()))))
        return error;
    return IsVmdkThatGrows({head, sizeof head}) ? OpenGrowing(name, file)
                                                : OpenText(file, openPart);
}

}  // namespace vx
