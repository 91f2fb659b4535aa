// Fuzz target: the parser of one copy of the metadata.
//
// Parsing damaged metadata ends at the checksum, so each input is parsed twice: as it is, and with
// the checksum and the copy's own place repaired.
#include "../HeapLimit.h"
#include "BootSector.h"
#include "ByteReader.h"
#include "Crc32.h"
#include "MetadataBlock.h"

#include <cstddef>
#include <cstdlib>

using namespace vx;
using namespace vx::bitlocker;

namespace {

void Repair(std::vector<uint8_t> &area)
{
    ByteReader reader(area, 8);
    const size_t stored = reader.U16();
    const size_t covered = reader.U16() == 1 ? stored : stored * 16;
    if (covered + 8 > area.size())
        return;
    const uint32_t checksum = Crc32().Add(ByteView(area).First(covered)).Value();
    for (size_t i = 0; i < 4; ++i)
        area[covered + 4 + i] = static_cast<uint8_t>(checksum >> (8 * i));
}

// Holds for all metadata that is accepted.
void Check(const MetadataBlock &block)
{
    for (const Protector &protector : block.protectors)
        if (ProtectorKindName(protector.kind).empty() || !*ProtectorKindToken(protector.kind))
            std::abort();
    if (block.wrappedSectorKey && block.wrappedSectorKey->ciphertext.empty())
        std::abort();
}

void Parse(ByteView area, uint64_t offset)
{
    const Result<MetadataBlock> block = MetadataBlock::Parse(area, offset);
    if (block)
        Check(*block);
    else if (block.Failure().status != Status::kDamagedMetadata)
        std::abort();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const vx::HeapLimit limit;
    (void)BootSector::Parse({data, size});
    std::vector<uint8_t> area(data, data + size);
    Parse(area, 0);
    const std::vector<uint64_t> named = MetadataBlock::NamedCopies(area);
    if (named.empty())
        return 0;
    Repair(area);
    Parse(area, named.front());
    return 0;
}
