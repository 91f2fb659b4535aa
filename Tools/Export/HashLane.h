// Hashes the chunks of a large file on a thread of its own, while the caller writes the same chunk
// and reads the next one. What is smaller is hashed at once.
//
// Ownership: owns the hasher, and the thread, which starts with the first large chunk and ends with
// the lane. Threads: one caller at a time.
#pragma once

#include "ArrivalSink.h"
#include "Mutex.h"

#include <cstddef>
#include <memory>
#include <thread>

namespace vx {

class HashLane {
public:
    // Chunks of fewer bytes are not worth a thread.
    static constexpr size_t kLarge = size_t{1} << 20;

    // hasher: null if nothing is to be hashed; then nothing but the query may be called.
    explicit HashLane(std::unique_ptr<ChunkHasher> hasher) : _hasher(std::move(hasher)) {}
    ~HashLane();
    HashLane(const HashLane &) = delete;
    HashLane &operator=(const HashLane &) = delete;

    explicit operator bool() const { return _hasher != nullptr; }

    // Of the next file; what is left of one that did not arrive is dropped.
    void Begin();
    // The bytes stay as they are until the next call of any operation has returned.
    void Add(const void *bytes, size_t count);
    FileHash End();

private:
    bool StartThread();
    void Run();
    bool AwaitChunk(const void **bytes, size_t *count);
    void NoteHashed();
    void Await();

    const std::unique_ptr<ChunkHasher> _hasher;  // of the thread while there is a chunk
    std::thread _thread;
    Mutex _mutex;
    Condition _changed;
    const void *_bytes VX_GUARDED_BY(_mutex) = nullptr;  // null: there is no chunk
    size_t _count VX_GUARDED_BY(_mutex) = 0;
    bool _ends VX_GUARDED_BY(_mutex) = false;
};

}  // namespace vx
