#include "NtfsWriter.h"

#include "ByteReader.h"
#include "PutNumber.h"

#include <algorithm>
#include <cstring>

namespace vx {
namespace {

using Bytes = NtfsWriter::Bytes;

constexpr uint32_t kEnd = 0xFFFFFFFF;

void Append(Bytes *bytes, const Bytes &more)
{
    bytes->insert(bytes->end(), more.begin(), more.end());
}

Bytes Units(const std::u16string &text)
{
    Bytes bytes(2 * text.size());
    for (size_t i = 0; i < text.size(); ++i)
        PutNumber(&bytes, 2 * i, text[i], 2);
    return bytes;
}

// Padded to a multiple of eight, as everything in a record is.
void Align(Bytes *bytes)
{
    bytes->resize((bytes->size() + 7) / 8 * 8);
}

void AppendNumber(Bytes *bytes, int64_t value, size_t count)
{
    for (size_t i = 0; i < count; ++i)
        bytes->push_back(static_cast<uint8_t>(static_cast<uint64_t>(value) >> (8 * i)));
}

Bytes ListOfRuns(const std::vector<NtfsWriter::Run> &runs)
{
    constexpr uint8_t kHole = 0x04;
    constexpr uint8_t kStored = 0x44;
    Bytes list;
    int64_t last = 0;
    for (const NtfsWriter::Run &run : runs) {
        const auto cluster = static_cast<int64_t>(run.cluster);
        list.push_back(cluster == 0 ? kHole : kStored);
        AppendNumber(&list, static_cast<int64_t>(run.length), 4);
        if (cluster == 0)
            continue;
        AppendNumber(&list, cluster - last, 4);
        last = cluster;
    }
    list.push_back(0);
    return list;
}

Bytes Attribute(NtfsType type, bool isInRuns, const std::u16string &name, size_t header)
{
    Bytes bytes(header);
    PutNumber(&bytes, 0, static_cast<uint32_t>(type), 4);
    bytes[8] = isInRuns ? 1 : 0;
    bytes[9] = static_cast<uint8_t>(name.size());
    PutNumber(&bytes, 10, header, 2);
    Append(&bytes, Units(name));
    Align(&bytes);
    return bytes;
}

void Finish(Bytes *attribute)
{
    Align(attribute);
    PutNumber(attribute, 4, attribute->size(), 4);
}

// By their types, as a record has them.
std::vector<Bytes> InOrder(std::vector<Bytes> attributes)
{
    std::stable_sort(attributes.begin(), attributes.end(), [](const Bytes &one, const Bytes &two) {
        return U32At(one, 0) < U32At(two, 0);
    });
    return attributes;
}

Bytes StandardInformation()
{
    return NtfsWriter::Resident(NtfsType::kStandardInformation, Bytes(48));
}

// The entries of an index with the header that describes them.
Bytes Index(const std::vector<Bytes> &lines, size_t room)
{
    constexpr size_t kHeaderBytes = 16;
    Bytes index(kHeaderBytes + room);
    Append(&index, NtfsWriter::Joined(lines));
    PutNumber(&index, 0, kHeaderBytes + room, 4);
    PutNumber(&index, 4, index.size(), 4);
    PutNumber(&index, 8, index.size(), 4);
    return index;
}

Bytes NameBytes(const std::u16string &name, uint64_t parent)
{
    Bytes bytes(66);
    PutNumber(&bytes, 0, parent, 8);
    bytes[64] = static_cast<uint8_t>(name.size());
    bytes[65] = 1;
    Append(&bytes, Units(name));
    return bytes;
}

Bytes Line(uint64_t record, const Bytes &key, uint16_t flags, int64_t blockBelow)
{
    Bytes line(16);
    PutNumber(&line, 0, record, 8);
    PutNumber(&line, 10, key.size(), 2);
    Append(&line, key);
    Align(&line);
    if (blockBelow >= 0) {
        line.resize(line.size() + 8);
        PutNumber(&line, line.size() - 8, static_cast<uint64_t>(blockBelow), 8);
        flags |= 1;
    }
    PutNumber(&line, 8, line.size(), 2);
    PutNumber(&line, 12, flags, 2);
    return line;
}

}  // namespace

NtfsWriter::NtfsWriter(uint64_t clusters) : _image(clusters * kClusterBytes)
{
    constexpr size_t kSectorBytes = 512;
    constexpr uint8_t kPowerOf1024 = 0xF6;
    std::memcpy(_image.data() + 3, "NTFS    ", 8);
    PutNumber(&_image, 11, kSectorBytes, 2);
    _image[13] = kClusterBytes / kSectorBytes;
    PutNumber(&_image, 40, clusters * kClusterBytes / kSectorBytes, 8);
    PutNumber(&_image, 48, kTable, 8);
    _image[64] = kPowerOf1024;
    _image[68] = kPowerOf1024;
    PutNumber(&_image, 510, 0xAA55, 2);
    PutFile(0, {InRuns({NtfsType::kData, {}, 0, kRecords * kClusterBytes, {{kTable, kRecords}}})});
}

Bytes NtfsWriter::Resident(NtfsType type, const Bytes &value, const std::u16string &name)
{
    Bytes bytes = Attribute(type, false, name, 24);
    PutNumber(&bytes, 16, value.size(), 4);
    PutNumber(&bytes, 20, bytes.size(), 2);
    Append(&bytes, value);
    Finish(&bytes);
    return bytes;
}

Bytes NtfsWriter::InRuns(const Stream &stream)
{
    Bytes bytes = Attribute(stream.type, true, stream.name, 64);
    uint64_t clusters = 0;
    for (const Run &run : stream.runs)
        clusters += run.length;
    PutNumber(&bytes, 12, stream.flags, 2);
    PutNumber(&bytes, 16, stream.firstCluster, 8);
    PutNumber(&bytes, 24, stream.firstCluster + clusters - 1, 8);
    PutNumber(&bytes, 32, bytes.size(), 2);
    PutNumber(&bytes, 34, stream.compressionShift, 2);
    PutNumber(&bytes, 40, clusters * kClusterBytes, 8);
    PutNumber(&bytes, 48, stream.size, 8);
    PutNumber(&bytes, 56, stream.size, 8);
    Append(&bytes, ListOfRuns(stream.runs));
    Finish(&bytes);
    return bytes;
}

Bytes NtfsWriter::Data(const std::string &contents)
{
    return Resident(NtfsType::kData, Bytes(contents.begin(), contents.end()));
}

Bytes NtfsWriter::PackedPoint(uint32_t packing, uint32_t provider, uint32_t version)
{
    constexpr uint32_t kTag = 0x80000017;
    Bytes point(24);
    PutNumber(&point, 0, kTag, 4);
    PutNumber(&point, 4, point.size() - 8, 2);
    PutNumber(&point, 8, version, 4);
    PutNumber(&point, 12, provider, 4);
    PutNumber(&point, 16, version, 4);
    PutNumber(&point, 20, packing, 4);
    return Resident(NtfsType::kReparsePoint, point);
}

Bytes NtfsWriter::Hole(uint64_t size)
{
    constexpr uint16_t kSparse = 0x8000;
    const uint64_t clusters = (size + kClusterBytes - 1) / kClusterBytes;
    return InRuns({NtfsType::kData, {}, 0, size, {{0, clusters}}, kSparse});
}

Bytes NtfsWriter::Listed(NtfsType type, const std::u16string &name, uint64_t firstCluster,
                         uint64_t record)
{
    constexpr size_t kHeaderBytes = 26;
    Bytes line(kHeaderBytes);
    Append(&line, Units(name));
    Align(&line);
    PutNumber(&line, 0, static_cast<uint32_t>(type), 4);
    PutNumber(&line, 4, line.size(), 2);
    line[6] = static_cast<uint8_t>(name.size());
    line[7] = kHeaderBytes;
    PutNumber(&line, 8, firstCluster, 8);
    PutNumber(&line, 16, record, 8);
    return line;
}

Bytes NtfsWriter::OwnName(const std::u16string &name, uint64_t parent)
{
    return Resident(NtfsType::kFileName, NameBytes(name, parent));
}

Bytes NtfsWriter::Name(uint64_t record, const std::u16string &name, int64_t blockBelow,
                       uint64_t parent)
{
    return Line(record, NameBytes(name, parent), 0, blockBelow);
}

Bytes NtfsWriter::Last(int64_t blockBelow)
{
    constexpr uint16_t kEndsBlock = 2;
    return Line(0, {}, kEndsBlock, blockBelow);
}

Bytes NtfsWriter::IndexRoot(const std::vector<Bytes> &lines)
{
    Bytes value(16);
    PutNumber(&value, 0, 0x30, 4);
    PutNumber(&value, 4, 1, 4);
    PutNumber(&value, 8, kClusterBytes, 4);
    value[12] = 1;
    Append(&value, Index(lines, 0));
    return Resident(NtfsType::kIndexRoot, value, u"$I30");
}

Bytes NtfsWriter::Joined(const std::vector<Bytes> &parts)
{
    Bytes all;
    for (const Bytes &part : parts)
        Append(&all, part);
    return all;
}

void NtfsWriter::PutFile(uint64_t record, const std::vector<Bytes> &attributes, uint64_t base)
{
    PutRecord(record, 1, attributes, base);
}

void NtfsWriter::PutFolder(uint64_t record, const std::vector<Bytes> &attributes)
{
    PutRecord(record, 3, attributes, 0);
}

void NtfsWriter::PutRecord(uint64_t number, uint16_t flags, const std::vector<Bytes> &attributes,
                           uint64_t base)
{
    constexpr size_t kFixups = 48;
    constexpr size_t kAttributes = 56;
    Bytes record(kAttributes);
    std::memcpy(record.data(), "FILE", 4);
    PutNumber(&record, 16, 1, 2);
    PutNumber(&record, 20, kAttributes, 2);
    PutNumber(&record, 22, flags, 2);
    PutNumber(&record, 32, base, 8);
    if (base == 0)
        Append(&record, StandardInformation());
    Append(&record, Joined(InOrder(attributes)));
    const size_t end = record.size();
    record.resize(std::max(kClusterBytes, end + 4));  // the record is too full if at() throws
    PutNumber(&record, end, kEnd, 4);
    PutNumber(&record, 24, end + 8, 4);
    PutWithFixups(kTable + number, std::move(record), kFixups);
}

void NtfsWriter::PutBlock(uint64_t cluster, uint64_t number, const std::vector<Bytes> &lines)
{
    constexpr size_t kFixups = 40;
    constexpr size_t kRoom = 8;  // for the fixups
    Bytes block(24);
    std::memcpy(block.data(), "INDX", 4);
    PutNumber(&block, 16, number, 8);
    Append(&block, Index(lines, kRoom));
    block.resize(std::max(kClusterBytes, block.size()));
    PutWithFixups(cluster, std::move(block), kFixups);
}

void NtfsWriter::SetAttributes(uint64_t record, uint32_t attributes)
{
    constexpr size_t kAttributesAt = 56 + 24 + 32;  // in the first attribute of the record
    PutNumber(&_image, (kTable + record) * kClusterBytes + kAttributesAt, attributes, 4);
}

void NtfsWriter::PutWithFixups(uint64_t cluster, Bytes bytes, size_t fixups)
{
    constexpr uint16_t kCheck = 0x0101;
    constexpr size_t kStride = 512;
    PutNumber(&bytes, 4, fixups, 2);
    PutNumber(&bytes, 6, kClusterBytes / kStride + 1, 2);
    PutNumber(&bytes, fixups, kCheck, 2);
    for (size_t i = 1; i <= kClusterBytes / kStride; ++i) {
        std::memcpy(bytes.data() + fixups + 2 * i, bytes.data() + i * kStride - 2, 2);
        PutNumber(&bytes, i * kStride - 2, kCheck, 2);
    }
    PutBytes(cluster, std::string(bytes.begin(), bytes.end()));
}

void NtfsWriter::PutBytes(uint64_t cluster, const std::string &bytes)
{
    _image.at(cluster * kClusterBytes + bytes.size() - 1) = 0;
    std::copy(bytes.begin(), bytes.end(),
              _image.begin() + static_cast<long>(cluster * kClusterBytes));
}

}  // namespace vx
