#include "QcowHeader.h"

#include "ByteReader.h"
#include "FileBeside.h"

#include <algorithm>
#include <iterator>
#include <vector>

namespace vx {
namespace {

constexpr size_t kVersionAt = 4;
constexpr uint32_t kFewestClusterBits = 9;
constexpr uint32_t kMostClusterBits = 21;
constexpr uint64_t kHeaderBytesOfVersion2 = 72;
constexpr uint64_t kHeaderBytesOfVersion3 = 104;
constexpr const char *kConvert = ": convert it to a raw image first, with qemu-img convert -O raw";

enum Feature : uint64_t {
    kMarkedCorrupt = 1u << 1,
    kDataFile = 1u << 2,
    kCompressionType = 1u << 3,
    kSubclusters = 1u << 4,
    kKnown = (1u << 5) - 1,  // also bit 0: the reference counts may be too low
};

Error EndsEarly()
{
    return {Status::kTruncatedImage, "the QCOW2 image ends early"};
}

Error Unsupported(const std::string &what)
{
    return {Status::kUnsupportedContainer, "it is " + what + kConvert};
}

std::string TextOf(ByteView bytes)
{
    std::string text(bytes.data, bytes.data + bytes.size);
    return text.substr(0, text.find('\0'));
}

// Calls visit(type, bytes) for each extension until the last one.
template <typename Visit>
void VisitExtensions(ByteView head, size_t begin, const Visit &visit)
{
    constexpr uint32_t kEnd = 0;
    ByteReader reader(head, begin);
    while (reader.Left() >= 8) {
        const uint32_t type = reader.BigU32();
        const uint32_t length = reader.BigU32();
        const ByteView bytes = reader.Bytes(length);
        if (type == kEnd || !reader.Good())
            return;
        visit(type, bytes);
        reader.Skip(-length % 8);
    }
}

void TakeExtensions(ByteView head, size_t begin, QcowHeader *header)
{
    constexpr uint32_t kBackingFormat = 0xE2792ACA;
    constexpr uint32_t kDataFileName = 0x44415441;
    VisitExtensions(head, begin, [&](uint32_t type, ByteView bytes) {
        if (type == kBackingFormat)
            header->backingFormat = TextOf(bytes);
        if (type == kDataFileName)
            header->dataFile = TextOf(bytes);
    });
}

// The name that the image itself gives to an incompatible feature.
std::string NameOfFeature(ByteView head, size_t begin, unsigned bit)
{
    constexpr uint32_t kNames = 0x6803F857;
    constexpr size_t kEntryBytes = 48;
    constexpr uint8_t kIncompatible = 0;
    std::string name = "number " + std::to_string(bit);
    VisitExtensions(head, begin, [&](uint32_t type, ByteView bytes) {
        for (size_t at = 0; type == kNames && bytes.Holds(at, kEntryBytes); at += kEntryBytes) {
            const ByteView entry = bytes.From(at).First(kEntryBytes);
            if (entry.data[0] == kIncompatible && entry.data[1] == bit)
                name = '"' + ShownName(TextOf(entry.From(2))) + '"';
        }
    });
    return name;
}

Error CheckFeatures(ByteView head, size_t begin, uint64_t features)
{
    for (unsigned bit = 0; bit < 64; ++bit) {
        if ((features & ~uint64_t{kKnown} & uint64_t{1} << bit) != 0)
            return Unsupported("a QCOW2 image with the unknown feature " +
                               NameOfFeature(head, begin, bit));
    }
    return {};
}

Error CheckIsPlain(uint32_t cryptMethod)
{
    if (cryptMethod == 0)
        return {};
    return {Status::kUnsupportedContainer,
            "it is an encrypted QCOW2 image: decrypt it first, with qemu-img convert --object "
            "secret,id=key,file=PASSWORDFILE --image-opts "
            "driver=qcow2,encrypt.key-secret=key,file.filename=IMAGE -O raw NEWIMAGE"};
}

Error TakeVersion3(ByteView head, QcowHeader *header, uint64_t *length)
{
    constexpr size_t kFeaturesAt = 72;
    constexpr size_t kRefcountOrderAt = 96;
    constexpr size_t kLengthAt = 100;
    constexpr size_t kCompressionAt = 104;
    if (head.size < kHeaderBytesOfVersion3)
        return EndsEarly();
    const uint64_t features = ByteReader(head, kFeaturesAt).BigU64();
    *length = ByteReader(head, kLengthAt).BigU32();
    if (*length < kHeaderBytesOfVersion3 || *length > header->ClusterBytes())
        return DamagedQcow();
    if (Error error = CheckFeatures(head, static_cast<size_t>(*length), features))
        return error;
    header->refcountOrder = ByteReader(head, kRefcountOrderAt).BigU32();
    header->isMarkedCorrupt = (features & kMarkedCorrupt) != 0;
    header->hasDataFile = (features & kDataFile) != 0;
    header->hasSubclusters = (features & kSubclusters) != 0;
    const bool hasType = *length > kCompressionAt && (features & kCompressionType) != 0;
    const unsigned type = hasType ? U8At(head, kCompressionAt) : 0;
    header->isZstd = type == 1;
    return type <= 1 ? Error() : Unsupported("a QCOW2 image with an unknown compression");
}

Error TakeBackingFile(const ByteSource &file, uint64_t at, uint32_t length, QcowHeader *header)
{
    constexpr uint32_t kLongestName = 1023;
    if (at == 0 || length == 0)
        return {};
    if (length > kLongestName)
        return DamagedQcow();
    std::vector<uint8_t> name(length);
    if (Error error = file.ReadAt(at, name.data(), name.size()))
        return error.status == Status::kTruncatedImage ? DamagedQcow() : error;
    header->backingFile = TextOf(name);
    return {};
}

Error CheckPlaces(const ByteSource &file, const QcowHeader &header)
{
    constexpr uint64_t kMostBytes = uint64_t{1} << 63;
    constexpr uint32_t kFewestBitsOfSubclusters = 14;
    const bool isPossible =
        header.diskBytes < kMostBytes && header.l1Entries <= QcowHeader::kMostL1Entries &&
        header.l1At % header.ClusterBytes() == 0 &&
        (!header.hasSubclusters || header.clusterBits >= kFewestBitsOfSubclusters);
    if (!isPossible || (header.l1At == 0 && header.l1Entries > 0))
        return DamagedQcow();
    const bool isInFile =
        header.l1At <= file.Size() && header.l1Entries <= (file.Size() - header.l1At) / 8;
    return isInFile ? Error() : EndsEarly();
}

Error CheckVersion(ByteView head)
{
    ByteReader reader(head, kVersionAt);
    const uint32_t version = reader.BigU32();
    if (!reader.Good())
        return EndsEarly();
    if (version < 2)
        return Unsupported("a QCOW image of version 1");
    if (version > 3)
        return Unsupported("a QCOW image of version " + std::to_string(version));
    return head.size < kHeaderBytesOfVersion2 ? EndsEarly() : Error();
}

Result<QcowHeader> Parse(const ByteSource &file, ByteView head)
{
    QcowHeader header;
    ByteReader reader(head, kVersionAt);
    header.version = reader.BigU32();
    const uint64_t backingAt = reader.BigU64();
    const uint32_t backingBytes = reader.BigU32();
    header.clusterBits = reader.BigU32();
    header.diskBytes = reader.BigU64();
    if (Error error = CheckIsPlain(reader.BigU32()))
        return error;
    header.l1Entries = reader.BigU32();
    header.l1At = reader.BigU64();
    header.refcountTableAt = reader.BigU64();
    header.refcountTableClusters = reader.BigU32();
    const uint32_t snapshots = reader.BigU32();
    header.snapshotsAt = snapshots > 0 ? reader.BigU64() : 0;
    if (header.clusterBits < kFewestClusterBits || header.clusterBits > kMostClusterBits)
        return DamagedQcow();
    // The extensions end where the name of the backing file or the first cluster does.
    const uint64_t end = std::min(header.ClusterBytes(), backingAt > 0 ? backingAt : ~uint64_t{0});
    const ByteView area = head.First(static_cast<size_t>(end));
    uint64_t length = kHeaderBytesOfVersion2;
    if (Error error = header.version == 3 ? TakeVersion3(area, &header, &length) : Error())
        return error;
    TakeExtensions(area, static_cast<size_t>(length), &header);
    if (Error error = TakeBackingFile(file, backingAt, backingBytes, &header))
        return error;
    if (Error error = CheckPlaces(file, header))
        return error;
    return header;
}

}  // namespace

Error DamagedQcow()
{
    return {Status::kDamagedContainer, "the QCOW2 image is damaged"};
}

bool IsQcow(ByteView head)
{
    return ByteReader(head).TakeMark(kQcowMark);
}

bool IsQcowBesideItsMark(ByteView head)
{
    constexpr size_t kClusterBitsAt = 20;
    constexpr uint32_t kMostCryptMethod = 2;
    if (head.size < kHeaderBytesOfVersion3)
        return false;
    const uint32_t version = ByteReader(head, kVersionAt).BigU32();
    ByteReader reader(head, kClusterBitsAt);
    const uint32_t clusterBits = reader.BigU32();
    const uint64_t diskBytes = reader.BigU64();
    const uint32_t cryptMethod = reader.BigU32();
    reader.Skip(4);  // entries of the L1 table
    const uint64_t tables[] = {reader.BigU64(), reader.BigU64()};
    if (version < 2 || version > 3 || clusterBits < kFewestClusterBits ||
        clusterBits > kMostClusterBits)
        return false;
    const bool areInPlace = std::all_of(std::begin(tables), std::end(tables), [&](uint64_t at) {
        return at > 0 && at % (uint64_t{1} << clusterBits) == 0 && at <= uint64_t{INT64_MAX};
    });
    return areInPlace && diskBytes <= uint64_t{INT64_MAX} && cryptMethod <= kMostCryptMethod;
}

Result<QcowHeader> ReadQcowHeader(const ByteSource &file)
{
    constexpr uint64_t kHeadBytes = uint64_t{64} << 10;
    std::vector<uint8_t> head(static_cast<size_t>(std::min(file.Size(), kHeadBytes)));
    ByteRanges gaps;
    Error error = file.Salvage(0, head.data(), head.size(), &gaps);
    if (error) {  // the extensions may lie in a sector that cannot be read
        head.resize(std::min<size_t>(head.size(), 512));
        error = file.ReadAt(0, head.data(), head.size());
    }
    if (error)
        return error;
    if (!IsQcow(head))
        return DamagedQcow();
    error = CheckVersion(head);
    return error ? error : Parse(file, head);
}

}  // namespace vx
