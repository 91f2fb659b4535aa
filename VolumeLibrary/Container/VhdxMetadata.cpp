#include "VhdxMetadata.h"

#include "ByteReader.h"
#include "PowerOfTwo.h"
#include "VhdxHeader.h"
#include "Wtf8.h"

#include <algorithm>
#include <map>

namespace vx {
namespace {

constexpr uint32_t kTableBytes = uint32_t{64} << 10;
constexpr uint32_t kLongestItem = uint32_t{64} << 10;
constexpr uint16_t kMostItems = 2047;

constexpr const char *kFileParameters = "caa16737-fa36-4d43-b3b6-33f0aa44e76b";
constexpr const char *kDiskBytes = "2fa54224-cd1b-4876-b211-5dbed83bf4b8";
constexpr const char *kDiskId = "beca12ab-b2e6-4523-93ef-c309e000c746";
constexpr const char *kSectorBytes = "8141bf1d-a96f-4709-ba47-f233a8faab5f";
constexpr const char *kPhysicalSectorBytes = "cda348c7-445d-4471-9cc9-e9885251c556";
constexpr const char *kParentLocator = "a8d35f2d-b30b-454d-abf7-d3d84834ab0c";
constexpr const char *kVhdxLocator = "b04aefb7-d19e-4a81-b789-25b8e9445913";

struct Item {
    uint32_t at = 0;  // in the region
    uint32_t bytes = 0;
};

using Items = std::map<std::string, Item>;

bool IsKnown(const std::string &id)
{
    constexpr std::string_view kKnown[] = {kFileParameters, kDiskBytes,           kDiskId,
                                           kSectorBytes,    kPhysicalSectorBytes, kParentLocator};
    return std::find(std::begin(kKnown), std::end(kKnown), id) != std::end(kKnown);
}

// The items that this reader knows.
Result<Items> ReadItems(const ByteSource &file, const VhdxRegion &region)
{
    constexpr size_t kCountAt = 10;
    constexpr size_t kEntriesAt = 32;
    constexpr uint32_t kIsRequired = 4;
    std::vector<uint8_t> table(kTableBytes);
    if (Error error = file.ReadAt(region.at, table.data(), table.size()))
        return error;
    const uint16_t count = U16At(table, kCountAt);
    if (!ByteReader(table).TakeMark("metadata") || count > kMostItems)
        return DamagedVhdx("its metadata is not valid");
    Items items;
    ByteReader reader(table, kEntriesAt);
    for (uint16_t number = 0; number < count; ++number) {
        const std::string id = reader.TakeGuid().Text();
        Item item;
        item.at = reader.U32();
        item.bytes = reader.U32();
        const uint32_t flags = reader.U32();
        reader.Skip(4);
        if (!IsKnown(id)) {
            if ((flags & kIsRequired) != 0)
                return Error{Status::kUnsupportedContainer,
                             "it is a VHDX image with the unknown property " + id};
            continue;
        }
        const bool isInside = item.at >= kTableBytes && item.at <= region.bytes &&
                              item.bytes <= region.bytes - item.at;
        if (!isInside || !items.emplace(id, item).second)
            return DamagedVhdx("its metadata makes no sense");
    }
    return items;
}

class ItemReader {
public:
    ItemReader(const ByteSource &file, const VhdxRegion &region, const Items &items)
        : _file(file), _region(region), _items(items)
    {
    }

    // The bytes of an item with at least this many.
    Result<std::vector<uint8_t>> Read(const char *id, uint32_t least) const
    {
        const auto found = _items.find(id);
        if (found == _items.end() || found->second.bytes < least)
            return DamagedVhdx("its metadata lacks a property");
        std::vector<uint8_t> bytes(std::min(found->second.bytes, kLongestItem));
        if (Error error = _file.ReadAt(_region.at + found->second.at, bytes.data(), bytes.size()))
            return error;
        return bytes;
    }

    // A number of 4 or 8 bytes.
    Error ReadNumber(const char *id, uint32_t width, uint64_t *number) const
    {
        const auto bytes = Read(id, width);
        if (!bytes)
            return bytes.Failure();
        *number = width == 4 ? U32At(*bytes, 0) : U64At(*bytes, 0);
        return {};
    }

private:
    const ByteSource &_file;
    const VhdxRegion &_region;
    const Items &_items;
};

std::string TextOf(ByteView item, uint32_t at, uint16_t bytes)
{
    return Utf8FromUtf16(item.From(at).First(bytes));
}

// "{83ED0EC3-...}" as a Guid is written here.
std::string IdOf(std::string text)
{
    text.erase(
        std::remove_if(text.begin(), text.end(), [](char c) { return c == '{' || c == '}'; }),
        text.end());
    std::transform(text.begin(), text.end(), text.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    return text;
}

Error ParseParent(ByteView item, VhdxMetadata *metadata)
{
    constexpr uint16_t kLongestKey = 64;
    ByteReader reader(item);
    if (reader.TakeGuid().Text() != kVhdxLocator)
        return {Status::kUnsupportedContainer,
                "it is a differencing VHDX image whose parent is no VHDX image"};
    reader.Skip(2);
    std::map<std::string, std::string> values = {{"parent_linkage", ""},
                                                 {"parent_linkage2", ""},
                                                 {"relative_path", ""},
                                                 {"volume_path", ""},
                                                 {"absolute_win32_path", ""}};
    for (uint16_t left = reader.U16(); left > 0 && reader.Good(); --left) {
        const uint32_t keyAt = reader.U32();
        const uint32_t valueAt = reader.U32();
        const uint16_t keyBytes = reader.U16();
        const uint16_t valueBytes = reader.U16();
        const auto value = values.find(TextOf(item, keyAt, std::min(keyBytes, kLongestKey)));
        if (value != values.end() && value->second.empty())
            value->second = TextOf(item, valueAt, valueBytes);
    }
    for (const char *key : {"parent_linkage", "parent_linkage2"}) {
        if (!values[key].empty())
            metadata->parentIds.push_back(IdOf(values[key]));
    }
    for (const char *key : {"relative_path", "volume_path", "absolute_win32_path"}) {
        if (!values[key].empty())
            metadata->parentPaths.push_back(values[key]);
    }
    return metadata->parentIds.empty() ? DamagedVhdx("it does not say which parent it has")
                                       : Error();
}

bool MakesSense(const VhdxMetadata &metadata)
{
    constexpr uint32_t kLargestBlock = uint32_t{256} << 20;
    const bool isSector = metadata.sectorBytes == 512 || metadata.sectorBytes == 4096;
    return isSector && metadata.diskBytes <= VhdxMetadata::kLargestDisk &&
           metadata.diskBytes % metadata.sectorBytes == 0 && IsPowerOfTwo(metadata.blockBytes) &&
           metadata.blockBytes >= kVhdxUnit && metadata.blockBytes <= kLargestBlock;
}

}  // namespace

Result<VhdxMetadata> ReadVhdxMetadata(const ByteSource &file, const VhdxRegion &region)
{
    constexpr uint32_t kIsFixed = 1;
    constexpr uint32_t kHasParent = 2;
    const auto items = ReadItems(file, region);
    if (!items)
        return items.Failure();
    const ItemReader reader(file, region, *items);
    VhdxMetadata metadata;
    uint64_t sectorBytes = 0;
    const auto parameters = reader.Read(kFileParameters, 8);
    if (!parameters)
        return parameters.Failure();
    if (Error error = reader.ReadNumber(kDiskBytes, 8, &metadata.diskBytes))
        return error;
    if (Error error = reader.ReadNumber(kSectorBytes, 4, &sectorBytes))
        return error;
    metadata.sectorBytes = static_cast<uint32_t>(sectorBytes);
    metadata.blockBytes = U32At(*parameters, 0);
    metadata.hasParent = (U32At(*parameters, 4) & kHasParent) != 0;
    metadata.isFixed = !metadata.hasParent && (U32At(*parameters, 4) & kIsFixed) != 0;
    if (!MakesSense(metadata))
        return DamagedVhdx("its sizes make no sense");
    if (!metadata.hasParent)
        return metadata;
    const auto locator = reader.Read(kParentLocator, 20);
    if (!locator)
        return locator.Failure();
    if (Error error = ParseParent(*locator, &metadata))
        return error;
    return metadata;
}

}  // namespace vx
