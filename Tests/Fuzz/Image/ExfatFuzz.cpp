// Fuzz target: a damaged exFAT volume. The first byte of an input says whether the checksums of the
// sets of entries are repaired; the changes follow (DamagedSource.h).
#include "../HeapLimit.h"
#include "DamagedSource.h"
#include "ExfatSet.h"
#include "FatFileSystem.h"
#include "PutNumber.h"
#include "VisitVolume.h"

#include <algorithm>
#include <cstring>

using namespace vx;

namespace {

using Bytes = std::vector<uint8_t>;

constexpr size_t kCluster = 512;
constexpr size_t kTable = 4 * kCluster;
constexpr size_t kHeap = 8 * kCluster;
constexpr uint32_t kClusters = 100;
constexpr uint32_t kRootFolder = 2;
constexpr uint32_t kFolders = 5;  // so many clusters from the root on hold entries

size_t PlaceOf(uint32_t cluster)
{
    return kHeap + (cluster - 2) * kCluster;
}

void Chain(Bytes *bytes, const std::vector<uint32_t> &clusters)
{
    for (size_t i = 0; i < clusters.size(); ++i) {
        const uint32_t next = i + 1 < clusters.size() ? clusters[i + 1] : 0xFFFFFFFF;
        PutNumber(bytes, kTable + 4 * size_t{clusters[i]}, next, 4);
    }
}

void Add(Bytes *bytes, size_t *at, const ExfatEntry &entry)
{
    const Bytes set = ExfatSetOf(entry);
    std::copy(set.begin(), set.end(), bytes->begin() + static_cast<long>(*at));
    *at += set.size();
}

// Contiguous and fragmented files, and folders of both kinds, in a root of two clusters.
SoundImage MakeImage()
{
    Bytes bytes(kHeap + kClusters * kCluster);
    std::memcpy(bytes.data() + 3, "EXFAT   ", 8);
    PutNumber(&bytes, 80, kTable / kCluster, 4);
    PutNumber(&bytes, 84, 4, 4);
    PutNumber(&bytes, 88, kHeap / kCluster, 4);
    PutNumber(&bytes, 92, kClusters, 4);
    PutNumber(&bytes, 96, kRootFolder, 4);
    bytes[108] = 9;
    PutNumber(&bytes, 510, 0xAA55, 2);
    PutNumber(&bytes, kTable, 0xFFFFFFF8, 4);
    Chain(&bytes, {kRootFolder, 3});
    Chain(&bytes, {20, 22, 21});
    Chain(&bytes, {5, 6});
    size_t at = PlaceOf(kRootFolder);
    Add(&bytes, &at, {u"in a row, with a long name", 0x20, true, 10, 1300, 1000});
    Add(&bytes, &at, {u"in pieces", 0x21, false, 20, 1300, 1300});
    Add(&bytes, &at, {u"folder", 0x10, true, 4, kCluster, kCluster});
    Add(&bytes, &at, {u"long folder", 0x10, false, 5, 2 * kCluster, 2 * kCluster});
    at = PlaceOf(4);
    Add(&bytes, &at, {u"deeper", 0x10, true, 5, kCluster, kCluster});
    at = PlaceOf(5);
    for (char16_t i = u'a'; i < u'i'; ++i)
        Add(&bytes, &at, {std::u16string(3, i), 0x20, true, 30, 20, 20});
    return SoundImage(std::move(bytes));
}

// Adds the changes that repair the checksums of all sets.
void RenewChecks(const SoundImage &image, SoundImage::Changes *changes)
{
    constexpr size_t kEntry = 32;
    const size_t begin = PlaceOf(kRootFolder);
    Bytes entries(kFolders * kCluster);
    (void)DamagedSource(image, *changes).ReadAt(begin, entries.data(), entries.size());
    for (size_t at = 0; at < entries.size(); at += kEntry) {
        const size_t count = (size_t{1} + entries[at + 1]) * kEntry;
        if (entries[at] != 0x85 || count > entries.size() - at)
            continue;
        const uint16_t check = ExfatCheckOf(entries.data() + at, count);
        (*changes)[begin + at + 2] = static_cast<uint8_t>(check);
        (*changes)[begin + at + 3] = static_cast<uint8_t>(check >> 8);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static const SoundImage image = MakeImage();
    if (size == 0)
        return 0;
    const HeapLimit limit;
    SoundImage::Changes changes = image.ChangesOf(data + 1, size - 1);
    if (data[0] % 2 == 0)
        RenewChecks(image, &changes);
    std::vector<std::string> notes;
    auto fileSystem =
        FatFileSystem::Open(std::make_shared<DamagedSource>(image, std::move(changes)), &notes);
    if (fileSystem)
        VisitVolume(std::move(*fileSystem));
    return 0;
}
