#include "VhdWriter.h"

namespace vx {
namespace {

constexpr size_t kSector = 512;
constexpr size_t kHeaderAt = 512;
constexpr size_t kHeaderBytes = 1024;
constexpr size_t kLocatedAt = 4096;
constexpr uint32_t kReserved = 2;  // the feature that every image has
constexpr uint32_t kVersion = 0x00010000;

std::string Number(uint64_t value, size_t bytes)
{
    std::string text;
    while (bytes-- > 0)
        text.push_back(static_cast<char>(value >> 8 * bytes));
    return text;
}

void Put(size_t at, const std::string &value, std::string *bytes)
{
    if (bytes->size() < at + value.size())
        bytes->resize(at + value.size());
    bytes->replace(at, value.size(), value);
}

std::string Units(const std::u16string &text, bool isBig)
{
    std::string bytes;
    for (const char16_t unit : text) {
        const char high = static_cast<char>(unit >> 8);
        const char low = static_cast<char>(unit);
        bytes += isBig ? std::string{high, low} : std::string{low, high};
    }
    return bytes;
}

}  // namespace

void VhdWriter::AddBlock(const std::string &bits, const std::string &data)
{
    std::string block = bits;
    block.resize((bits.size() + kSector - 1) / kSector * kSector);
    _blocks.push_back(block + data);
}

std::string VhdWriter::WithSum(std::string bytes, size_t at)
{
    uint32_t sum = 0;
    Put(at, Number(0, 4), &bytes);
    for (const char byte : bytes)
        sum += static_cast<unsigned char>(byte);
    Put(at, Number(~sum, 4), &bytes);
    return bytes;
}

std::string VhdWriter::Footer() const
{
    std::string footer(kSector, '\0');
    Put(0, "conectix" + Number(kReserved, 4) + Number(kVersion, 4), &footer);
    Put(16, Number(_recipe.type == 2 ? ~uint64_t{0} : kHeaderAt, 8), &footer);
    Put(40, Number(_recipe.diskBytes, 8) + Number(_recipe.diskBytes, 8), &footer);
    Put(60, Number(_recipe.type, 4), &footer);
    Put(68, _recipe.id, &footer);
    return WithSum(footer, 64);
}

std::string VhdWriter::Header(std::string *locators) const
{
    std::string header(kHeaderBytes, '\0');
    Put(0, "cxsparse" + Number(~uint64_t{0}, 8), &header);
    Put(16, Number(_recipe.tableAt, 8), &header);
    Put(24, Number(kVersion, 4), &header);
    Put(28, Number(_recipe.entries.value_or(static_cast<uint32_t>(_blocks.size())), 4), &header);
    Put(32, Number(_recipe.blockBytes, 4), &header);
    Put(40, _recipe.parentId, &header);
    Put(64, Units(_recipe.parentName, true), &header);
    for (size_t number = 0; number < _recipe.locators.size(); ++number) {
        const auto &[kind, path] = _recipe.locators[number];
        const std::string bytes = Units(path, false);
        Put(576 + 24 * number,
            kind + Number(1, 4) + Number(bytes.size(), 4) + Number(0, 4) +
                Number(kLocatedAt + locators->size(), 8),
            &header);
        *locators += bytes;
    }
    return WithSum(header, 36);
}

std::string VhdWriter::Image() const
{
    if (_recipe.type == 2)
        return _blocks.at(0) + Footer();
    std::string locators;
    std::string image = Footer() + Header(&locators);
    Put(kLocatedAt, locators, &image);
    image.resize((image.size() + kSector - 1) / kSector * kSector);
    std::string table;
    for (const std::string &block : _blocks) {
        table += Number(block.empty() ? 0xFFFFFFFF : image.size() / kSector, 4);
        image += block;
    }
    for (const auto &[number, sector] : _entries)
        Put(4 * number, Number(sector, 4), &table);
    if (_recipe.tableAt < kLocatedAt)
        Put(_recipe.tableAt, table, &image);
    return image + Footer();
}

}  // namespace vx
