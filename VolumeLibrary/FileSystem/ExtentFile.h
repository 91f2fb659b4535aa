// A file that lies in runs on the volume, read from the source without a lock.
//
// Ownership: shares the source. Threads: as VolumeFile; any number of files at a time.
#pragma once

#include "ByteSource.h"
#include "VolumeFile.h"

#include <memory>
#include <optional>
#include <utility>
#include <vector>

namespace vx {

// A run of a file's bytes.
struct FileRun {
    enum class Kind { kStored, kZeros };

    uint64_t position = 0;  // in the file
    uint64_t length = 0;    // bytes, never 0
    uint64_t offset = 0;    // on the volume; of kStored only
    Kind kind = Kind::kStored;
};

// A folder or a table lies in fewer runs than this on any disk. Files may lie in more.
constexpr size_t kMostRunsOfTables = size_t{1} << 16;

// Appends a run, joining it with the last one if it continues there.
void AppendRun(const FileRun &run, std::vector<FileRun> *runs);

// In the order of their positions, without overlaps. What no run holds cannot be read.
struct FileExtents {
    uint64_t size = 0;
    uint64_t initialised = 0;  // what follows reads as zeros
    std::vector<FileRun> runs;
};

// Reads count bytes at position from the runs, all or none: false on an error; done is then the
// number of bytes before it.
bool ReadRuns(const ByteSource &source, const std::vector<FileRun> &runs, uint64_t position,
              char *buffer, uint32_t count, uint32_t *done);
// The same for a file whose end may not have been written yet; all bytes must lie before its size.
bool ReadExtents(const ByteSource &source, const FileExtents &extents, uint64_t position,
                 char *buffer, uint32_t count, uint32_t *done);

// As ReadExtents, into bytes of its own: nothing on an error.
std::optional<std::vector<uint8_t>> ReadExtentBytes(const ByteSource &source,
                                                    const FileExtents &extents, uint64_t position,
                                                    uint32_t count);

// Fills the whole buffer: what cannot be read, or is held by no run, is zeros and is added to
// unread with its place in the file.
void SalvageRuns(const ByteSource &source, const std::vector<FileRun> &runs, uint64_t position,
                 char *buffer, uint32_t count, ByteRanges *unread);
// The same as ReadExtents.
void SalvageExtents(const ByteSource &source, const FileExtents &extents, uint64_t position,
                    char *buffer, uint32_t count, ByteRanges *unread);

// Visits where the bytes before end are stored; a place's position is that in the file.
void LocateRuns(const ByteSource &source, const std::vector<FileRun> &runs, uint64_t end,
                const StoredPlaceVisitor &visit);

// How many of count bytes at position are stored, and not zeros.
uint64_t StoredBytes(const std::vector<FileRun> &runs, uint64_t position, uint64_t count);

// Whether runs hold all of count bytes at position.
bool AreCovered(const std::vector<FileRun> &runs, uint64_t position, uint64_t count);

class ExtentFile final : public VolumeFile {
public:
    ExtentFile(std::shared_ptr<const ByteSource> source, FileExtents extents)
        : _source(std::move(source)), _extents(std::move(extents))
    {
    }

    std::optional<int64_t> Size() const override { return static_cast<int64_t>(_extents.size); }
    void VisitPlaces(const StoredPlaceVisitor &visit) const override;

protected:
    int64_t KnownSize() const override { return static_cast<int64_t>(_extents.size); }
    uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread) override;

private:
    const std::shared_ptr<const ByteSource> _source;
    const FileExtents _extents;
};

}  // namespace vx
