#include "MountedFile.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <new>
#include <utility>

namespace vx {

MountedFile::MountedFile(IVolume &volume, const std::u16string &path, size_t mostReads)
    : _volume(volume), _path(path), _mostReads(mostReads)
{
    _idle.reserve(mostReads);
}

std::unique_ptr<MountedFile> MountedFile::Open(IVolume &volume, const std::u16string &path,
                                               size_t mostReads)
{
    std::unique_ptr<MountedFile> file(new MountedFile(volume, path, mostReads));
    OwnedHandle handle = file->OpenHandle();
    if (handle == nullptr)
        return nullptr;
    file->_size = handle->file.Size().value_or(-1);
    if (file->_size < 0)
        return nullptr;
    const MutexLock lock(file->_mutex);
    file->_idle.push_back(std::move(handle));
    return file;
}

int MountedFile::Read(int64_t position, char *buffer, uint32_t count, uint32_t *done)
{
    *done = 0;
    if (position >= _size)
        return 0;
    const auto present = static_cast<uint32_t>(std::min<int64_t>(count, _size - position));
    OwnedHandle handle = Begin(position);
    const bool isThere = position == handle->position || handle->file.Seek(position);
    const bool isRead = isThere && handle->file.Read(buffer, present);
    handle->position = isRead ? position + present : -1;
    End(std::move(handle), isRead);
    if (!isRead)
        return EIO;
    *done = present;
    return 0;
}

MountedFile::OwnedHandle MountedFile::OpenHandle() const
{
    OwnedHandle handle(new (std::nothrow) Handle{{_volume, _path}});
    if (handle != nullptr && !handle->file)
        handle.reset();
    return handle;
}

// One more handle is a help, not a need.
MountedFile::OwnedHandle MountedFile::Begin(int64_t position)
{
    while (true) {
        if (OwnedHandle handle = Take(position))
            return handle;
        OwnedHandle opened = OpenHandle();
        if (opened != nullptr && opened->file.Size() == _size)
            return opened;
        NoteNotOpened();
    }
}

// Null: another one is to be opened.
MountedFile::OwnedHandle MountedFile::Take(int64_t position)
{
    const MutexLock lock(_mutex);
    while (_running >= _mostReads)
        _changed.Wait(_mutex);
    ++_running;
    return _idle.empty() ? nullptr : TakeIdle(position);
}

// One that stands there, if there is one.
MountedFile::OwnedHandle MountedFile::TakeIdle(int64_t position)
{
    auto taken = std::find_if(_idle.begin(), _idle.end(), [position](const OwnedHandle &idle) {
        return idle->position == position;
    });
    if (taken == _idle.end())
        taken = std::prev(_idle.end());
    OwnedHandle handle = std::move(*taken);
    _idle.erase(taken);
    return handle;
}

// From now on no further handle is opened: a read that finds none idle waits for one.
void MountedFile::NoteNotOpened()
{
    const MutexLock lock(_mutex);
    --_running;
    _mostReads = std::min(_mostReads, std::max<size_t>(_running, 1));
    _changed.NotifyAll();
}

void MountedFile::End(OwnedHandle handle, bool isRead)
{
    const MutexLock lock(_mutex);
    --_running;
    if (!isRead)
        _mostReads = 1;
    _idle.push_back(std::move(handle));
    if (_idle.size() > _mostReads)
        _idle.resize(_mostReads);
    _changed.NotifyAll();
}

}  // namespace vx
