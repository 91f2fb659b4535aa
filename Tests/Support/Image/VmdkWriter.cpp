#include "VmdkWriter.h"

#include "EwfWriter.h"

namespace vx {
namespace {

constexpr size_t kSector = 512;

void Put(size_t at, const std::string &value, std::string *bytes)
{
    bytes->replace(at, value.size(), value);
}

}  // namespace

std::string VmdkWriter::Number(uint64_t value, size_t bytes)
{
    std::string text;
    for (size_t at = 0; at < bytes; ++at)
        text.push_back(static_cast<char>(value >> 8 * at));
    return text;
}

void VmdkWriter::AddGrain(const std::string &grain)
{
    if (!_isPacked)
        return AddStored(grain);
    const std::string packed = EwfWriter::Packed(grain);
    AddStored(Number(Sectors(), 8) + Number(packed.size(), 4) + packed);
}

void VmdkWriter::AddStored(const std::string &bytes)
{
    _table.push_back(static_cast<uint32_t>((kGrainsAt + _grains.size()) / kSector));
    _grains += bytes;
    _grains.resize((_grains.size() + kSector - 1) / kSector * kSector);
}

void VmdkWriter::AddNothing()
{
    _table.push_back(0);
}

std::string VmdkWriter::Image() const
{
    constexpr uint32_t kCopyFlag = 1u << 1;
    constexpr uint32_t kPackedFlags = 3u << 16;
    std::string image(kGrainsAt, '\0');
    Put(0,
        "KDMV" + Number(1, 4) + Number(kCopyFlag | (_isPacked ? kPackedFlags : 0), 4) +
            Number(Sectors(), 8) + Number(kGrain / kSector, 8) + Number(kTextAt / kSector, 8) +
            Number(1, 8) + Number(128, 4) + Number(kCopyAt / kSector, 8) +
            Number(kDirectoryAt / kSector, 8),
        &image);
    Put(kTextAt, _text, &image);
    std::string table;
    for (const uint32_t sector : _table)
        table += Number(sector, 4);
    Put(kCopyAt, Number(kCopyAt / kSector + 1, 4), &image);
    Put(kCopyAt + kSector, table, &image);
    Put(kDirectoryAt, Number(kTableAt / kSector, 4), &image);
    Put(kTableAt, table, &image);
    return image + _grains;
}

}  // namespace vx
