#include "CopyOnDisk.h"

#include "KeptAccessTime.h"

#include <cerrno>
#include <unistd.h>

namespace vx {
namespace {

constexpr size_t kPiece = size_t{1} << 20;

}  // namespace

CopyOnDisk::CopyOnDisk() : _buffer(kPiece) {}

CopyOnDisk::End CopyOnDisk::Hash(int file, const Advance &advance, Sha256Digest *digest,
                                 int64_t *size)
{
    const KeptAccessTime accessed(file);
    _stream.Restart();
    *size = 0;
    while (true) {
        const ssize_t got = pread(file, _buffer.data(), _buffer.size(), *size);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0)
            return End::kFailed;
        if (got == 0)
            break;
        *size += got;
        _stream.Add(_buffer.data(), static_cast<size_t>(got));
        if (!advance(got))
            return End::kStopped;
    }
    *digest = _stream.Finish();
    return End::kWhole;
}

}  // namespace vx
