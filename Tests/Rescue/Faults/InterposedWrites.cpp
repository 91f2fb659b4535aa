// The functions of the C library that write to a file, with the faults of FaultRules. fwrite is
// among them because a stream's own writes stay inside the C library.
#include "FaultRules.h"
#include "NextFunction.h"

#include <cerrno>
#include <cstdio>
#include <sys/uio.h>
#include <unistd.h>

using vx::FaultRules;
using vx::Next;

namespace {

ssize_t Write(int file, const void *bytes, size_t count)
{
    const ssize_t writable = FaultRules::Get().Writable(file, count);
    if (writable < 0)
        return -1;
    return Next<ssize_t (*)(int, const void *, size_t)>("write")(file, bytes,
                                                                 static_cast<size_t>(writable));
}

// A stream retries a write that was cut short, so the error shows.
size_t WriteStream(const void *bytes, size_t size, size_t count, FILE *stream)
{
    constexpr int kErrorSeen = 0x20;  // what ferror looks at in the GNU C library
    std::fflush(stream);
    const char *from = static_cast<const char *>(bytes);
    size_t left = size * count;
    while (left > 0) {
        const ssize_t written = Write(fileno(stream), from, left);
        if (written < 0) {
            stream->_flags |= kErrorSeen;
            break;
        }
        from += written;
        left -= static_cast<size_t>(written);
    }
    return size == 0 ? 0 : count - (left + size - 1) / size;
}

}  // namespace

extern "C" {

ssize_t write(int file, const void *bytes, size_t count)
{
    return Write(file, bytes, count);
}

ssize_t pwrite(int file, const void *bytes, size_t count, off_t offset)
{
    const ssize_t writable = FaultRules::Get().Writable(file, count);
    if (writable < 0)
        return -1;
    return Next<ssize_t (*)(int, const void *, size_t, off_t)>("pwrite")(
        file, bytes, static_cast<size_t>(writable), offset);
}

ssize_t pwrite64(int file, const void *bytes, size_t count, off64_t offset)
{
    return pwrite(file, bytes, count, offset);
}

ssize_t writev(int file, const iovec *pieces, int count)
{
    ssize_t sum = 0;
    for (int i = 0; i < count; ++i) {
        const ssize_t written = Write(file, pieces[i].iov_base, pieces[i].iov_len);
        if (written < 0)
            return sum > 0 ? sum : -1;
        sum += written;
        if (static_cast<size_t>(written) < pieces[i].iov_len)
            break;
    }
    return sum;
}

size_t fwrite(const void *bytes, size_t size, size_t count, FILE *stream)
{
    if (FaultRules::Get().IsFaulty(fileno(stream)))
        return WriteStream(bytes, size, count, stream);
    return Next<size_t (*)(const void *, size_t, size_t, FILE *)>("fwrite")(bytes, size, count,
                                                                            stream);
}
}
