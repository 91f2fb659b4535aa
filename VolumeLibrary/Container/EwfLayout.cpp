#include "EwfLayout.h"

#include "Little.h"
#include "ZlibStream.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vx {
namespace {

constexpr uint64_t kFileHeaderBytes = 13;
constexpr uint64_t kSectionHeaderBytes = 76;
constexpr uint64_t kTableHeaderBytes = 24;
constexpr size_t kEntryBytes = 4;
constexpr size_t kChecksumBytes = 4;
// Sections of all files; a disk of 16 EiB has fewer.
constexpr size_t kMostSections = size_t{1} << 20;

Error Damaged(const std::string &name)
{
    return {Status::kDamagedContainer, "the E01 image is damaged in " + name};
}

Error Cut(const std::string &name)
{
    return {Status::kTruncatedImage, name + " ends early"};
}

// Whether the last four bytes are the checksum of the others.
bool HasChecksum(const uint8_t *bytes, size_t count)
{
    const size_t covered = count - kChecksumBytes;
    return Adler32({bytes, covered}) == Little32(bytes + covered);
}

}  // namespace

struct EwfLayoutReader::Section {
    char type[17] = {};
    uint64_t begin = 0;  // of its data
    uint64_t end = 0;

    bool Is(const char *name) const { return std::strcmp(type, name) == 0; }
    uint64_t Bytes() const { return end - begin; }
};

Error EwfLayoutReader::Add(const ByteSource &file, const std::string &name, EwfEnding *ending)
{
    uint8_t bytes[kSectionHeaderBytes];
    if (file.Size() < kFileHeaderBytes)
        return Cut(name);
    if (Error error = file.ReadAt(0, bytes, kFileHeaderBytes))
        return error;
    ++_files;
    _mayBeCopy = false;
    if (Little16(bytes + 9) != _files)
        return Damaged(name);
    for (uint64_t at = kFileHeaderBytes;;) {
        if (at > file.Size() || file.Size() - at < sizeof bytes)
            return Cut(name);
        if (Error error = file.ReadAt(at, bytes, sizeof bytes))
            return error;
        if (!HasChecksum(bytes, sizeof bytes) || ++_sections > kMostSections)
            return Damaged(name);
        Section section;
        std::memcpy(section.type, bytes, sizeof section.type - 1);
        section.begin = at + sizeof bytes;
        section.end = Little64(bytes + 16);
        if (section.Is("done") || section.Is("next")) {
            *ending = section.Is("done") ? EwfEnding::kIsLast : EwfEnding::kMoreFollow;
            return _lacksTable ? Damaged(name) : Error{};
        }
        if (section.end < section.begin)
            return Damaged(name);
        if (section.end > file.Size())
            return Cut(name);
        if (Error error = TakeSection(file, section, name))
            return error;
        at = section.end;
    }
}

Error EwfLayoutReader::TakeSection(const ByteSource &file, const Section &section,
                                   const std::string &name)
{
    if (section.Is("table") || section.Is("table2"))
        return TakeTable(file, section, name);
    _mayBeCopy = false;
    if (_lacksTable)
        return Damaged(name);
    const bool isDisk = section.Is("volume") || section.Is("disk") || section.Is("data");
    if (isDisk && _layout.chunkBytes == 0)
        return TakeDisk(file, section);
    return section.Is("error2") ? TakeLost(file, section) : Error{};
}

// A description that does not fit its checksum is left; "data" repeats it.
Error EwfLayoutReader::TakeDisk(const ByteSource &file, const Section &section)
{
    constexpr size_t kLong = 1052;
    constexpr size_t kShort = 94;
    uint8_t bytes[kLong];
    const size_t count = section.Bytes() >= kLong ? kLong : kShort;
    if (section.Bytes() < count)
        return {};
    if (Error error = file.ReadAt(section.begin, bytes, count))
        return error;
    if (!HasChecksum(bytes, count) || !SetDisk(bytes, count))
        return {};
    _layout.hasChecksums = count == kLong;
    return {};
}

bool EwfLayoutReader::SetDisk(const uint8_t *description, size_t bytes)
{
    constexpr size_t kShort = 94;
    constexpr uint64_t kMostBytes = INT64_MAX;
    const uint64_t sectorsOfChunk = Little32(description + 8);
    const uint64_t sectorBytes = Little32(description + 12);
    const uint64_t sectors =
        bytes == kShort ? Little32(description + 16) : Little64(description + 16);
    const uint64_t chunkBytes = sectorsOfChunk * sectorBytes;
    if (chunkBytes == 0 || chunkBytes > kLargestChunk || sectors > kMostBytes / sectorBytes)
        return false;
    _layout.chunkBytes = static_cast<uint32_t>(chunkBytes);
    _layout.sectorBytes = static_cast<uint32_t>(sectorBytes);
    _layout.diskBytes = sectors * sectorBytes;
    return true;
}

// A second table after another one is its copy, and takes its place if that one is damaged.
Error EwfLayoutReader::TakeTable(const ByteSource &file, const Section &section,
                                 const std::string &name)
{
    uint8_t bytes[kTableHeaderBytes] = {};
    const bool isCopy = section.Is("table2") && _mayBeCopy;
    if (_lacksTable && !section.Is("table2"))
        return Damaged(name);
    if (section.Bytes() >= sizeof bytes) {
        if (Error error = file.ReadAt(section.begin, bytes, sizeof bytes))
            return error;
    }
    EwfTable table;
    table.file = _files - 1;
    table.count = Little32(bytes);
    table.base = Little64(bytes + 8);
    table.firstChunk = _layout.chunks;
    table.entriesAt = section.begin + sizeof bytes;
    const uint64_t room = section.Bytes() - std::min<uint64_t>(section.Bytes(), sizeof bytes);
    const bool isSound = HasChecksum(bytes, sizeof bytes) && table.count <= room / kEntryBytes;
    _mayBeCopy = !isCopy && isSound;
    if (isCopy) {
        if (isSound && table.count == _layout.tables.back().count)
            _layout.tables.back().copyAt = table.entriesAt;
        return {};
    }
    _lacksTable = !isSound;
    if (!isSound)
        return section.Is("table2") ? Damaged(name) : Error{};
    if (_layout.tables.size() == kMostTables)
        return Damaged(name);
    _layout.chunks += table.count;
    _layout.tables.push_back(table);
    return {};
}

// In sectors for now, since the size of one may come later.
Error EwfLayoutReader::TakeLost(const ByteSource &file, const Section &section)
{
    constexpr size_t kHeaderBytes = 520;
    constexpr size_t kLostBytes = 8;
    uint8_t header[kHeaderBytes];
    if (section.Bytes() < sizeof header)
        return {};
    if (Error error = file.ReadAt(section.begin, header, sizeof header))
        return error;
    const uint32_t count = std::min<uint32_t>(Little32(header), kMostLost);
    if (!HasChecksum(header, sizeof header) ||
        (section.Bytes() - sizeof header) / kLostBytes < count)
        return {};
    std::vector<uint8_t> lost(count * kLostBytes);
    if (Error error = file.ReadAt(section.begin + sizeof header, lost.data(), lost.size()))
        return error;
    for (size_t at = 0; at < lost.size(); at += kLostBytes) {
        const uint32_t sectors = Little32(lost.data() + at + 4);
        _layout.lostSectors += sectors;
        if (sectors > 0 && _layout.lost.size() < kMostLost)
            _layout.lost.push_back({Little32(lost.data() + at), sectors});
    }
    return {};
}

// Puts the lost sectors in order, in bytes, each once and none beyond the end of the disk.
void EwfLayoutReader::JoinLost()
{
    ByteRanges sectors;
    sectors.swap(_layout.lost);
    std::sort(sectors.begin(), sectors.end(),
              [](const ByteRange &a, const ByteRange &b) { return a.offset < b.offset; });
    uint64_t end = 0;
    for (const ByteRange &range : sectors) {
        const uint64_t begin = std::max(end, range.offset * _layout.sectorBytes);
        end = std::max(end, (range.offset + range.length) * _layout.sectorBytes);
        AddRange(begin, end - std::min(begin, end), &_layout.lost);
    }
    CutRanges(_layout.diskBytes, &_layout.lost);
}

Error EwfLayoutReader::Finish(EwfLayout *layout)
{
    if (_layout.chunkBytes == 0)
        return {Status::kDamagedContainer,
                "the E01 image is damaged: nothing says how large its disk is"};
    JoinLost();
    *layout = std::move(_layout);
    return {};
}

}  // namespace vx
