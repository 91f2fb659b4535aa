#include "VhdxWriter.h"

#include "Crc32.h"

#include <algorithm>
#include <map>

namespace vx {
namespace {

constexpr size_t kPage = 4096;
constexpr uint64_t kKiB = 1024;
constexpr uint64_t kHeaders[] = {64 * kKiB, 128 * kKiB};
constexpr uint64_t kRegions[] = {192 * kKiB, 256 * kKiB};

std::string Number(uint64_t value, size_t bytes)
{
    std::string text;
    for (size_t i = 0; i < bytes; ++i)
        text.push_back(static_cast<char>(value >> 8 * i));
    return text;
}

void Write(uint64_t at, const std::string &bytes, std::string *image)
{
    if (image->size() < at + bytes.size())
        image->resize(at + bytes.size());
    image->replace(at, bytes.size(), bytes);
}

void WriteSum(uint64_t at, size_t bytes, std::string *image)
{
    if (image->size() < at + bytes)
        return;
    const auto *place = reinterpret_cast<const uint8_t *>(image->data() + at);
    const uint32_t sum = Crc32WithoutField({place, bytes}, 4, Crc32::Kind::kCastagnoli);
    Write(at + 4, Number(sum, 4), image);
}

// The bytes of a GUID in its usual form.
std::string GuidBytes(const std::string &text)
{
    std::string digits = text;
    digits.erase(std::remove(digits.begin(), digits.end(), '-'), digits.end());
    std::string bytes;
    for (size_t at = 0; at < digits.size(); at += 2)
        bytes.push_back(static_cast<char>(std::stoi(digits.substr(at, 2), nullptr, 16)));
    std::reverse(bytes.begin(), bytes.begin() + 4);
    std::swap(bytes[4], bytes[5]);
    std::swap(bytes[6], bytes[7]);
    return bytes;
}

std::string Units(const std::u16string &text)
{
    std::string bytes;
    for (const char16_t unit : text)
        bytes += Number(unit, 2);
    return bytes;
}

}  // namespace

std::string VhdxLogEntry::Bytes() const
{
    std::string descriptors;
    std::string pages;
    for (const VhdxChange &change : changes) {
        if (change.page.empty()) {
            descriptors += "zero" + Number(0, 4) + Number(change.zeros, 8);
        } else {
            descriptors += "desc" + change.page.substr(kPage - 4) + change.page.substr(0, 8);
            pages += "data" + Number(sequence >> 32, 4) + change.page.substr(8, kPage - 12) +
                     Number(sequence, 4);
        }
        descriptors += Number(change.at, 8) + Number(sequence, 8);
    }
    const size_t head = (64 + descriptors.size() + kPage - 1) / kPage * kPage;
    std::string entry = "loge" + Number(0, 4) + Number(head + pages.size(), 4) + Number(tail, 4) +
                        Number(sequence, 8) + Number(changes.size(), 4) + Number(0, 4) + logId +
                        Number(flushedBytes, 8) + Number(neededBytes, 8) + descriptors;
    entry.resize(head);
    entry += pages;
    WriteSum(0, entry.size(), &entry);
    return entry;
}

uint64_t VhdxWriter::EntryAt(uint64_t block) const
{
    return TableAt() + 8 * (block + block / BlocksOfBits());
}

uint64_t VhdxWriter::EntryOfBitsAt(uint64_t block) const
{
    return TableAt() + 8 * ((block / BlocksOfBits() + 1) * (BlocksOfBits() + 1) - 1);
}

uint64_t VhdxWriter::TableBytes() const
{
    const uint64_t end = EntryOfBitsAt(_blocks.empty() ? 0 : _blocks.size() - 1) + 8 - TableAt();
    return (end + kMiB - 1) / kMiB * kMiB;
}

std::string VhdxWriter::Header(uint64_t sequence) const
{
    std::string header = "head" + Number(0, 4) + Number(sequence, 8) + std::string(16, 'F') +
                         _recipe.dataId + _recipe.logId + Number(0, 2) + Number(1, 2) +
                         Number(_recipe.logBytes, 4) + Number(kLogAt, 8);
    header.resize(kPage);
    return header;
}

std::string VhdxWriter::Regions() const
{
    std::string regions = "regi" + Number(0, 4) + Number(2, 4) + Number(0, 4);
    regions += GuidBytes("2dc27766-f623-4200-9d64-115e9bfd4a08") + Number(TableAt(), 8) +
               Number(TableBytes(), 4) + Number(1, 4);
    regions += GuidBytes("8b7ca206-4790-4b9a-b8fe-575f050f886e") + Number(MetadataAt(), 8) +
               Number(kMiB, 4) + Number(1, 4);
    regions.resize(64 * kKiB);
    return regions;
}

std::string VhdxWriter::Locator() const
{
    std::string entries;
    std::string texts;
    const size_t textsAt = 20 + 12 * _recipe.parent.size();
    for (const auto &[key, value] : _recipe.parent) {
        entries += Number(textsAt + texts.size(), 4);
        texts += Units(key);
        entries += Number(textsAt + texts.size(), 4);
        texts += Units(value);
        entries += Number(2 * key.size(), 2) + Number(2 * value.size(), 2);
    }
    return GuidBytes("b04aefb7-d19e-4a81-b789-25b8e9445913") + Number(0, 2) +
           Number(_recipe.parent.size(), 2) + entries + texts;
}

std::string VhdxWriter::Metadata() const
{
    const uint32_t flags = (_recipe.isFixed ? 1 : 0) | (_recipe.parent.empty() ? 0 : 2);
    std::vector<std::pair<std::string, std::string>> items = {
        {"caa16737-fa36-4d43-b3b6-33f0aa44e76b", Number(_recipe.blockBytes, 4) + Number(flags, 4)},
        {"2fa54224-cd1b-4876-b211-5dbed83bf4b8", Number(_recipe.diskBytes, 8)},
        {"beca12ab-b2e6-4523-93ef-c309e000c746", std::string(16, 'I')},
        {"8141bf1d-a96f-4709-ba47-f233a8faab5f", Number(_recipe.sectorBytes, 4)},
        {"cda348c7-445d-4471-9cc9-e9885251c556", Number(4096, 4)},
    };
    if (!_recipe.parent.empty())
        items.emplace_back("a8d35f2d-b30b-454d-abf7-d3d84834ab0c", Locator());
    std::string table = "metadata" + Number(0, 2) + Number(items.size(), 2) + std::string(20, '\0');
    std::string contents;
    for (const auto &[id, item] : items) {
        table += GuidBytes(id) + Number(64 * kKiB + contents.size(), 4) + Number(item.size(), 4) +
                 Number(4, 4) + Number(0, 4);
        contents += item;
    }
    table.resize(64 * kKiB);
    return table + contents;
}

std::string VhdxWriter::Image() const
{
    std::string image = "vhdxfile";
    Write(kHeaders[0], Header(7), &image);
    Write(kHeaders[1], Header(8), &image);
    Write(kRegions[0], Regions(), &image);
    Write(kRegions[1], Regions(), &image);
    Write(MetadataAt(), Metadata(), &image);
    image.resize(BlocksAt());
    std::map<uint64_t, uint64_t> bits;  // where those of an entry lie
    for (uint64_t number = 0; number < _blocks.size(); ++number) {
        const Block &block = _blocks[number];
        uint64_t at = 0;
        if (!block.data.empty()) {
            at = image.size();
            image += block.data;
            image.resize(at + _recipe.blockBytes);
        }
        Put(EntryAt(number), at | block.state, 8, &image);
        const uint64_t entry = EntryOfBitsAt(number);
        if (!block.sectors.empty() && bits.count(entry) == 0) {
            bits[entry] = image.size();
            Put(entry, image.size() | 6, 8, &image);
            image.resize(image.size() + kMiB);
        }
        const uint64_t first = number % BlocksOfBits() * (_recipe.blockBytes / _recipe.sectorBytes);
        for (uint64_t sector = 0; sector < block.sectors.size(); ++sector) {
            char &byte = image[bits[entry] + (first + sector) / 8];
            if (block.sectors[sector] == '1')
                byte = static_cast<char>(byte | 1 << (first + sector) % 8);
        }
    }
    RepairSums(&image);
    return image;
}

void VhdxWriter::Put(uint64_t at, uint64_t value, size_t bytes, std::string *image)
{
    Write(at, Number(value, bytes), image);
}

void VhdxWriter::RepairSums(std::string *image)
{
    for (const uint64_t at : kHeaders)
        WriteSum(at, kPage, image);
    for (const uint64_t at : kRegions)
        WriteSum(at, 64 * kKiB, image);
}

void VhdxWriter::PutLog(uint64_t at, const VhdxLogEntry &entry, std::string *image)
{
    Write(kLogAt + at, entry.Bytes(), image);
}

}  // namespace vx
