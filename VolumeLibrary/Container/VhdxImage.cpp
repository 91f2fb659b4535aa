#include "VhdxImage.h"

#include "PaddedSource.h"
#include "VhdxBlocks.h"
#include "VhdxLog.h"
#include "VhdxMetadata.h"
#include "VhdxRegions.h"
#include "VhdxTable.h"

#include <utility>

namespace vx {
namespace {

using Source = std::shared_ptr<const ByteSource>;
using Notes = std::vector<std::string>;

constexpr const char *kDifferencing = "a differencing VHDX image";

VhdxBlocks::Shape ShapeOf(const VhdxRegions &regions, const VhdxMetadata &metadata)
{
    VhdxBlocks::Shape shape;
    shape.diskBytes = metadata.diskBytes;
    shape.tableAt = regions.blocks.at;
    shape.tableBytes = regions.blocks.bytes;
    shape.blockBytes = metadata.blockBytes;
    shape.sectorBytes = metadata.sectorBytes;
    shape.hasParent = metadata.hasParent;
    return shape;
}

// What lies in the file beside blocks.
std::vector<VhdxRegion> TakenBy(const VhdxHeader &header, const VhdxRegions &regions)
{
    std::vector<VhdxRegion> taken = {regions.blocks, regions.metadata};
    if (header.HasLog())
        taken.push_back({header.logAt, header.logBytes});
    return taken;
}

// What of the image contradicts its table.
void AddContradictions(const VhdxTable &table, const VhdxMetadata &metadata, Notes *notes)
{
    if (!table.contested.empty())
        notes->emplace_back("blocks of the VHDX image lie in the same place, which is impossible; "
                            "they cannot be read");
    if (table.hiddenBlocks > 0)
        notes->push_back("blocks of the VHDX image are marked as zeros, and read as such, although "
                         "data is stored for them: " +
                         std::to_string(table.hiddenBlocks));
    if (table.blocksBeyond > 0)
        notes->push_back("the size that the VHDX image states may be wrong; blocks that it holds "
                         "beyond the end of such a disk, which are not read: " +
                         std::to_string(table.blocksBeyond));
    if (metadata.isFixed && table.absentBlocks > 0)
        notes->push_back("the VHDX image is a fixed one; blocks that it lacks nevertheless, which "
                         "are read as zeros: " +
                         std::to_string(table.absentBlocks));
}

Notes NotesOf(const VhdxHeader &header, const std::string &noteOfLog, const VhdxRegions &regions,
              const VhdxTable &table)
{
    Notes notes;
    if (header.isOnlyOne)
        notes.emplace_back("a header of the VHDX image is damaged; the other one is used");
    if (!noteOfLog.empty())
        notes.push_back(noteOfLog);
    if (regions.isCopy)
        notes.emplace_back("the table of regions of the VHDX image is damaged; its copy is used");
    if (table.missingBytes > 0)
        notes.push_back("the VHDX image ends early; " + std::to_string(table.missingBytes) +
                        " bytes of the disk cannot be read");
    if (table.unreadBytes > 0)
        notes.push_back(
            std::to_string(table.unreadBytes) +
            " bytes of the table of the VHDX image cannot be read, or lie next to such");
    return notes;
}

Result<Container> OpenParentOf(const VhdxMetadata &metadata, const ParentOpener &openParent)
{
    auto parent = openParent({kDifferencing, metadata.parentPaths, ContainerKind::kVhdx,
                              metadata.parentIds, metadata.diskBytes});
    if (parent && parent->sectorBytes != metadata.sectorBytes)
        return DamagedVhdx("its sectors are not as large as those of its parent");
    return parent;
}

std::string Describe(const VhdxMetadata &metadata)
{
    if (metadata.hasParent)
        return kDifferencing;
    return metadata.isFixed ? "a fixed VHDX image" : "a dynamic VHDX image";
}

}  // namespace

Result<Container> OpenVhdx(const Source &stored, const ParentOpener &openParent)
{
    const auto header = ReadVhdxHeader(*stored);
    if (!header)
        return header.Failure();
    const auto replayed = ReplayVhdxLog(stored, *header);
    if (!replayed)
        return replayed.Failure();
    const ByteSource &file = *replayed->file;
    const auto regions = ReadVhdxRegions(file);
    if (!regions)
        return regions.Failure();
    const auto metadata = ReadVhdxMetadata(file, regions->metadata);
    if (!metadata)
        return metadata.Failure();
    const VhdxBlocks::Shape shape = ShapeOf(*regions, *metadata);
    VhdxTable table = VhdxTable::Examine(file, shape, TakenBy(*header, *regions));
    Container container;
    container.kind = "vhdx";
    container.description = Describe(*metadata);
    container.sectorBytes = metadata->sectorBytes;
    container.identity = header->dataWrite.Text();
    container.notes = NotesOf(*header, replayed->note, *regions, table);
    AddContradictions(table, *metadata, &container.notes);
    Source parentDisk;
    if (metadata->hasParent) {
        auto parent = OpenParentOf(*metadata, openParent);
        if (!parent)
            return parent.Failure();
        parentDisk = std::make_shared<PaddedSource>(parent->source, shape.diskBytes);
        container.files = std::move(parent->files);
        container.notes.insert(container.notes.end(), parent->notes.begin(), parent->notes.end());
    }
    container.source = std::make_shared<VhdxBlocks>(
        replayed->file, shape, std::move(table.contested), std::move(parentDisk));
    return container;
}

}  // namespace vx
