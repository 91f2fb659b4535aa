#include "FatImage.h"

#include "ByteReader.h"

#include <gtest/gtest.h>
#include <utility>

namespace vx {
namespace {

using Kind = FatGeometry::Kind;

ByteView ViewOf(const std::string &bytes)
{
    return {reinterpret_cast<const uint8_t *>(bytes.data()), bytes.size()};
}

}  // namespace

FatImage::FatImage(std::string made) : bytes(std::move(made))
{
    const auto taken = TakeFatGeometry(ViewOf(bytes));
    EXPECT_TRUE(taken);
    geometry = taken.value_or(FatGeometry());
}

size_t FatImage::PlaceOf(uint32_t cluster) const
{
    return geometry.clustersOffset +
           size_t{cluster - FatGeometry::kFirstCluster} * geometry.clusterBytes;
}

size_t FatImage::EntryAt(const std::string &shortName) const
{
    size_t at = bytes.find(shortName);
    while (at != bytes.npos && at % 32 != 0)
        at = bytes.find(shortName, at + 1);
    EXPECT_NE(at, bytes.npos) << shortName;
    return at;
}

uint32_t FatImage::FirstClusterOf(const std::string &shortName) const
{
    const ByteView entry = ViewOf(bytes).From(EntryAt(shortName));
    return U16At(entry, 26) | static_cast<uint32_t>(U16At(entry, 20)) << 16;
}

size_t FatImage::TableAt(uint32_t cluster, unsigned copy) const
{
    const size_t table = geometry.tableOffset + copy * geometry.tableBytes;
    if (geometry.kind == Kind::k12)
        return table + cluster + cluster / 2;
    return table + size_t{cluster} * (geometry.kind == Kind::k16 ? 2 : 4);
}

uint32_t FatImage::NextOf(uint32_t cluster) const
{
    const ByteView entry = ViewOf(bytes).From(TableAt(cluster, 0));
    if (geometry.kind == Kind::k12)
        return cluster % 2 == 0 ? U16At(entry, 0) & 0xFFFu : U16At(entry, 0) >> 4u;
    return geometry.kind == Kind::k16 ? U16At(entry, 0) : U32At(entry, 0);
}

std::vector<uint32_t> FatImage::ChainOf(const std::string &shortName) const
{
    std::vector<uint32_t> chain;
    for (uint32_t at = FirstClusterOf(shortName); geometry.IsOnVolume(at); at = NextOf(at))
        chain.push_back(at);
    return chain;
}

void FatImage::PutNext(uint32_t cluster, uint32_t next, unsigned copy)
{
    const size_t at = TableAt(cluster, copy);
    const bool isOdd = cluster % 2 != 0;
    uint32_t value = next;
    if (geometry.kind == Kind::k12) {
        const uint32_t pair = U16At(ViewOf(bytes), at);
        value = isOdd ? (pair & 0xF) | next << 4 : (pair & 0xF000) | (next & 0xFFF);
    }
    for (size_t i = 0; i < (geometry.kind == Kind::k32 ? 4 : 2); ++i)
        bytes.at(at + i) = static_cast<char>(value >> (8 * i));
}

void FatImage::PutNext(uint32_t cluster, uint32_t next)
{
    for (unsigned copy = 0; copy < geometry.tableCopies; ++copy)
        PutNext(cluster, next, copy);
}

}  // namespace vx
