// make-container-corpus FOLDER: writes the initial inputs of the fuzz targets of disk images, in a
// folder for each.
#include "EwfWriter.h"
#include "QcowWriter.h"
#include "VdiWriter.h"
#include "VhdWriter.h"
#include "VhdxPieces.h"
#include "VhdxWriter.h"
#include "VmdkWriter.h"

#include <fstream>
#include <sys/stat.h>

using namespace vx;

namespace {

constexpr size_t kSector = 512;

std::string Disk(size_t sectors)
{
    std::string disk;
    for (size_t at = 0; at < sectors * kSector; ++at)
        disk.push_back(static_cast<char>(at % 7 * at / 500));
    return disk;
}

// The inputs of one target; the last byte of each asks for repair.
class Inputs {
public:
    Inputs(const std::string &folder, const std::string &target) : _folder(folder + "/" + target)
    {
        ::mkdir(folder.c_str(), 0777);
        ::mkdir(_folder.c_str(), 0777);
    }

    void Add(const std::string &image) { AddBytes(image + '\x01'); }

    void AddBytes(const std::string &bytes)
    {
        std::ofstream file(_folder + "/" + std::to_string(_count++), std::ios::binary);
        file << bytes;
        _isGood = _isGood && file.flush().good();
    }

    bool IsGood() const { return _isGood; }

private:
    const std::string _folder;
    int _count = 0;
    bool _isGood = true;
};

bool WriteEwf(const std::string &folder, const std::string &target, EwfRecipe::Kind kind)
{
    Inputs inputs(folder, target);
    for (const bool isPacked : {false, true}) {
        EwfRecipe recipe = {kind, 1, isPacked};
        EwfWriter writer(Disk(3), recipe);
        inputs.Add(writer.Image());
        writer.SetLost(2);
        writer.DamageTable();
        inputs.Add(writer.Image());
        recipe.sectorsOfChunk = 2;
        recipe.base = 100;
        inputs.Add(EwfWriter(Disk(3), recipe).Image());
    }
    return inputs.IsGood();
}

bool WriteVhd(const std::string &folder)
{
    Inputs inputs(folder, "image-vhd-fuzz");
    for (const uint32_t type : {2u, 3u, 4u}) {
        VhdRecipe recipe;
        recipe.type = type;
        recipe.diskBytes = type == 2 ? 1024 : 3072;
        recipe.blockBytes = 1024;
        recipe.parentName = u"base.vhd";
        if (type == 4)
            recipe.locators = {{"W2ru", u".\\base.vhd"}};
        VhdWriter writer(recipe);
        writer.AddBlock(type == 2 ? "" : "\x80", Disk(2));
        writer.AddNothing();
        writer.AddBlock("\xC0", Disk(2));
        inputs.Add(writer.Image());
    }
    // A block of more than eight sectors, so that it has more than a byte of bits.
    VhdRecipe recipe;
    recipe.diskBytes = recipe.blockBytes = 8192;
    VhdWriter writer(recipe);
    writer.AddBlock("\xFF\xF5", Disk(16));
    inputs.Add(writer.Image());
    return inputs.IsGood();
}

void AddQcow(const QcowRecipe &recipe, Inputs *inputs)
{
    const size_t clusterSectors = (size_t{1} << recipe.clusterBits) / kSector;
    QcowWriter writer(recipe);
    writer.AddStored(Disk(clusterSectors));
    writer.AddNothing();
    if (!recipe.hasDataFile)
        writer.AddPacked(Disk(clusterSectors));
    writer.AddZeros();
    writer.AddParts(Disk(clusterSectors), 0xFFFF0000 | uint64_t{0xFF} << 32);
    inputs->Add(writer.Image());
    for (size_t i = 0; recipe.clusterBits == 9 && i < 70; ++i)
        writer.AddNothing();
    writer.AddStored(Disk(clusterSectors));
    inputs->Add(writer.Image());
}

bool WriteQcow(const std::string &folder)
{
    Inputs inputs(folder, "image-qcow-fuzz");
    for (const uint32_t version : {2u, 3u}) {
        QcowRecipe recipe;
        recipe.version = version;
        recipe.clusterBits = 9;
        recipe.backingFile = "base";
        recipe.backingFormat = "raw";
        AddQcow(recipe, &inputs);
    }
    QcowRecipe recipe;
    recipe.clusterBits = 9;
    recipe.isZstd = true;
    AddQcow(recipe, &inputs);
    recipe = {};
    recipe.clusterBits = 9;
    recipe.hasDataFile = true;
    recipe.dataFile = "data";
    AddQcow(recipe, &inputs);
    recipe = {};
    recipe.clusterBits = 14;
    recipe.hasSubclusters = true;
    AddQcow(recipe, &inputs);
    return inputs.IsGood();
}

bool WriteVdi(const std::string &folder)
{
    Inputs inputs(folder, "image-vdi-fuzz");
    for (const uint32_t type : {1u, 2u, 4u}) {
        VdiRecipe recipe;
        recipe.type = type;
        recipe.blockBytes = 1024;
        recipe.extraBytes = type == 2 ? 512 : 0;
        recipe.blocksAt = 1024;
        VdiWriter writer(recipe);
        writer.AddBlock(Disk(2));
        writer.AddEntry(VdiWriter::kNever);
        writer.AddBlock(Disk(2));
        writer.AddEntry(VdiWriter::kDiscarded);
        inputs.Add(writer.Image());
    }
    return inputs.IsGood();
}

// An entry that moves a block and clears a page, and one that continues it across the end of the
// ring.
void PutLog(const VhdxWriter &writer, const std::string &logId, std::string *image)
{
    constexpr uint32_t kTail = 255 * kVhdxLogPage;
    VhdxLogEntry entry;
    entry.logId = logId;
    entry.tail = kTail;
    entry.flushedBytes = image->size();
    entry.neededBytes = image->size() + kVhdxMiB;
    entry.changes = {{writer.BlocksAt(), "", kVhdxLogPage}};
    VhdxWriter::PutLog(kTail, entry, image);
    std::string table = image->substr(writer.TableAt(), kVhdxLogPage);
    VhdxWriter::Put(8, 6 | writer.BlocksAt(), 8, &table);
    VhdxWriter::Put(0, 0, 8, &table);
    entry.sequence = 2;
    entry.changes.push_back({writer.TableAt(), table, 0});
    VhdxWriter::PutLog(0, entry, image);
}

bool WriteVhdx(const std::string &folder)
{
    constexpr uint8_t kLargeSectors = 2;
    Inputs inputs(folder, "image-vhdx-fuzz");
    for (const uint32_t sectorBytes : {512u, 4096u}) {
        for (const bool hasParent : {false, true}) {
            VhdxRecipe recipe;
            recipe.diskBytes = 4 * kVhdxMiB - 4096;
            recipe.sectorBytes = sectorBytes;
            recipe.logId = std::string(16, 'L');
            if (hasParent)
                recipe.parent = {{u"parent_linkage", u"{0}"}, {u"relative_path", u"b.vhdx"}};
            VhdxWriter writer(recipe);
            if (hasParent)
                writer.AddPartly("1011", Disk(2));
            else
                writer.AddBlock(Disk(2));
            for (const uint8_t state : {0, 3, 2})
                writer.AddState(state);
            std::string image = writer.Image();
            const uint8_t flags = sectorBytes == 512 ? 0 : kLargeSectors;
            inputs.AddBytes(VhdxInput(image, flags));
            PutLog(writer, recipe.logId, &image);
            inputs.AddBytes(VhdxInput(image, flags));
        }
    }
    return inputs.IsGood();
}

bool WriteVmdk(const std::string &folder)
{
    Inputs inputs(folder, "image-vmdk-fuzz");
    const std::string text = "# Disk DescriptorFile\nCID=1\nparentCID=ffffffff\n";
    for (const bool isPacked : {false, true}) {
        VmdkWriter writer(isPacked);
        writer.SetText(text + "parentFileNameHint=\"base.vmdk\"\n");
        writer.AddNothing();
        writer.AddGrain(Disk(8));
        inputs.Add(writer.Image());
        inputs.Add(text + "RW 16 SPARSE \"grows\"\nRW 2 ZERO\nRW 1 FLAT \"flat\" 2\n--\n" +
                   writer.Image());
    }
    return inputs.IsGood();
}

}  // namespace

int main(int argc, char **argv)
{
    if (argc != 2) {
        std::fputs("usage: make-container-corpus FOLDER\n", stderr);
        return 2;
    }
    const std::string folder = argv[1];
    const bool isGood = WriteEwf(folder, "image-e01-fuzz", EwfRecipe::Kind::kNew) &&
                        WriteEwf(folder, "image-s01-fuzz", EwfRecipe::Kind::kOld) &&
                        WriteVhd(folder) && WriteVhdx(folder) && WriteVmdk(folder) &&
                        WriteQcow(folder) && WriteVdi(folder);
    return isGood ? 0 : 1;
}
