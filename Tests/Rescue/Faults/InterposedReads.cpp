// The functions of the C library by which a disk is read, with the faults of FaultRules. Loaded
// into a program before its own libraries, each stands in front of the one of the same name.
#include "FaultRules.h"
#include "NextFunction.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <sys/uio.h>
#include <unistd.h>

using vx::FaultRules;
using vx::Next;

namespace {

uint64_t PositionOf(int file)
{
    const int before = errno;
    const off_t at = Next<off_t (*)(int, off_t, int)>("lseek")(file, 0, SEEK_CUR);
    errno = before;
    return at < 0 ? 0 : static_cast<uint64_t>(at);
}

ssize_t ReadAt(int file, void *buffer, size_t count, off_t offset)
{
    const ssize_t readable = FaultRules::Get().Readable(file, static_cast<uint64_t>(offset), count);
    if (readable < 0)
        return -1;
    return Next<ssize_t (*)(int, void *, size_t, off_t)>("pread64")(
        file, buffer, static_cast<size_t>(readable), offset);
}

ssize_t ReadOn(int file, void *buffer, size_t count)
{
    const ssize_t readable = FaultRules::Get().Readable(file, PositionOf(file), count);
    if (readable < 0)
        return -1;
    return Next<ssize_t (*)(int, void *, size_t)>("read")(file, buffer,
                                                          static_cast<size_t>(readable));
}

// One piece after the other, until one is cut short.
template <typename ReadPiece>
ssize_t ReadPieces(const iovec *pieces, int count, ReadPiece readPiece)
{
    ssize_t sum = 0;
    for (int i = 0; i < count; ++i) {
        const ssize_t got = readPiece(pieces[i], sum);
        if (got < 0)
            return sum > 0 ? sum : -1;
        sum += got;
        if (static_cast<size_t>(got) < pieces[i].iov_len)
            break;
    }
    return sum;
}

ssize_t ReadPiecesAt(int file, const iovec *pieces, int count, off_t offset)
{
    return ReadPieces(pieces, count, [&](const iovec &piece, ssize_t done) {
        return ReadAt(file, piece.iov_base, piece.iov_len, offset + done);
    });
}

}  // namespace

extern "C" {

ssize_t read(int file, void *buffer, size_t count)
{
    return ReadOn(file, buffer, count);
}

ssize_t __read_chk(int file, void *buffer, size_t count, size_t /*room*/)
{
    return ReadOn(file, buffer, count);
}

ssize_t pread(int file, void *buffer, size_t count, off_t offset)
{
    return ReadAt(file, buffer, count, offset);
}

ssize_t pread64(int file, void *buffer, size_t count, off64_t offset)
{
    return ReadAt(file, buffer, count, offset);
}

ssize_t __pread_chk(int file, void *buffer, size_t count, off_t offset, size_t /*room*/)
{
    return ReadAt(file, buffer, count, offset);
}

ssize_t __pread64_chk(int file, void *buffer, size_t count, off64_t offset, size_t /*room*/)
{
    return ReadAt(file, buffer, count, offset);
}

ssize_t readv(int file, const iovec *pieces, int count)
{
    return ReadPieces(pieces, count, [&](const iovec &piece, ssize_t) {
        return ReadOn(file, piece.iov_base, piece.iov_len);
    });
}

ssize_t preadv(int file, const iovec *pieces, int count, off_t offset)
{
    return ReadPiecesAt(file, pieces, count, offset);
}

ssize_t preadv64(int file, const iovec *pieces, int count, off64_t offset)
{
    return ReadPiecesAt(file, pieces, count, offset);
}
}
