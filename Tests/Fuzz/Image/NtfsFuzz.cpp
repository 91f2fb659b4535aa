// Fuzz target: a damaged NTFS volume with every kind of structure. An input is a list of changes
// (DamagedSource.h).
#include "../HeapLimit.h"
#include "DamagedSource.h"
#include "NtfsFileSystem.h"
#include "NtfsWriter.h"
#include "VisitVolume.h"

using namespace vx;

namespace {

using Bytes = NtfsWriter::Bytes;
using Stream = NtfsWriter::Stream;

constexpr size_t kCluster = NtfsWriter::kClusterBytes;
constexpr uint64_t kFree = NtfsWriter::kFirstFree;

// The MFT in two pieces, listed in a second record.
void PutTable(NtfsWriter *ntfs)
{
    const Bytes list = NtfsWriter::Joined({NtfsWriter::Listed(NtfsType::kData, {}, 0, 0),
                                           NtfsWriter::Listed(NtfsType::kData, {}, 32, 20)});
    ntfs->PutFile(0, {NtfsWriter::Resident(NtfsType::kAttributeList, list),
                      NtfsWriter::InRuns(Stream{NtfsType::kData,
                                                {},
                                                0,
                                                NtfsWriter::kRecords * kCluster,
                                                {{NtfsWriter::kTable, 32}}})});
    ntfs->PutFile(20, {NtfsWriter::InRuns(
                          Stream{NtfsType::kData, {}, 32, 0, {{NtfsWriter::kTable + 32, 32}}})});
}

// A root of two levels and a small folder.
void PutFolders(NtfsWriter *ntfs)
{
    ntfs->PutFolder(
        NtfsWriter::kRoot,
        {NtfsWriter::IndexRoot({NtfsWriter::Name(26, u"folder", 0), NtfsWriter::Last(1)}),
         NtfsWriter::InRuns(
             Stream{NtfsType::kIndexAllocation, u"$I30", 0, 2 * kCluster, {{kFree, 2}}})});
    ntfs->PutBlock(
        kFree, 0,
        {NtfsWriter::Name(24, u"a"), NtfsWriter::Name(25, u"compressed"), NtfsWriter::Last()});
    ntfs->PutBlock(kFree + 1, 1,
                   {NtfsWriter::Name(27, u"in pieces"), NtfsWriter::Name(28, u"link"),
                    NtfsWriter::Name(30, u"packed"), NtfsWriter::Name(29, u"with a hole"),
                    NtfsWriter::Last()});
    ntfs->PutFolder(
        26, {NtfsWriter::OwnName(u"folder"),
             NtfsWriter::IndexRoot({NtfsWriter::Name(24, u"again", -1, 26), NtfsWriter::Last()})});
}

// A link with a target, and a partly stored file of a cloud drive with a non-resident reparse
// point.
void PutReparsePoints(NtfsWriter *ntfs)
{
    const Bytes link = {3, 0, 0, 0xA0, 12, 0, 0, 0, 0, 0, 2, 0, 2, 0, 2, 0, 'x', 0, 'y', 0};
    ntfs->PutFile(28, {NtfsWriter::OwnName(u"link"),
                       NtfsWriter::Resident(NtfsType::kReparsePoint, link), NtfsWriter::Data("")});
    ntfs->PutBytes(kFree + 21, std::string("\x1A\0\0\x90\0\0\0\0", 8));
    ntfs->PutFile(
        29, {NtfsWriter::OwnName(u"with a hole"),
             NtfsWriter::InRuns(
                 Stream{NtfsType::kData, {}, 0, 3 * kCluster, {{kFree + 11, 1}, {0, 2}}}),
             NtfsWriter::InRuns(Stream{NtfsType::kReparsePoint, {}, 0, 8, {{kFree + 21, 1}}})});
}

// A packed file with a chunk that is stored as it is and a short one that is packed.
void PutPacked(NtfsWriter *ntfs)
{
    std::string stream("\0\x10\0\0", 4);
    stream += std::string(4 * kCluster, 'y');
    std::string lengths(256, '\0');
    lengths[48] = 0x30;
    lengths[49] = 0x23;
    lengths[128] = 0x02;
    lengths[143] = 0x20;
    stream += lengths + std::string("\xA8\xDC\0\0\xFF\x26\x01", 7);
    ntfs->PutBytes(kFree + 22, stream);
    ntfs->PutFile(30,
                  {NtfsWriter::OwnName(u"packed"), NtfsWriter::Hole(4 * kCluster + 300),
                   NtfsWriter::InRuns(Stream{
                       NtfsType::kData, u"WofCompressedData", 0, stream.size(), {{kFree + 22, 5}}}),
                   NtfsWriter::PackedPoint(0)});
}

void PutFiles(NtfsWriter *ntfs)
{
    const Bytes zone = {'z', 'o', 'n', 'e'};
    ntfs->PutFile(24, {NtfsWriter::OwnName(u"a"), NtfsWriter::OwnName(u"again", 26),
                       NtfsWriter::Data("small"),
                       NtfsWriter::Resident(NtfsType::kData, zone, u"stream")});
    PutPacked(ntfs);
    // Units of four clusters: one compressed, one not, one of zeros.
    ntfs->PutBytes(kFree + 10, std::string("\x04\xB0\x04"
                                           "ab\x03\x10\x03\x30"
                                           "abcd",
                                           13));
    ntfs->PutBytes(kFree + 11, std::string(4 * kCluster, 'x'));
    ntfs->PutFile(25, {NtfsWriter::OwnName(u"compressed"),
                       NtfsWriter::InRuns(Stream{NtfsType::kData,
                                                 {},
                                                 0,
                                                 11 * kCluster,
                                                 {{kFree + 10, 1}, {0, 3}, {kFree + 11, 4}, {0, 4}},
                                                 1,
                                                 2})});
    const Bytes list = NtfsWriter::Joined({NtfsWriter::Listed(NtfsType::kFileName, {}, 0, 40),
                                           NtfsWriter::Listed(NtfsType::kData, {}, 0, 40),
                                           NtfsWriter::Listed(NtfsType::kData, {}, 2, 41)});
    ntfs->PutBytes(kFree + 20, std::string(list.begin(), list.end()));
    ntfs->PutFile(27, {NtfsWriter::InRuns(Stream{
                          NtfsType::kAttributeList, {}, 0, list.size(), {{kFree + 20, 1}}})});
    ntfs->PutFile(40,
                  {NtfsWriter::OwnName(u"in pieces"),
                   NtfsWriter::InRuns(Stream{
                       NtfsType::kData, {}, 0, 4 * kCluster, {{kFree + 14, 1}, {kFree + 12, 1}}})},
                  27);
    ntfs->PutFile(41, {NtfsWriter::InRuns(Stream{NtfsType::kData, {}, 2, 0, {{kFree + 11, 2}}})},
                  27);
    PutReparsePoints(ntfs);
}

SoundImage MakeImage()
{
    NtfsWriter ntfs(100);
    PutTable(&ntfs);
    PutFolders(&ntfs);
    PutFiles(&ntfs);
    return SoundImage(ntfs.Image());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const SoundImage image = MakeImage();
    const HeapLimit limit;
    std::vector<std::string> notes;
    auto fileSystem = NtfsFileSystem::Open(
        std::make_shared<DamagedSource>(image, image.ChangesOf(data, size)), &notes);
    if (fileSystem)
        VisitVolume(std::move(*fileSystem));
    return 0;
}
