#include "FileByteSource.h"

#include "DeviceSize.h"
#include "RetryInterrupted.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace vx {

Result<std::unique_ptr<FileByteSource>> FileByteSource::Open(const std::string &path)
{
    UniqueFd file(RetryInterrupted([&] { return open(path.c_str(), O_RDONLY | O_CLOEXEC); }));
    if (!file)
        return SystemError(errno, "open " + path);
    const Result<uint64_t> size = DeviceSize(file.Get());
    if (!size)
        return size.Failure();
    return std::unique_ptr<FileByteSource>(new FileByteSource(std::move(file), *size));
}

Error FileByteSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(_size, offset, count))
        return error;
    char *place = static_cast<char *>(buffer);
    for (size_t done = 0; done < count;) {
        const uint64_t at = offset + done;
        const ssize_t got = RetryInterrupted(
            [&] { return pread(_file.Get(), place + done, count - done, static_cast<off_t>(at)); });
        if (got <= 0) {
            Error error = Failure(got < 0 ? errno : 0, at);
            error.bytesRead = done;
            return error;
        }
        done += static_cast<size_t>(got);
    }
    return {};
}

// A file that became shorter has no hole at its end: what is lost is to be noticed.
uint64_t FileByteSource::NextData(uint64_t offset) const
{
    const off_t data = lseek(_file.Get(), static_cast<off_t>(offset), SEEK_DATA);
    if (data >= 0)
        return std::min(static_cast<uint64_t>(data), _size);
    const bool isHoleToTheEnd = errno == ENXIO && offset < _size;
    const off_t end = isHoleToTheEnd ? lseek(_file.Get(), 0, SEEK_END) : 0;
    return isHoleToTheEnd && end >= 0 && static_cast<uint64_t>(end) >= _size ? _size : offset;
}

// number: errno; 0 if the file became shorter since it was opened.
Error FileByteSource::Failure(int number, uint64_t offset)
{
    if (number != 0)
        return SystemError(number, "read at " + std::to_string(offset));
    return {Status::kTruncatedImage, "the image ends at " + std::to_string(offset)};
}

}  // namespace vx
