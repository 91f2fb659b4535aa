#include "VhdImage.h"

#include "ByteReader.h"
#include "PartOfSource.h"
#include "PowerOfTwo.h"
#include "VhdBlocks.h"
#include "Wtf8.h"

#include <algorithm>
#include <array>
#include <optional>
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
};

Footer ParseFooter(ByteView bytes)
{
    constexpr size_t kHeaderPlaceAt = 16;
    constexpr size_t kCurrentSizeAt = 48;
    constexpr size_t kTypeAt = 60;
    constexpr size_t kChecksumAt = 64;
    Footer footer;
    footer.hasMark = ByteReader(bytes).TakeMark("conectix");
    footer.isSound = footer.hasMark && HasChecksum(bytes, kChecksumAt);
    footer.headerAt = ByteReader(bytes, kHeaderPlaceAt).BigU64();
    footer.diskBytes = ByteReader(bytes, kCurrentSizeAt).BigU64();
    footer.type = DiskType(ByteReader(bytes, kTypeAt).BigU32());
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

// A name for a message: control characters could do harm to a terminal.
std::string Text(std::vector<uint8_t> bytes, bool isBig)
{
    for (size_t at = 0; isBig && at + 1 < bytes.size(); at += 2)
        std::swap(bytes[at], bytes[at + 1]);
    std::string text = Utf8FromUtf16(bytes);
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return text;
}

// The path of the parent in one of the locators of this kind; empty if there is none.
std::string LocatedParent(const ByteSource &file, const Header &header, std::string_view kind)
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
        if (isOfKind && !bytes.empty() && !file.ReadAt(place, bytes.data(), bytes.size()))
            return Text(std::move(bytes), false);
    }
    return {};
}

std::string ParentOf(const ByteSource &file, const Header &header)
{
    constexpr size_t kNameAt = 64;
    constexpr size_t kNameBytes = 512;
    for (const char *kind : {"W2ku", "W2ru"}) {
        std::string parent = LocatedParent(file, header, kind);
        if (!parent.empty())
            return parent;
    }
    const ByteView name = ByteReader({header.data(), header.size()}, kNameAt).Bytes(kNameBytes);
    return Text(name.Copy(), true);
}

Error HasParent(const std::string &parent)
{
    return {Status::kUnsupportedContainer, "it is a differencing VHD; its parent is " +
                                               (parent.empty() ? "not named" : parent) +
                                               ", and both must be merged into one image first"};
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

Result<Container> OpenGrowing(const Source &file, const Footer &footer)
{
    Header header;
    if (Error error = file->ReadAt(footer.headerAt, header.data(), header.size()))
        return error.status == Status::kTruncatedImage ? EndsEarly() : error;
    const ByteView bytes = {header.data(), header.size()};
    if (!IsHeader(bytes))
        return Damaged();
    if (footer.type == DiskType::kDifferencing)
        return HasParent(ParentOf(*file, header));
    const VhdBlocks::Shape shape = ShapeOf(footer, bytes);
    if (!MakesSense(shape))
        return Damaged();
    if (shape.tableAt > file->Size() || (file->Size() - shape.tableAt) / 4 < shape.entries)
        return EndsEarly();
    return VhdContainer("a dynamic VHD image", std::make_shared<VhdBlocks>(file, shape));
}

Result<Container> OpenWith(const Footer &footer, const Source &file)
{
    switch (footer.type) {
    case DiskType::kFixed:
        return OpenFixed(file, footer);
    case DiskType::kGrowing:
    case DiskType::kDifferencing:
        return OpenGrowing(file, footer);
    }
    return Damaged();
}

}  // namespace

bool IsVhdImage(const ByteSource &file)
{
    const auto hasMark = [](const std::optional<Footer> &footer) {
        return footer && footer->hasMark;
    };
    return hasMark(ReadLast(file)) || hasMark(ReadFirst(file));
}

Result<Container> OpenVhd(const Source &file)
{
    const auto first = ReadFirst(*file);
    const auto last = ReadLast(*file);
    if (last && last->isSound)
        return OpenWith(*last, file);
    if (first && last && !first->hasMark)
        return OpenFixedWithoutFooter(file);
    if (!first || !first->isSound)
        return Damaged();
    if (!last || !last->hasMark || file->Size() == kFooterBytes)
        return EndsEarly();
    auto container = OpenWith(*first, file);
    if (container)
        container->notes.insert(container->notes.begin(),
                                "the footer of the VHD image is damaged; its copy is used");
    return container;
}

}  // namespace vx
