#include "VdiWriter.h"

namespace vx {
namespace {

std::string Number(uint64_t value, size_t bytes)
{
    std::string number;
    for (size_t i = 0; i < bytes; ++i)
        number.push_back(static_cast<char>(value >> 8 * i));
    return number;
}

}  // namespace

void VdiWriter::AddBlock(const std::string &bytes)
{
    _map.push_back(_stored++);
    _blocks += std::string(_recipe.extraBytes, 'e') + bytes;
}

std::string VdiWriter::Image() const
{
    std::string image = "<<< a disk image >>>\n";
    image.resize(64);
    image +=
        "\x7F\x10\xDA\xBE" + Number(_recipe.version, 4) + Number(400, 4) + Number(_recipe.type, 4);
    image.resize(0x154);
    image += Number(_recipe.mapAt, 4) + Number(_recipe.blocksAt, 4);
    image.resize(0x168);
    image += Number(512, 4) + Number(0, 4);
    const uint64_t disk =
        _recipe.diskBytes > 0 ? _recipe.diskBytes : uint64_t{_recipe.blockBytes} * _map.size();
    const uint64_t entries = _recipe.entries > 0 ? _recipe.entries : _map.size();
    image += Number(disk, 8) + Number(_recipe.blockBytes, 4) + Number(_recipe.extraBytes, 4) +
             Number(entries, 4) + Number(_recipe.usedBlocks > 0 ? _recipe.usedBlocks : _stored, 4);
    for (size_t at = 0; at < 64; ++at)
        image.push_back(static_cast<char>(at));
    image.resize(512);
    std::string map;
    for (const uint32_t entry : _map)
        map += Number(entry, 4);
    image.resize(_recipe.blocksAt);
    if (_recipe.mapAt < _recipe.blocksAt)
        image.replace(_recipe.mapAt, map.size(), map);
    return image + _blocks;
}

}  // namespace vx
