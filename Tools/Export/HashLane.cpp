#include "HashLane.h"

#include <system_error>

namespace vx {

HashLane::~HashLane()
{
    if (!_thread.joinable())
        return;
    {
        const MutexLock lock(_mutex);
        _ends = true;
        _changed.NotifyAll();
    }
    _thread.join();
}

void HashLane::Begin()
{
    Await();
    _hasher->Begin();
}

void HashLane::Add(const void *bytes, size_t count)
{
    Await();
    if (count < kLarge || !StartThread()) {
        _hasher->Add(bytes, count);
        return;
    }
    const MutexLock lock(_mutex);
    _bytes = bytes;
    _count = count;
    _changed.NotifyAll();
}

FileHash HashLane::End()
{
    Await();
    return _hasher->End();
}

bool HashLane::StartThread()
{
    if (_thread.joinable())
        return true;
    try {
        _thread = std::thread([this] { Run(); });
    } catch (const std::system_error &) {
        return false;
    }
    return true;
}

void HashLane::Run()
{
    const void *bytes = nullptr;
    size_t count = 0;
    while (AwaitChunk(&bytes, &count)) {
        _hasher->Add(bytes, count);
        NoteHashed();
    }
}

bool HashLane::AwaitChunk(const void **bytes, size_t *count)
{
    const MutexLock lock(_mutex);
    while (_bytes == nullptr && !_ends)
        _changed.Wait(_mutex);
    *bytes = _bytes;
    *count = _count;
    return _bytes != nullptr;
}

void HashLane::NoteHashed()
{
    const MutexLock lock(_mutex);
    _bytes = nullptr;
    _changed.NotifyAll();
}

// Until the thread has hashed what it was given.
void HashLane::Await()
{
    const MutexLock lock(_mutex);
    while (_bytes != nullptr)
        _changed.Wait(_mutex);
}

}  // namespace vx
