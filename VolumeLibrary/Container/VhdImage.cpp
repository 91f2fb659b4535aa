#include "VhdImage.h"

#include "Big.h"
#include "ContainerKind.h"
#include "Little.h"
#include "PartOfSource.h"
#include "VhdBlocks.h"
#include "Wtf8.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <utility>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;

constexpr size_t kFooterBytes = 512;
constexpr size_t kHeaderBytes = 1024;

using Footer = std::array<uint8_t, kFooterBytes>;
using Header = std::array<uint8_t, kHeaderBytes>;

enum class DiskType : uint32_t { kFixed = 2, kGrowing = 3, kDifferencing = 4 };

Error Damaged()
{
    return {Status::kDamagedContainer,
            "the VHD image is damaged, or one of its parts is missing or cannot be read"};
}

Error EndsEarly()
{
    return {Status::kTruncatedImage, "the VHD image ends early"};
}

bool ReadFooter(const ByteSource &file, uint64_t at, Footer *footer)
{
    return file.Size() >= kFooterBytes && !file.ReadAt(at, footer->data(), footer->size());
}

bool ReadLast(const ByteSource &file, Footer *footer)
{
    return ReadFooter(file, file.Size() - std::min<uint64_t>(file.Size(), kFooterBytes), footer);
}

ByteView ViewOf(const Footer &footer)
{
    return {footer.data(), footer.size()};
}

bool HasChecksum(const Header &header)
{
    constexpr size_t kChecksumAt = 36;
    uint32_t sum = 0;
    for (size_t at = 0; at < header.size(); ++at)
        sum += at >= kChecksumAt && at < kChecksumAt + 4 ? 0 : header[at];
    return Big32(header.data() + kChecksumAt) == ~sum;
}

// One that grows begins like its footer, whatever happened to both.
bool IsFixedWithoutFooter(const ByteSource &file)
{
    Footer first;
    Footer last;
    return ReadFooter(file, 0, &first) && !IsVhd(ViewOf(first)) && ReadLast(file, &last) &&
           !HasSoundVhdFooter(ViewOf(last));
}

// A file that grows has its footer at both ends. Of the two, the one at the end is newer.
Error FindFooter(const ByteSource &file, Footer *footer, VhdImage *image)
{
    Footer first;
    const bool hasFirst = ReadFooter(file, 0, &first) && HasSoundVhdFooter(ViewOf(first));
    const bool hasLast = ReadLast(file, footer);
    if (hasLast && HasSoundVhdFooter(ViewOf(*footer)))
        return {};
    if (!hasFirst)
        return Damaged();
    if (!hasLast || file.Size() == kFooterBytes || !IsVhd(ViewOf(*footer)))
        return EndsEarly();
    *footer = first;
    image->notes.emplace_back("the footer of the VHD image is damaged; its copy is used");
    return {};
}

uint64_t DiskBytes(const Footer &footer)
{
    constexpr size_t kCurrentSize = 48;
    return Big64(footer.data() + kCurrentSize);
}

Error OpenFixed(const Source &file, const Footer &footer, VhdImage *image)
{
    const uint64_t stored = file->Size() - kFooterBytes;
    if (DiskBytes(footer) > stored)
        image->notes.push_back("the VHD image says that it holds " +
                               std::to_string(DiskBytes(footer)) + " bytes and holds " +
                               std::to_string(stored));
    image->disk = std::make_shared<PartOfSource>(file, 0, std::min(DiskBytes(footer), stored));
    return {};
}

// The name is for a terminal.
std::string Text(std::vector<uint8_t> bytes, bool isBig)
{
    for (size_t at = 0; isBig && at + 1 < bytes.size(); at += 2)
        std::swap(bytes[at], bytes[at + 1]);
    std::string text = Utf8FromUtf16(bytes);
    std::replace_if(
        text.begin(), text.end(), [](unsigned char c) { return c < 0x20 || c == 0x7F; }, '?');
    return text;
}

// Where the parent is, as one of the platforms noted it; empty if none says so.
std::string LocatedParent(const ByteSource &file, const Header &header)
{
    constexpr size_t kFirst = 576;
    constexpr size_t kLocatorBytes = 24;
    constexpr size_t kLocators = 8;
    constexpr uint32_t kLongest = 4096;
    for (const char *code : {"W2ku", "W2ru"}) {
        for (size_t number = 0; number < kLocators; ++number) {
            const uint8_t *locator = header.data() + kFirst + number * kLocatorBytes;
            std::vector<uint8_t> bytes(std::min(Big32(locator + 8), kLongest));
            if (std::memcmp(locator, code, 4) == 0 && !bytes.empty() &&
                !file.ReadAt(Big64(locator + 16), bytes.data(), bytes.size()))
                return Text(std::move(bytes), false);
        }
    }
    return {};
}

Error HasParent(const ByteSource &file, const Header &header)
{
    constexpr size_t kName = 64;
    constexpr size_t kNameBytes = 512;
    std::string parent = LocatedParent(file, header);
    if (parent.empty())
        parent = Text({header.begin() + kName, header.begin() + kName + kNameBytes}, true);
    return {Status::kUnsupportedContainer, "it is a differencing VHD; its parent is " +
                                               (parent.empty() ? "not named" : parent) +
                                               ", and both must be merged into one image first"};
}

Error OpenGrowing(const Source &file, const Footer &footer, VhdImage *image)
{
    constexpr size_t kDataOffset = 16;
    constexpr size_t kType = 60;
    Header header;
    if (Error error =
            file->ReadAt(Big64(footer.data() + kDataOffset), header.data(), header.size()))
        return error.status == Status::kTruncatedImage ? EndsEarly() : error;
    if (std::memcmp(header.data(), "cxsparse", 8) != 0 || !HasChecksum(header))
        return Damaged();
    if (DiskType(Big32(footer.data() + kType)) == DiskType::kDifferencing)
        return HasParent(*file, header);
    VhdBlocks::Shape shape;
    shape.diskBytes = DiskBytes(footer);
    shape.tableAt = Big64(header.data() + 16);
    shape.entries = Big32(header.data() + 28);
    shape.blockBytes = Big32(header.data() + 32);
    if (!IsPowerOfTwo(shape.blockBytes) || shape.blockBytes < 512 ||
        shape.blockBytes > VhdBlocks::kLargestBlock || shape.diskBytes > uint64_t{INT64_MAX})
        return Damaged();
    if (shape.tableAt > file->Size() || (file->Size() - shape.tableAt) / 4 < shape.entries)
        return EndsEarly();
    image->disk = std::make_shared<VhdBlocks>(file, shape);
    return {};
}

}  // namespace

bool IsVhdImage(const ByteSource &file)
{
    Footer footer;
    return (ReadLast(file, &footer) && IsVhd(ViewOf(footer))) ||
           (ReadFooter(file, 0, &footer) && IsVhd(ViewOf(footer)));
}

Error OpenVhd(const Source &file, VhdImage *image)
{
    constexpr size_t kType = 60;
    Footer footer;
    if (IsFixedWithoutFooter(*file)) {
        image->notes.emplace_back("the footer of the VHD image is damaged");
        image->disk = std::make_shared<PartOfSource>(file, 0, file->Size() - kFooterBytes);
        return {};
    }
    if (Error error = FindFooter(*file, &footer, image))
        return error;
    switch (DiskType(Big32(footer.data() + kType))) {
    case DiskType::kFixed:
        return OpenFixed(file, footer, image);
    case DiskType::kGrowing:
    case DiskType::kDifferencing:
        return OpenGrowing(file, footer, image);
    }
    return Damaged();
}

}  // namespace vx
