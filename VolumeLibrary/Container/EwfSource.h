// The disk in an E01 or S01 image as a byte source. Reading a chunk that does not fit its checksum
// fails; the other chunks remain readable.
//
// What is checked: a table is used after its entries, or those of its copy, have been found to fit
// their checksum (images of the older kind have none). A chunk is read within its file and unpacked
// into room for one chunk, whatever the image says about its length. The Adler-32 of a chunk that
// is not packed lies after it; that of a packed one is part of its zlib stream.
//
// Some images have files of more than 2 GiB, in which an entry's highest bit is part of the place
// of a chunk that is not packed. If no packed chunk is found there, that reading is tried, and the
// checksum decides.
//
// A sector that could not be read when the image was made, and holds only zeros in it, cannot be
// read here either: its contents are unknown.
//
// Ownership: shares the files. Threads: any number at a time; reads of parts of chunks take turns.
// Memory: one chunk, of 32 KiB in most images and 16 MiB at most, two bytes for each table, and the
// counted failures of a few megabytes at most. Errors: kSystemError with "read at" and the place on
// the disk, EIO for what is damaged, missing or cut off, otherwise the errno of the file.
#pragma once

#include "ByteSource.h"
#include "EwfLayout.h"
#include "Mutex.h"

#include <atomic>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace vx {

struct EwfFile {
    std::string name;  // for messages
    std::shared_ptr<const ByteSource> source;
    std::string path = {};
};

class EwfSource final : public ByteSource {
public:
    // layout: of these files.
    EwfSource(std::vector<EwfFile> files, EwfLayout layout);

    uint64_t Size() const override { return _layout.diskBytes; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    enum class Entries : uint8_t { kUnknown, kFirst, kCopy, kLost };

    // A caller that reads around a bad place asks for each sector of a chunk. This number of tries
    // outlasts a passing error; after them the chunk or table fails without being read.
    static constexpr uint8_t kMostTries = 4;
    // Chunks whose failures are counted: a few megabytes at most.
    static constexpr size_t kMostCounted = size_t{1} << 16;

    Error ReadChunks(uint64_t offset, uint8_t *place, size_t count) const;
    Error CheckLost(uint64_t offset, size_t count) const;
    Error CopyPart(uint64_t number, size_t skip, uint8_t *place, size_t count) const;
    // place has room for a whole chunk.
    Error LoadChunk(uint64_t number, uint8_t *place) const;
    Error TryChunk(uint64_t number, uint8_t *place) const;
    bool IsGivenUp(uint64_t number) const;
    void CountFailure(uint64_t number) const;
    Error LoadListed(const EwfTable &table, uint64_t number, uint8_t *place) const;
    // Where the entries lie that fit their checksum.
    Result<uint64_t> FindEntries(const EwfTable &table) const;
    Error CheckEntries(const EwfTable &table, uint64_t at) const;
    Error LoadPacked(const EwfTable &table, uint64_t at, uint64_t number, uint8_t *place) const;
    Error LoadPlain(const EwfTable &table, uint64_t at, uint64_t number, uint8_t *place) const;
    // The bytes of the disk that the chunk holds.
    size_t LengthOf(uint64_t number) const;

    static constexpr uint64_t kNone = ~uint64_t{0};

    const std::vector<EwfFile> _files;
    const EwfLayout _layout;
    mutable std::vector<std::atomic<Entries>> _entries;  // of each table: which entries are sound
    mutable std::vector<std::atomic<uint8_t>> _tableFailures;
    mutable Mutex _failuresMutex;
    mutable std::unordered_map<uint64_t, uint8_t> _failures VX_GUARDED_BY(_failuresMutex);
    mutable Mutex _mutex;
    mutable uint64_t _kept VX_GUARDED_BY(_mutex) = kNone;
    mutable std::vector<uint8_t> _chunk VX_GUARDED_BY(_mutex);
};

}  // namespace vx
