#include "FolderFile.h"

#include "RetryInterrupted.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace vx {
namespace {

// No system refuses a single read of this size.
constexpr size_t kMaxReadBytes = 1 << 30;
constexpr uint64_t kNoEnd = std::numeric_limits<int64_t>::max();

}  // namespace

FolderFile::FolderFile(UniqueFd file, std::shared_ptr<FolderPresence> presence)
    : _file(std::move(file)), _presence(std::move(presence)), _reader(*this, kNoEnd)
{
    (void)Size();
}

uint32_t FolderFile::ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread)
{
    const auto at = static_cast<uint64_t>(position);
    const auto known = static_cast<uint64_t>(std::max(_knownSize, position)) - at;
    const auto expected = static_cast<uint32_t>(std::min<uint64_t>(count, known));
    _end = kNoEnd;
    const bool failed = _reader.Read(at, buffer, count, unread) != 0;
    const uint64_t end = std::max(_end, at);
    const auto length = static_cast<uint32_t>(std::min<uint64_t>(count, end - at));
    if (expected == 0 || (length >= expected && !failed))
        return length;
    const uint64_t found = std::min(end, at + expected);
    CutRanges(found, unread);
    AddRange(found, at + expected - found, unread);
    return expected;
}

// Zeros stand for what lies beyond the end, which is not an error of the disk.
FolderFile::Outcome FolderFile::ReadOnce(uint64_t offset, char *buffer, size_t count) const
{
    for (size_t done = 0; done < count;) {
        const size_t chunk = std::min(count - done, kMaxReadBytes);
        const auto place = static_cast<off_t>(offset + done);
        const ssize_t got =
            RetryInterrupted([&] { return pread(_file.Get(), buffer + done, chunk, place); });
        if (got < 0)
            return {done, errno};
        if (got == 0) {
            _end = std::min(_end, offset + done);
            std::memset(buffer + done, 0, count - done);
            break;
        }
        done += static_cast<size_t>(got);
    }
    return {count, 0};
}

bool FolderFile::IsThere() const
{
    if (_presence == nullptr)
        return true;
    _presence->Check();
    return !_presence->IsGone();
}

std::optional<int64_t> FolderFile::Size() const
{
    struct stat found;
    if (fstat(_file.Get(), &found) != 0)
        return std::nullopt;
    _knownSize = found.st_size;
    return _knownSize;
}

}  // namespace vx
