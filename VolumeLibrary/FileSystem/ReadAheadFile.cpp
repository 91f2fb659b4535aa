#include "ReadAheadFile.h"

#include <algorithm>
#include <cstring>
#include <new>
#include <system_error>

namespace vx {

bool ReadAheadRoom::Take(size_t bytes)
{
    size_t left = _left;
    while (left >= bytes) {
        if (_left.compare_exchange_weak(left, left - bytes))
            return true;
    }
    return false;
}

ReadAheadFile::ReadAheadFile(std::unique_ptr<VolumeFile> file, ReadAheadRoom *room)
    : _file(std::move(file)), _room(*room)
{
}

ReadAheadFile::~ReadAheadFile()
{
    Drop();
}

uint32_t ReadAheadFile::ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread)
{
    if (position != _end) {
        Drop();
        _largeReads = 0;
    }
    uint32_t length = Take(buffer, count);
    if (length < count) {
        Drop();
        length += _file->ReadAt(position + length, buffer + length, count - length, unread);
    }
    if (!unread->empty())
        GiveUpAhead();
    _end = position + length;
    _largeReads = count < kShortestRead ? 0 : std::min(_largeReads + 1, 2);
    if (_chunkBytes == 0 && _largeReads == 2)
        Begin(count);
    Refill();
    return length;
}

// What is ready, or will be; less than count if the second thread ends before that.
uint32_t ReadAheadFile::Take(char *buffer, uint32_t count)
{
    uint32_t taken = 0;
    while (const Chunk *chunk = taken < count ? WaitForFirst() : nullptr) {
        const uint32_t piece = std::min(count - taken, chunk->count - _taken);
        std::memcpy(buffer + taken, chunk->bytes.get() + _taken, piece);
        taken += piece;
        _taken += piece;
        if (_taken == chunk->count)
            DropFirst();
    }
    return taken;
}

const ReadAheadFile::Chunk *ReadAheadFile::WaitForFirst()
{
    const MutexLock lock(_mutex);
    while (_ready == 0 && _isReading)
        _changed.Wait(_mutex);
    return _ready > 0 ? &_chunks[_first] : nullptr;
}

void ReadAheadFile::DropFirst()
{
    const MutexLock lock(_mutex);
    _first = (_first + 1) % _chunks.size();
    --_ready;
    _taken = 0;
}

void ReadAheadFile::Begin(uint32_t count)
{
    const uint32_t chunkBytes = std::min(count, kLargestChunk);
    const int64_t left = KnownSize() - _end;
    const int64_t chunks = std::min<int64_t>(kChunks, (left + chunkBytes - 1) / chunkBytes);
    if (left <= 0 || IsOver() || !MakeWindow(static_cast<size_t>(chunks), chunkBytes))
        return;
    const MutexLock lock(_mutex);
    _next = _end;
}

bool ReadAheadFile::MakeWindow(size_t chunks, uint32_t chunkBytes) noexcept
{
    if (!_room.Take(chunks * chunkBytes))
        return false;
    try {
        _chunks.resize(chunks);
        for (Chunk &chunk : _chunks)
            chunk.bytes.reset(new char[chunkBytes]);
        _chunkBytes = chunkBytes;
        return true;
    } catch (const std::bad_alloc &) {
        _chunks.clear();
        _room.GiveBack(chunks * chunkBytes);
        GiveUpAhead();
        return false;
    }
}

void ReadAheadFile::Refill() noexcept
{
    if (!MayRefill())
        return;
    try {
        _reader = std::async(std::launch::async, [this] { FillWindow(); });
    } catch (...) {  // no thread is available, or no memory for one
        const MutexLock lock(_mutex);
        _isReading = false;
        _isOver = true;
    }
}

// Starting the second thread is worth it for more than one chunk. If this is true, it reads.
bool ReadAheadFile::MayRefill()
{
    const MutexLock lock(_mutex);
    if (_isOver || _chunkBytes == 0 || _isReading || _ready > 1 || _next >= KnownSize())
        return false;
    _isReading = true;
    return true;
}

void ReadAheadFile::Drop() noexcept
{
    {
        const MutexLock lock(_mutex);
        _mustStop = true;
    }
    if (_reader.valid())
        _reader.get();
    const MutexLock lock(_mutex);
    _mustStop = false;
    _first = _ready = 0;
    _taken = 0;
    _room.GiveBack(_chunks.size() * _chunkBytes);
    _chunks.clear();
    _chunkBytes = 0;
}

void ReadAheadFile::FillWindow() noexcept
{
    while (Chunk *chunk = NextToFill())
        NoteFilled(*chunk, Fill(chunk));
}

// Null if there is nothing to do; the thread ends then.
ReadAheadFile::Chunk *ReadAheadFile::NextToFill()
{
    const MutexLock lock(_mutex);
    const int64_t left = KnownSize() - _next;
    _isReading = !_mustStop && !_isOver && _ready < _chunks.size() && left > 0;
    if (!_isReading) {
        _changed.NotifyAll();
        return nullptr;
    }
    Chunk &chunk = _chunks[(_first + _ready) % _chunks.size()];
    chunk.position = _next;
    chunk.count = static_cast<uint32_t>(std::min<int64_t>(_chunkBytes, left));
    return &chunk;
}

// False if not all of it could be read.
bool ReadAheadFile::Fill(Chunk *chunk) noexcept
{
    try {
        ByteRanges unread;
        const uint32_t length =
            _file->ReadAt(chunk->position, chunk->bytes.get(), chunk->count, &unread);
        return length == chunk->count && unread.empty();
    } catch (...) {  // no memory
        return false;
    }
}

void ReadAheadFile::NoteFilled(const Chunk &chunk, bool isWhole)
{
    if (!isWhole) {
        GiveUpAhead();
        return;
    }
    const MutexLock lock(_mutex);
    _next += chunk.count;
    ++_ready;
    _changed.NotifyAll();
}

bool ReadAheadFile::IsOver()
{
    const MutexLock lock(_mutex);
    return _isOver;
}

// What is ready remains.
void ReadAheadFile::GiveUpAhead()
{
    const MutexLock lock(_mutex);
    _isOver = true;
}

}  // namespace vx
