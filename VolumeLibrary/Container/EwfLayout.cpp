#include "EwfLayout.h"

#include "ByteReader.h"
#include "ZlibStream.h"

#include <algorithm>
#include <utility>

namespace vx {
namespace {

constexpr size_t kFileHeaderBytes = 13;
constexpr size_t kSectionHeaderBytes = 76;
constexpr size_t kTableHeaderBytes = 24;
constexpr size_t kEntryBytes = 4;
constexpr size_t kChecksumBytes = 4;
// The description of the disk, in images of the newer and of the older kind.
constexpr size_t kLongDescription = 1052;
constexpr size_t kShortDescription = 94;
// Of all files together; a disk of 16 EiB has fewer.
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
bool HasChecksum(ByteView bytes)
{
    const size_t covered = bytes.size - kChecksumBytes;
    return Adler32(bytes.First(covered)) == U32At(bytes, covered);
}

}  // namespace

struct EwfLayoutReader::Section {
    std::string type;
    uint64_t begin = 0;  // of its data
    uint64_t end = 0;

    uint64_t Bytes() const { return end - begin; }
};

Error EwfLayoutReader::CheckFileHeader(const ByteSource &file, const std::string &name)
{
    constexpr size_t kNumberAt = 9;
    uint8_t bytes[kFileHeaderBytes];
    if (file.Size() < sizeof bytes)
        return Cut(name);
    if (Error error = file.ReadAt(0, bytes, sizeof bytes))
        return error;
    ++_files;
    _mayBeCopy = false;
    return U16At({bytes, sizeof bytes}, kNumberAt) == _files ? Error{} : Damaged(name);
}

Result<EwfLayoutReader::Section> EwfLayoutReader::ReadSection(const ByteSource &file, uint64_t at,
                                                              const std::string &name)
{
    constexpr size_t kTypeBytes = 16;
    uint8_t bytes[kSectionHeaderBytes];
    if (at > file.Size() || file.Size() - at < sizeof bytes)
        return Cut(name);
    if (Error error = file.ReadAt(at, bytes, sizeof bytes))
        return error;
    const ByteView header = {bytes, sizeof bytes};
    if (!HasChecksum(header) || ++_sections > kMostSections)
        return Damaged(name);
    ByteReader reader(header);
    const ByteView type = reader.Bytes(kTypeBytes);
    const uint8_t *typeEnd = std::find(type.data, type.data + type.size, uint8_t{0});
    return Section{std::string(type.data, typeEnd), at + sizeof bytes, reader.U64()};
}

Result<EwfEnding> EwfLayoutReader::Add(const ByteSource &file, const std::string &name)
{
    if (Error error = CheckFileHeader(file, name))
        return error;
    for (uint64_t at = kFileHeaderBytes;;) {
        const auto section = ReadSection(file, at, name);
        if (!section)
            return section.Failure();
        const bool isLast = section->type == "done";
        if (isLast || section->type == "next") {
            if (_lacksTable)
                return Damaged(name);
            return isLast ? EwfEnding::kIsLast : EwfEnding::kMoreFollow;
        }
        if (section->end < section->begin)
            return Damaged(name);
        if (section->end > file.Size())
            return Cut(name);
        if (Error error = TakeSection(file, *section, name))
            return error;
        at = section->end;
    }
}

Error EwfLayoutReader::TakeSection(const ByteSource &file, const Section &section,
                                   const std::string &name)
{
    if (section.type == "table" || section.type == "table2")
        return TakeTable(file, section, name);
    _mayBeCopy = false;
    if (_lacksTable)
        return Damaged(name);
    const bool isDisk =
        section.type == "volume" || section.type == "disk" || section.type == "data";
    if (isDisk)
        return TakeDisk(file, section, name);
    return section.type == "error2" ? TakeLost(file, section) : Error{};
}

// A description that does not fit its checksum is skipped; a later section "data" repeats it.
Error EwfLayoutReader::TakeDisk(const ByteSource &file, const Section &section,
                                const std::string &name)
{
    const bool isNeeded = _layout.chunkBytes == 0;
    uint8_t bytes[kLongDescription];
    const bool isLong = section.Bytes() >= kLongDescription;
    const ByteView description = {bytes, isLong ? kLongDescription : kShortDescription};
    if (section.Bytes() < description.size)
        return {};
    if (Error error = file.ReadAt(section.begin, bytes, description.size))
        return isNeeded ? error : Error{};
    if (!HasChecksum(description))
        return {};
    if (isNeeded && SetDisk(description))
        _layout.hasChecksums = isLong;
    return isLong ? CheckSet(description, name) : Error{};
}

// All files of an image name the same set; none is zero, and is what programs write that name none.
Error EwfLayoutReader::CheckSet(ByteView description, const std::string &name)
{
    constexpr size_t kSetAt = 64;
    const Guid set = ByteReader(description, kSetAt).TakeGuid();
    if (set == Guid())
        return {};
    if (_fileOfSet == 0) {
        _set = set;
        _fileOfSet = _files;
    }
    if (set == _set || _fileOfSet == _files)
        return {};
    return {Status::kUnsupportedContainer,
            "its part " + name + " belongs to another image: it names the set " + set.Text() +
                ", the parts before it name " + _set.Text()};
}

bool EwfLayoutReader::SetDisk(ByteView description)
{
    constexpr size_t kSectorsOfChunkAt = 8;
    constexpr uint64_t kMostBytes = INT64_MAX;
    ByteReader reader(description, kSectorsOfChunkAt);
    const uint64_t sectorsOfChunk = reader.U32();
    const uint64_t sectorBytes = reader.U32();
    _layout.isOfOlderKind = description.size == kShortDescription;
    const uint64_t sectors = _layout.isOfOlderKind ? reader.U32() : reader.U64();
    const uint64_t chunkBytes = sectorsOfChunk * sectorBytes;
    if (chunkBytes == 0 || chunkBytes > kLargestChunk || sectors > kMostBytes / sectorBytes)
        return false;
    _layout.chunkBytes = static_cast<uint32_t>(chunkBytes);
    _layout.sectorBytes = static_cast<uint32_t>(sectorBytes);
    _layout.diskBytes = sectors * sectorBytes;
    return true;
}

// A second table right after another one is its copy, and replaces it if it is damaged.
Error EwfLayoutReader::TakeTable(const ByteSource &file, const Section &section,
                                 const std::string &name)
{
    const bool isSecond = section.type == "table2";
    const bool isCopy = isSecond && _mayBeCopy;
    if (_lacksTable && !isSecond)
        return Damaged(name);
    auto table = ReadTable(file, section);
    if (!table)
        return table.Failure();
    const bool isSound = table->has_value();
    _mayBeCopy = !isCopy && isSound;
    if (isCopy) {
        if (isSound && (*table)->count == _layout.tables.back().count)
            _layout.tables.back().copyAt = (*table)->entriesAt;
        return {};
    }
    _lacksTable = !isSound;
    if (!isSound)
        return isSecond ? Damaged(name) : Error{};
    if (_layout.tables.size() == kMostTables)
        return Damaged(name);
    _layout.chunks += (*table)->count;
    _layout.tables.push_back(**table);
    return {};
}

Result<std::optional<EwfTable>> EwfLayoutReader::ReadTable(const ByteSource &file,
                                                           const Section &section) const
{
    uint8_t bytes[kTableHeaderBytes];
    if (section.Bytes() < sizeof bytes)
        return std::optional<EwfTable>();
    if (Error error = file.ReadAt(section.begin, bytes, sizeof bytes))
        return error;
    const ByteView header = {bytes, sizeof bytes};
    ByteReader reader(header);
    EwfTable table;
    table.file = _files - 1;
    table.count = reader.U32();
    reader.Skip(4);
    table.base = reader.U64();
    table.firstChunk = _layout.chunks;
    table.entriesAt = section.begin + sizeof bytes;
    const uint64_t room = (section.Bytes() - sizeof bytes) / kEntryBytes;
    const bool isSound = HasChecksum(header) && table.count <= room;
    return isSound ? std::optional(table) : std::nullopt;
}

// In sectors at first, since their size may come later in the file.
Error EwfLayoutReader::TakeLost(const ByteSource &file, const Section &section)
{
    constexpr size_t kHeaderBytes = 520;
    constexpr size_t kLostBytes = 8;
    uint8_t bytes[kHeaderBytes];
    if (section.Bytes() < sizeof bytes)
        return {};
    if (Error error = file.ReadAt(section.begin, bytes, sizeof bytes))
        return error;
    const ByteView header = {bytes, sizeof bytes};
    const uint32_t count = std::min<uint32_t>(U32At(header, 0), kMostLost);
    if (!HasChecksum(header) || (section.Bytes() - sizeof bytes) / kLostBytes < count)
        return {};
    std::vector<uint8_t> lost(count * kLostBytes);
    if (Error error = file.ReadAt(section.begin + sizeof bytes, lost.data(), lost.size()))
        return error;
    for (ByteReader reader(lost); reader.Left() > 0;) {
        const uint32_t first = reader.U32();
        const uint32_t sectors = reader.U32();
        _layout.lostSectors += sectors;
        if (sectors > 0 && _layout.lost.size() < kMostLost)
            _layout.lost.push_back({first, sectors});
    }
    return {};
}

// Converts the lost sectors to bytes, in order, each once and none beyond the end of the disk.
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

Result<EwfLayout> EwfLayoutReader::Finish()
{
    if (_layout.chunkBytes == 0)
        return Error{Status::kDamagedContainer,
                     "the E01 image is damaged: the size of its disk is not recorded"};
    JoinLost();
    return std::move(_layout);
}

}  // namespace vx
