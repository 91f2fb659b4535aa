// Fuzz target: the parser of one copy of the metadata.
//
// Damage would stop at the checksum, so each input is parsed twice: as it is, and with the
// checksum and the copy's own place put right.
#include "../HeapLimit.h"
#include "Bitlocker/BootSector.h"
#include "Bitlocker/ByteReader.h"
#include "Bitlocker/Crc32.h"
#include "Bitlocker/MetadataBlock.h"

#include <cstddef>
#include <cstdlib>

using namespace vx::bitlocker;

namespace {

void repair(std::vector<uint8_t> &area)
{
    ByteReader reader(area, 8);
    const size_t stored = reader.u16();
    const size_t covered = reader.u16() == 1 ? stored : stored * 16;
    if (covered + 8 > area.size())
        return;
    const uint32_t checksum = Crc32().add(ByteView(area).first(covered)).value();
    for (size_t i = 0; i < 4; ++i)
        area[covered + 4 + i] = static_cast<uint8_t>(checksum >> (8 * i));
}

// What must hold for anything that was accepted.
void check(const MetadataBlock &block)
{
    for (const Protector &protector : block.protectors)
        if (protectorKindName(protector.kind).empty())
            std::abort();
    if (block.wrappedSectorKey && block.wrappedSectorKey->ciphertext.empty())
        std::abort();
}

void parse(ByteView area, uint64_t offset)
{
    const Result<MetadataBlock> block = MetadataBlock::parse(area, offset);
    if (block)
        check(*block);
    else if (block.error().status != Status::DamagedMetadata)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const vx::HeapLimit limit;
    (void)BootSector::parse({data, size});
    std::vector<uint8_t> area(data, data + size);
    parse(area, 0);
    const std::vector<uint64_t> named = MetadataBlock::namedCopies(area);
    if (named.empty())
        return 0;
    repair(area);
    parse(area, named.front());
    return 0;
}
