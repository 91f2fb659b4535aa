#include "QcowWriter.h"

#include <zlib.h>
#include <zstd.h>

namespace vx {
namespace {

constexpr size_t kSector = 512;

void Put(size_t at, const std::string &bytes, std::string *out)
{
    if (out->size() < at + bytes.size())
        out->resize(at + bytes.size());
    out->replace(at, bytes.size(), bytes);
}

std::string Deflated(const std::string &bytes)
{
    constexpr int kSmallWindow = -12;
    z_stream stream = {};
    deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kSmallWindow, 9, Z_DEFAULT_STRATEGY);
    std::string packed(deflateBound(&stream, bytes.size()), '\0');
    std::string input = bytes;
    stream.next_in = reinterpret_cast<Bytef *>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef *>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    deflate(&stream, Z_FINISH);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

std::string Zstd(const std::string &bytes)
{
    std::string packed(ZSTD_compressBound(bytes.size()), '\0');
    packed.resize(ZSTD_compress(packed.data(), packed.size(), bytes.data(), bytes.size(), 3));
    return packed;
}

}  // namespace

std::string QcowWriter::Number(uint64_t value, size_t bytes)
{
    std::string number;
    while (bytes-- > 0)
        number.push_back(static_cast<char>(value >> 8 * bytes));
    return number;
}

std::string QcowWriter::Extension(uint32_t type, const std::string &bytes)
{
    return Number(type, 4) + Number(bytes.size(), 4) + bytes + std::string(-bytes.size() % 8, '\0');
}

void QcowWriter::AddParts(const std::string &bytes, uint64_t bits)
{
    _clusters.push_back({Kind::kStored, bytes, bits});
}

void QcowWriter::AddPacked(const std::string &bytes)
{
    _clusters.push_back({Kind::kPacked, Packed(bytes), 0});
}

void QcowWriter::AddZeros()
{
    _clusters.push_back({Kind::kZeros, {}, uint64_t{0xFFFFFFFF} << 32});
}

std::string QcowWriter::Packed(const std::string &bytes) const
{
    return _recipe.isZstd ? Zstd(bytes) : Deflated(bytes);
}

uint64_t QcowWriter::PackedEntry(uint64_t place, uint64_t bytes) const
{
    const unsigned bitsOfPlace = 62 - (_recipe.clusterBits - 8);
    const uint64_t sectors = (place + bytes - 1) / kSector - place / kSector;
    return kPacked | sectors << bitsOfPlace | place;
}

std::string QcowWriter::Extensions() const
{
    std::string bytes = _recipe.extensions;
    if (!_recipe.backingFormat.empty())
        bytes += Extension(0xE2792ACA, _recipe.backingFormat);
    if (!_recipe.dataFile.empty())
        bytes += Extension(0x44415441, _recipe.dataFile);
    return bytes + Extension(0, "");
}

std::string QcowWriter::Header() const
{
    const uint64_t length = _recipe.version == 3 ? _recipe.headerLength : 72;
    const std::string extensions = Extensions();
    const std::string &name = _recipe.backingFile;
    const uint64_t disk =
        _recipe.diskBytes > 0 ? _recipe.diskBytes : _clusters.size() * ClusterBytes();
    const uint64_t features = _recipe.features | (_recipe.hasDataFile ? 4 : 0) |
                              (_recipe.isZstd ? 8 : 0) | (_recipe.hasSubclusters ? 16 : 0);
    std::string header = "QFI\xFB" + Number(_recipe.version, 4) +
                         Number(name.empty() ? 0 : length + extensions.size(), 8) +
                         Number(name.size(), 4) + Number(_recipe.clusterBits, 4) + Number(disk, 8) +
                         Number(_recipe.cryptMethod, 4) + Number(L2Tables(), 4) +
                         Number(L1At(), 8) + Number(RefcountTableAt(), 8) + Number(1, 4) +
                         Number(0, 4) + Number(0, 8);
    header += Number(features, 8) + Number(0, 8) + Number(0, 8) + Number(_recipe.refcountOrder, 4) +
              Number(_recipe.headerLength, 4) + Number(_recipe.isZstd ? 1 : 0, 1);
    header.resize(length);
    return header + extensions + name;
}

std::string QcowWriter::Image() const
{
    std::string image = Header();
    Put(RefcountTableAt(), Number(RefcountBlockAt(), 8), &image);
    Put(ClustersAt(), "", &image);
    uint64_t inDataFile = 0;
    for (size_t i = 0; i < _clusters.size(); ++i) {
        const Cluster &cluster = _clusters[i];
        uint64_t entry = cluster.kind == Kind::kZeros && !_recipe.hasSubclusters ? 1 : 0;
        if (cluster.kind == Kind::kStored && _recipe.hasDataFile) {
            entry = kOnlyOnce | inDataFile;
            inDataFile += ClusterBytes();
        } else if (cluster.kind == Kind::kStored) {
            image.resize((image.size() + ClusterBytes() - 1) / ClusterBytes() * ClusterBytes());
            entry = kOnlyOnce | image.size();
            image += cluster.bytes;
        } else if (cluster.kind == Kind::kPacked) {
            entry = PackedEntry(image.size(), cluster.bytes.size());
            image += cluster.bytes;
        }
        if (const auto other = _entries.find(i); other != _entries.end())
            entry = other->second;
        const size_t table = i / L2Entries();
        const size_t entryBytes = _recipe.hasSubclusters ? 16 : 8;
        Put(L2At(table) + i % L2Entries() * entryBytes, Number(entry, 8), &image);
        if (_recipe.hasSubclusters)
            Put(L2At(table) + i % L2Entries() * 16 + 8, Number(cluster.bits, 8), &image);
    }
    for (size_t table = 0; table < L2Tables(); ++table) {
        const auto other = _l1Entries.find(table);
        const uint64_t entry = other != _l1Entries.end() ? other->second : kOnlyOnce | L2At(table);
        Put(L1At() + 8 * table, Number(entry, 8), &image);
    }
    image.resize((image.size() + ClusterBytes() - 1) / ClusterBytes() * ClusterBytes());
    const size_t counted = std::min(image.size(), ClusterBytes() * ClusterBytes() / 2);
    for (size_t cluster = 0; cluster < counted / ClusterBytes(); ++cluster)
        Put(RefcountBlockAt() + 2 * cluster, Number(1, 2), &image);
    return image;
}

std::string QcowWriter::DataFile() const
{
    std::string file;
    for (const Cluster &cluster : _clusters)
        file += cluster.kind == Kind::kStored ? cluster.bytes : "";
    return file;
}

}  // namespace vx
