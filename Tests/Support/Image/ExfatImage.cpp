#include "ExfatImage.h"

#include "ByteReader.h"
#include "PutNumber.h"

#include <algorithm>

namespace vx {

ExfatImage::ExfatImage(const std::string &made) : bytes(made.begin(), made.end())
{
    const unsigned sectorShift = bytes.at(108);
    clusterBytes = size_t{1} << (sectorShift + bytes[109]);
    _table = size_t{U32At(bytes, 80)} << sectorShift;
    _heap = size_t{U32At(bytes, 88)} << sectorShift;
    root = U32At(bytes, 96);
}

size_t ExfatImage::PlaceOf(uint32_t cluster) const
{
    return _heap + (cluster - 2) * clusterBytes;
}

void ExfatImage::Add(uint32_t folder, const ExfatEntry &entry)
{
    constexpr size_t kEntryBytes = 32;
    size_t at = PlaceOf(folder);
    while (bytes.at(at) != 0)
        at += kEntryBytes;
    const Bytes set = ExfatSetOf(entry);
    std::copy(set.begin(), set.end(), bytes.begin() + static_cast<long>(at));
}

void ExfatImage::Write(uint32_t cluster, const std::string &contents)
{
    std::copy(contents.begin(), contents.end(),
              bytes.begin() + static_cast<long>(PlaceOf(cluster)));
}

void ExfatImage::Chain(const std::vector<uint32_t> &clusters)
{
    constexpr uint32_t kLast = 0xFFFFFFFF;
    for (size_t i = 0; i < clusters.size(); ++i)
        PutNext(clusters[i], i + 1 < clusters.size() ? clusters[i + 1] : kLast);
}

void ExfatImage::PutNext(uint32_t cluster, uint32_t next)
{
    PutNumber(&bytes, _table + 4 * size_t{cluster}, next, 4);
}

}  // namespace vx
