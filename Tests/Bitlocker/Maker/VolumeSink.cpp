#include "VolumeSink.h"

#include "ByteWriter.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <stdexcept>
#include <unistd.h>

namespace vx::bitlocker::maker {

namespace {

[[noreturn]] void Fail(const std::string &what)
{
    throw std::runtime_error(what + ": " + std::strerror(errno));
}

}  // namespace

void MemorySink::Write(uint64_t offset, ByteView bytes)
{
    PutBytes(_bytes, static_cast<size_t>(offset), bytes);
}

FileSink::FileSink(const std::string &path)
    : _descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666))
{
    if (_descriptor < 0)
        Fail(path);
}

FileSink::~FileSink()
{
    ::close(_descriptor);
}

void FileSink::Write(uint64_t offset, ByteView bytes)
{
    while (bytes.size > 0) {
        const ssize_t done =
            ::pwrite(_descriptor, bytes.data, bytes.size, static_cast<off_t>(offset));
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0)
            Fail("write");
        offset += static_cast<uint64_t>(done);
        bytes = bytes.From(static_cast<size_t>(done));
    }
}

}  // namespace vx::bitlocker::maker
