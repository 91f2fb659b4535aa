#include "FileByteSource.h"

#include "DeviceSize.h"

#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vx {

Result<std::unique_ptr<FileByteSource>> FileByteSource::Open(const std::string &path)
{
    int descriptor = -1;
    do
        descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0)
        return SystemError(errno, "open " + path);
    std::unique_ptr<FileByteSource> source(new FileByteSource(descriptor));
    Result<uint64_t> size = DeviceSize(descriptor);
    if (!size)
        return size.Failure();
    source->_size = *size;
    return source;
}

FileByteSource::~FileByteSource()
{
    ::close(_descriptor);
}

Error FileByteSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(_size, offset, count))
        return error;
    char *place = static_cast<char *>(buffer);
    for (size_t done = 0; done < count;) {
        const uint64_t at = offset + done;
        const ssize_t got =
            ::pread(_descriptor, place + done, count - done, static_cast<off_t>(at));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) {
            Error error = Failure(got < 0 ? errno : 0, at);
            error.bytesRead = done;
            return error;
        }
        done += static_cast<size_t>(got);
    }
    return {};
}

// number: errno; 0 if the file became shorter since it was opened.
Error FileByteSource::Failure(int number, uint64_t offset)
{
    if (number != 0)
        return SystemError(number, "read at " + std::to_string(offset));
    return {Status::kTruncatedImage, "the image ends at " + std::to_string(offset)};
}

}  // namespace vx
