// A file of which the next bytes are read by a second thread while the caller uses those that it
// has: a copy then takes as long as the slower one of reading and writing, not as long as both.
//
// It begins once a handle is read in sequence and in large pieces, so small files and reads here
// and there pay nothing. The window is some chunks of the caller's own size; a read that does not
// continue where the last one ended drops it. Only chunks that were read whole are kept. At the
// first one that is not, the reader stops for good, and the caller's own read comes to that place:
// what is reported as unread is always what the caller asked for, and on a failing disk at most one
// chunk for each open file is tried that nobody may ask for.
//
// Ownership: owns the file; room is borrowed and must outlive it. Closing waits for the chunk that
// is being read.
// Threads: as VolumeFile. The file below is read by one thread at a time, and is asked for its size
// meanwhile. The second thread lives as long as there is room in the window. Without a thread, or
// memory, or room, the file is read as if nothing were ahead.
// Memory: kChunks * kLargestChunk for each file; ReadAheadRoom has the limit for all. Units: bytes.
#pragma once

#include "Mutex.h"
#include "VolumeFile.h"

#include <atomic>
#include <future>
#include <memory>
#include <vector>

namespace vx {

// The memory that the files of one volume share. Threads: any number at a time.
class ReadAheadRoom {
public:
    static constexpr size_t kBytes = size_t{64} << 20;

    bool Take(size_t bytes);
    void GiveBack(size_t bytes) { _left += bytes; }

private:
    std::atomic<size_t> _left{kBytes};
};

class ReadAheadFile final : public VolumeFile {
public:
    // Shorter reads are not read ahead of.
    static constexpr uint32_t kShortestRead = uint32_t{1} << 20;
    // In a file of this size or a smaller one there is nothing to read ahead.
    static constexpr int64_t kShortestFile = 2 * int64_t{kShortestRead};
    static constexpr uint32_t kLargestChunk = uint32_t{4} << 20;
    static constexpr size_t kChunks = 3;

    ReadAheadFile(std::unique_ptr<VolumeFile> file, ReadAheadRoom *room);
    ~ReadAheadFile() override;
    ReadAheadFile(const ReadAheadFile &) = delete;
    ReadAheadFile &operator=(const ReadAheadFile &) = delete;

    std::optional<int64_t> Size() const override { return _file->Size(); }
    void VisitPlaces(const StoredPlaceVisitor &visit) const override { _file->VisitPlaces(visit); }
    bool IsAhead() const override { return _chunkBytes > 0 && Position() == _end; }

protected:
    int64_t KnownSize() const override { return _file->KnownSize(); }
    uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread) override;

private:
    struct Chunk {
        std::unique_ptr<char[]> bytes;
        int64_t position = 0;
        uint32_t count = 0;
    };

    // On the caller's thread:
    uint32_t Take(char *buffer, uint32_t count);
    const Chunk *WaitForFirst();
    void DropFirst();
    void Begin(uint32_t count);
    bool MakeWindow(size_t chunks, uint32_t chunkBytes) noexcept;
    void Refill() noexcept;
    bool MayRefill();
    void Drop() noexcept;

    // On the second thread:
    void FillWindow() noexcept;
    Chunk *NextToFill();
    bool Fill(Chunk *chunk) noexcept;
    void NoteFilled(const Chunk &chunk, bool isWhole);

    // On either:
    bool IsOver();
    void GiveUpAhead();

    const std::unique_ptr<VolumeFile> _file;
    ReadAheadRoom &_room;

    // The caller's:
    int64_t _end = 0;     // of the last read
    int _largeReads = 0;  // one after the other
    uint32_t _taken = 0;  // of the first chunk
    std::future<void> _reader;

    // Change only while the second thread does not run. Of the ring those that are ready are the
    // caller's, and the others the second thread's.
    std::vector<Chunk> _chunks;
    uint32_t _chunkBytes = 0;  // 0: nothing is read ahead now

    Mutex _mutex;
    Condition _changed;
    size_t _first VX_GUARDED_BY(_mutex) = 0;
    size_t _ready VX_GUARDED_BY(_mutex) = 0;
    int64_t _next VX_GUARDED_BY(_mutex) = 0;  // what is read ahead next
    bool _isReading VX_GUARDED_BY(_mutex) = false;
    bool _mustStop VX_GUARDED_BY(_mutex) = false;
    bool _isOver VX_GUARDED_BY(_mutex) = false;  // nothing is read ahead any more
};

}  // namespace vx
