#include "VhdImage.h"

#include "ByteReader.h"
#include "PaddedSource.h"
#include "PartOfSource.h"
#include "PowerOfTwo.h"
#include "VhdBlocks.h"
#include "VhdTable.h"
#include "Wtf8.h"

#include <algorithm>
#include <array>
#include <utility>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;

constexpr const char *kFixed = "a fixed VHD image";
constexpr size_t kFooterBytes = 512;
constexpr size_t kHeaderBytes = 1024;

using Header = std::array<uint8_t, kHeaderBytes>;

enum class DiskType : uint32_t { kFixed = 2, kGrowing = 3, kDifferencing = 4 };

Container VhdContainer(const char *description, Source disk)
{
    Container container = {std::move(disk)};
    container.kind = "vhd";
    container.description = description;
    container.sectorBytes = 512;
    return container;
}

Error Damaged()
{
    return {Status::kDamagedContainer,
            "the VHD image is damaged, or one of its parts is missing or cannot be read"};
}

Error EndsEarly()
{
    return {Status::kTruncatedImage, "the VHD image ends early"};
}

// The checksum is the complement of the sum of all bytes but its own.
bool HasChecksum(ByteView bytes, size_t checksumAt)
{
    uint32_t sum = 0;
    for (size_t at = 0; at < bytes.size; ++at)
        sum += at >= checksumAt && at < checksumAt + 4 ? 0 : bytes.data[at];
    return ByteReader(bytes, checksumAt).BigU32() == ~sum;
}

// An image that grows begins with a copy of the footer at its end.
struct Footer {
    bool hasMark = false;
    bool isSound = false;  // it has the mark and fits its checksum
    uint64_t headerAt = 0;
    uint64_t diskBytes = 0;
    DiskType type = {};
    Guid id;  // its bytes, whatever their order
};

Footer ParseFooter(ByteView bytes)
{
    constexpr size_t kHeaderPlaceAt = 16;
    constexpr size_t kCurrentSizeAt = 48;
    constexpr size_t kTypeAt = 60;
    constexpr size_t kChecksumAt = 64;
    constexpr size_t kIdAt = 68;
    Footer footer;
    footer.hasMark = ByteReader(bytes).TakeMark(kVhdMark);
    footer.isSound = footer.hasMark && HasChecksum(bytes, kChecksumAt);
    footer.headerAt = ByteReader(bytes, kHeaderPlaceAt).BigU64();
    footer.diskBytes = ByteReader(bytes, kCurrentSizeAt).BigU64();
    footer.type = DiskType(ByteReader(bytes, kTypeAt).BigU32());
    footer.id = ByteReader(bytes, kIdAt).TakeGuid();
    return footer;
}

// Nothing if it cannot be read.
std::optional<Footer> ReadFooter(const ByteSource &file, uint64_t at)
{
    std::array<uint8_t, kFooterBytes> bytes;
    if (file.Size() < kFooterBytes || file.ReadAt(at, bytes.data(), bytes.size()))
        return std::nullopt;
    return ParseFooter({bytes.data(), bytes.size()});
}

std::optional<Footer> ReadFirst(const ByteSource &file)
{
    return ReadFooter(file, 0);
}

std::optional<Footer> ReadLast(const ByteSource &file)
{
    return ReadFooter(file, file.Size() - std::min<uint64_t>(file.Size(), kFooterBytes));
}

Result<Container> OpenFixed(const Source &file, const Footer &footer)
{
    const uint64_t stored = file->Size() - kFooterBytes;
    Container container = VhdContainer(
        kFixed, std::make_shared<PartOfSource>(file, 0, std::min(footer.diskBytes, stored)));
    if (footer.diskBytes > stored)
        container.notes.push_back("the VHD image says that it holds " +
                                  std::to_string(footer.diskBytes) + " bytes and holds " +
                                  std::to_string(stored));
    return container;
}

Container OpenFixedWithoutFooter(const Source &file)
{
    Container container =
        VhdContainer(kFixed, std::make_shared<PartOfSource>(file, 0, file->Size() - kFooterBytes));
    container.notes = {"the footer of the VHD image is damaged"};
    return container;
}

std::string Text(std::vector<uint8_t> bytes, bool isBig)
{
    for (size_t at = 0; isBig && at + 1 < bytes.size(); at += 2)
        std::swap(bytes[at], bytes[at + 1]);
    return Utf8FromUtf16(bytes);
}

// The paths of the parent in the locators of this kind.
void AddLocated(const ByteSource &file, const Header &header, std::string_view kind,
                std::vector<std::string> *paths)
{
    constexpr size_t kFirst = 576;
    constexpr size_t kLocators = 8;
    constexpr uint32_t kLongest = 4096;
    ByteReader reader({header.data(), header.size()}, kFirst);
    for (size_t number = 0; number < kLocators; ++number) {
        const bool isOfKind = reader.TakeMark(kind);
        reader.Skip(4);  // the room for it in the file
        std::vector<uint8_t> bytes(std::min(reader.BigU32(), kLongest));
        reader.Skip(4);
        const uint64_t place = reader.BigU64();
        if (isOfKind && !file.ReadAt(place, bytes.data(), bytes.size()))
            paths->push_back(Text(std::move(bytes), false));
    }
}

// The parent's relative and absolute paths, and its name.
std::vector<std::string> ParentPaths(const ByteSource &file, const Header &header)
{
    constexpr size_t kNameAt = 64;
    constexpr size_t kNameBytes = 512;
    std::vector<std::string> paths;
    AddLocated(file, header, "W2ru", &paths);
    AddLocated(file, header, "W2ku", &paths);
    const ByteView name = ByteReader({header.data(), header.size()}, kNameAt).Bytes(kNameBytes);
    paths.push_back(Text(name.Copy(), true));
    return paths;
}

bool IsHeader(ByteView header)
{
    constexpr size_t kChecksumAt = 36;
    return ByteReader(header).TakeMark("cxsparse") && HasChecksum(header, kChecksumAt);
}

VhdBlocks::Shape ShapeOf(const Footer &footer, ByteView header)
{
    constexpr size_t kTableAt = 16;
    VhdBlocks::Shape shape;
    ByteReader reader(header, kTableAt);
    shape.diskBytes = footer.diskBytes;
    shape.tableAt = reader.BigU64();
    reader.Skip(4);  // version
    shape.entries = reader.BigU32();
    shape.blockBytes = reader.BigU32();
    return shape;
}

bool MakesSense(const VhdBlocks::Shape &shape)
{
    return IsPowerOfTwo(shape.blockBytes) && shape.blockBytes >= VhdBlocks::kSmallestBlock &&
           shape.blockBytes <= VhdBlocks::kLargestBlock && shape.diskBytes <= uint64_t{INT64_MAX};
}

// The image's own structures beside the table.
VhdTable ExamineTable(const ByteSource &file, const Footer &footer, const VhdBlocks::Shape &shape)
{
    return VhdTable::Examine(file, shape,
                             {{0, kFooterBytes},
                              {footer.headerAt, kHeaderBytes},
                              {file.Size() - kFooterBytes, kFooterBytes}});
}

std::vector<std::string> NotesOf(const VhdTable &table)
{
    std::vector<std::string> notes;
    if (!table.contested.empty())
        notes.emplace_back("blocks of the VHD image lie in the same place, which is impossible; "
                           "they cannot be read");
    if (!table.isComplete)
        notes.emplace_back("the VHD image is too large to find out whether blocks lie in the same "
                           "place");
    return notes;
}

Result<Container> OpenDynamic(const Source &file, const VhdBlocks::Shape &shape, VhdTable table)
{
    return VhdContainer("a dynamic VHD image",
                        std::make_shared<VhdBlocks>(file, shape, std::move(table.contested)));
}

Result<Container> OpenDifferencing(const Source &file, const Header &header,
                                   const VhdBlocks::Shape &shape, VhdTable table,
                                   const ParentOpener &openParent)
{
    constexpr size_t kParentIdAt = 40;
    constexpr const char *kDifferencing = "a differencing VHD image";
    const Guid id = ByteReader({header.data(), header.size()}, kParentIdAt).TakeGuid();
    auto parent = openParent({kDifferencing,
                              ParentPaths(*file, header),
                              ContainerKind::kVhd,
                              {id.Text()},
                              shape.diskBytes});
    if (!parent)
        return parent;
    const auto disk = std::make_shared<PaddedSource>(parent->source, shape.diskBytes);
    Container container = VhdContainer(
        kDifferencing, std::make_shared<VhdBlocks>(file, shape, std::move(table.contested), disk));
    container.notes = std::move(parent->notes);
    container.files = std::move(parent->files);
    return container;
}

Result<Container> OpenGrowing(const Source &file, const Footer &footer,
                              const ParentOpener &openParent)
{
    Header header;
    if (Error error = file->ReadAt(footer.headerAt, header.data(), header.size()))
        return error.status == Status::kTruncatedImage ? EndsEarly() : error;
    const ByteView bytes = {header.data(), header.size()};
    if (!IsHeader(bytes))
        return Damaged();
    const VhdBlocks::Shape shape = ShapeOf(footer, bytes);
    if (!MakesSense(shape))
        return Damaged();
    if (shape.tableAt > file->Size() || (file->Size() - shape.tableAt) / 4 < shape.entries)
        return EndsEarly();
    VhdTable table = ExamineTable(*file, footer, shape);
    const std::vector<std::string> notes = NotesOf(table);
    auto container = footer.type == DiskType::kDifferencing
                         ? OpenDifferencing(file, header, shape, std::move(table), openParent)
                         : OpenDynamic(file, shape, std::move(table));
    if (container)
        container->notes.insert(container->notes.begin(), notes.begin(), notes.end());
    return container;
}

Result<Container> OpenWith(const Footer &footer, const Source &file, const ParentOpener &openParent)
{
    const bool isFixed = footer.type == DiskType::kFixed;
    if (!isFixed && footer.type != DiskType::kGrowing && footer.type != DiskType::kDifferencing)
        return Damaged();
    auto container = isFixed ? OpenFixed(file, footer) : OpenGrowing(file, footer, openParent);
    if (container)
        container->identity = footer.id.Text();
    return container;
}

}  // namespace

std::optional<uint64_t> PlaceOfLostVhdMark(const ByteSource &file)
{
    std::array<uint8_t, kFooterBytes> bytes;
    const uint64_t at = file.Size() - std::min<uint64_t>(file.Size(), kFooterBytes);
    if (file.Size() < kFooterBytes || file.ReadAt(at, bytes.data(), bytes.size()))
        return std::nullopt;
    const bool hasMark = ParseFooter({bytes.data(), bytes.size()}).hasMark;
    std::copy(kVhdMark.begin(), kVhdMark.end(), bytes.begin());
    const bool isSound = ParseFooter({bytes.data(), bytes.size()}).isSound;
    return isSound && !hasMark ? std::optional(at) : std::nullopt;
}

bool IsVhdImage(const ByteSource &file)
{
    const auto hasMark = [](const std::optional<Footer> &footer) {
        return footer && footer->hasMark;
    };
    return hasMark(ReadLast(file)) || hasMark(ReadFirst(file));
}

Result<Container> OpenVhd(const Source &file, const ParentOpener &openParent)
{
    const auto first = ReadFirst(*file);
    const auto last = ReadLast(*file);
    if (last && last->isSound)
        return OpenWith(*last, file, openParent);
    if (first && last && !first->hasMark)
        return OpenFixedWithoutFooter(file);
    if (!first || !first->isSound)
        return Damaged();
    if ((last && !last->hasMark) || file->Size() == kFooterBytes)
        return EndsEarly();
    auto container = OpenWith(*first, file, openParent);
    if (container)
        container->notes.insert(
            container->notes.begin(),
            last ? "the footer of the VHD image is damaged; its copy is used"
                 : "the footer of the VHD image cannot be read; its copy is used");
    return container;
}

}  // namespace vx
