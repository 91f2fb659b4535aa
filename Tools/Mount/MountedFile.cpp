#include "MountedFile.h"

#include <algorithm>
#include <cerrno>

namespace vx {

std::unique_ptr<MountedFile> MountedFile::Open(IVolume &volume, const std::u16string &path)
{
    std::unique_ptr<MountedFile> file(new MountedFile(volume, path));
    const MutexLock lock(file->_mutex);
    if (!file->_file)
        return nullptr;
    file->_size = file->_file.Size().value_or(-1);
    return file->_size < 0 ? nullptr : std::move(file);
}

int MountedFile::Read(int64_t position, char *buffer, uint32_t count, uint32_t *done)
{
    const MutexLock lock(_mutex);
    *done = 0;
    if (position >= _size)
        return 0;
    const auto present = static_cast<uint32_t>(std::min<int64_t>(count, _size - position));
    if (position != _position && !_file.Seek(position))
        return EIO;
    if (!_file.Read(buffer, present)) {
        _position = -1;
        return EIO;
    }
    _position = position + present;
    *done = present;
    return 0;
}

}  // namespace vx
