#include "FileByteSource.h"

#include "DeviceSize.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vx::bitlocker {

Result<std::unique_ptr<FileByteSource>> FileByteSource::open(const std::string &path)
{
    int descriptor = -1;
    do
        descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0)
        return systemError(errno, "open " + path);
    std::unique_ptr<FileByteSource> source(new FileByteSource(descriptor));
    Result<uint64_t> size = deviceSize(descriptor);
    if (!size)
        return size.error();
    source->_size = *size;
    return source;
}

FileByteSource::~FileByteSource()
{
    ::close(_descriptor);
}

Error FileByteSource::readAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = checkRange(_size, offset, count))
        return error;
    char *place = static_cast<char *>(buffer);
    while (count > 0) {
        const ssize_t done = ::pread(_descriptor, place, count, static_cast<off_t>(offset));
        if (done < 0 && errno == EINTR)
            continue;
        if (done < 0)
            return systemError(errno, "read at " + std::to_string(offset));
        if (done == 0)  // the file became shorter since it was opened
            return {Status::TruncatedImage, "the image ends at " + std::to_string(offset)};
        place += done;
        offset += static_cast<uint64_t>(done);
        count -= static_cast<size_t>(done);
    }
    return {};
}

}  // namespace vx::bitlocker
