#include "EwfWriter.h"

#include <zlib.h>

namespace vx {
namespace {

constexpr size_t kSector = 512;
constexpr size_t kSectionHeader = 76;

std::string Number(uint64_t value, size_t bytes)
{
    std::string text;
    for (size_t at = 0; at < bytes; ++at)
        text.push_back(static_cast<char>(value >> 8 * at));
    return text;
}

std::string WithSum(std::string bytes)
{
    bytes += EwfWriter::Sum(bytes);
    return bytes;
}

std::string Padded(std::string bytes, size_t size)
{
    bytes.resize(size);
    return bytes;
}

void AddSection(const std::string &type, const std::string &data, std::string *image)
{
    const uint64_t end = image->size() + kSectionHeader + data.size();
    const uint64_t next = type == "done" || type == "next" ? image->size() : end;
    *image += WithSum(
        Padded(Padded(type, 16) + Number(next, 8) + Number(kSectionHeader + data.size(), 8), 72));
    *image += data;
}

}  // namespace

EwfWriter::EwfWriter(const std::string &disk, const EwfRecipe &recipe)
    : _recipe(recipe), _sectors(disk.size() / kSector)
{
    const size_t size = recipe.sectorsOfChunk * kSector;
    for (size_t at = 0; at < disk.size(); at += size) {
        const std::string chunk = disk.substr(at, size);
        _chunks.push_back(recipe.isPacked ? Packed(chunk) : WithSum(chunk));
    }
}

std::string EwfWriter::Packed(const std::string &bytes)
{
    uLongf size = compressBound(bytes.size());
    std::string packed(size, '\0');
    compress2(reinterpret_cast<Bytef *>(packed.data()), &size,
              reinterpret_cast<const Bytef *>(bytes.data()), bytes.size(), Z_BEST_SPEED);
    return packed.substr(0, size);
}

std::string EwfWriter::Sum(const std::string &bytes)
{
    return Number(adler32_z(1, reinterpret_cast<const Bytef *>(bytes.data()), bytes.size()), 4);
}

void EwfWriter::SetEntry(size_t number, uint32_t entry)
{
    _entries.emplace_back(number, entry);
}

std::string EwfWriter::Description() const
{
    const bool isOld = _recipe.kind == EwfRecipe::Kind::kOld;
    const std::string fields = Number(1, 4) + Number(_chunks.size(), 4) +
                               Number(_recipe.sectorsOfChunk, 4) + Number(kSector, 4) +
                               Number(_sectors, 8);
    constexpr size_t kSetAt = 64;
    return WithSum(isOld ? Padded(fields, 85) + "SMART"
                         : Padded(Padded(fields, kSetAt) + _recipe.set, 1048));
}

std::string EwfWriter::Table(uint64_t chunksAt, bool isDamaged) const
{
    constexpr uint32_t kPacked = uint32_t{1} << 31;
    std::vector<uint32_t> entries;
    for (const std::string &chunk : _chunks) {
        entries.push_back(static_cast<uint32_t>(chunksAt - _recipe.base) |
                          (_recipe.isPacked ? kPacked : 0));
        chunksAt += chunk.size();
    }
    for (const auto &[number, entry] : _entries)
        entries[number] = entry;
    std::string numbers;
    for (const uint32_t entry : entries)
        numbers += Number(entry, 4);
    if (_recipe.kind == EwfRecipe::Kind::kNew)
        numbers = WithSum(numbers);
    if (isDamaged)
        numbers[1] = static_cast<char>(numbers[1] ^ 1);
    const std::string header =
        Padded(Number(entries.size(), 4) + Number(0, 4) + Number(_recipe.base, 8), 20);
    return WithSum(header) + numbers;
}

std::string EwfWriter::Joined() const
{
    std::string all;
    for (const std::string &chunk : _chunks)
        all += chunk;
    return all;
}

std::string EwfWriter::Image() const
{
    std::string image("EVF\x09\x0D\x0A\xFF\x00\x01", 9);
    image += Number(_recipe.part, 2) + Number(0, 2);
    AddSection(_recipe.part == 1 ? "volume" : "data", Description(), &image);
    const uint64_t at = image.size() + kSectionHeader;
    if (_recipe.kind == EwfRecipe::Kind::kOld) {
        const std::string table = Table(at + 24 + 4 * _chunks.size(), _damagesTable);
        AddSection("table", table + Joined(), &image);
    } else {
        AddSection("sectors", Joined(), &image);
        AddSection("table", Table(at, _damagesTable), &image);
        if (_recipe.hasCopy)
            AddSection("table2", Table(at, _damagesCopy), &image);
    }
    if (_lost > 0) {
        const std::string lost = Number(0, 4) + Number(_lost, 4);
        AddSection("error2", WithSum(Padded(Number(1, 4), 516)) + WithSum(lost), &image);
    }
    AddSection(_recipe.isLast ? "done" : "next", "", &image);
    return image;
}

}  // namespace vx
