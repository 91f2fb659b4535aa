// Where the pieces ("chunks") of a disk lie in the files of an E01 or S01 image.
//
// Format: "Expert Witness Compression Format (EWF)" by Joachim Metz, published with libewf. A file
// is a chain of sections; each has a header with an Adler-32, and so have the description of the
// disk and the tables of chunks. The images of the older kind, S01 among them, describe the disk in
// 94 bytes instead of 1052 and have no checksum for the entries of a table.
//
// What is checked: every section begins after the previous one and lies within its file; a table
// lies in its section; no product overflows. The entries of the tables are not read here. Memory:
// 40 bytes for each of at most kMostTables tables, and 1 MiB for the list of lost sectors.
#pragma once

#include "ByteSource.h"
#include "ByteView.h"
#include "Error.h"
#include "Guid.h"

#include <optional>
#include <string>
#include <vector>

namespace vx {

// The entries of a run of chunks: 32 bits for each, its place in the file relative to base. The
// highest bit means that the chunk is packed.
struct EwfTable {
    uint32_t file = 0;   // its index in the list of files
    uint32_t count = 0;  // entries
    uint64_t firstChunk = 0;
    uint64_t entriesAt = 0;
    uint64_t copyAt = 0;  // the entries of a copy of the table; 0 if there is none
    uint64_t base = 0;
};

struct EwfLayout {
    uint64_t diskBytes = 0;
    uint32_t chunkBytes = 0;
    bool hasChecksums = false;     // after the entries of the tables
    std::vector<EwfTable> tables;  // in the order of their chunks
    uint64_t chunks = 0;           // in all of them
    uint64_t lostSectors = 0;      // that could not be read when the image was made
    uint32_t sectorBytes = 0;
    bool isOfOlderKind = false;  // such as S01
    // The lost sectors in bytes of the disk, in ascending order, without overlaps: those of the
    // first kMostLost entries of the image's lists.
    ByteRanges lost;
};

// What the last section of a file says about the next file.
enum class EwfEnding { kMoreFollow, kIsLast };

class EwfLayoutReader {
public:
    static constexpr size_t kMostTables = size_t{1} << 18;
    static constexpr uint32_t kLargestChunk = uint32_t{16} << 20;
    static constexpr size_t kMostLost = size_t{1} << 16;

    // The next file of the image; name is for messages. Errors: kTruncatedImage if it ends early,
    // kDamagedContainer, kUnsupportedContainer if it is a part of another image, those of its
    // reads.
    Result<EwfEnding> Add(const ByteSource &file, const std::string &name);

    // After the last file. Errors: kDamagedContainer if the size of the disk is not recorded.
    Result<EwfLayout> Finish();

private:
    struct Section;

    Error CheckFileHeader(const ByteSource &file, const std::string &name);
    Result<Section> ReadSection(const ByteSource &file, uint64_t at, const std::string &name);
    Error TakeSection(const ByteSource &file, const Section &section, const std::string &name);
    Error TakeDisk(const ByteSource &file, const Section &section, const std::string &name);
    Error CheckSet(ByteView description, const std::string &name);
    Error TakeTable(const ByteSource &file, const Section &section, const std::string &name);
    // Nothing if the table does not fit its checksum or its section.
    Result<std::optional<EwfTable>> ReadTable(const ByteSource &file, const Section &section) const;
    Error TakeLost(const ByteSource &file, const Section &section);
    bool SetDisk(ByteView description);
    void JoinLost();

    EwfLayout _layout;
    uint32_t _files = 0;
    Guid _set;                // that the files are of; older images name none
    uint32_t _fileOfSet = 0;  // the first that names it; 0: none so far
    size_t _sections = 0;
    bool _lacksTable = false;  // the previous table could not be used
    bool _mayBeCopy = false;   // the previous section was a table
};

}  // namespace vx
