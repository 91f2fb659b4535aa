#include "FailingSource.h"

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace vx {

void FailingSource::MakeBad(uint64_t begin, uint64_t length, int times)
{
    const MutexLock lock(_mutex);
    _bad.push_back({{begin, length}, times});
}

uint64_t FailingSource::FirstBad(uint64_t begin, uint64_t end) const
{
    const MutexLock lock(_mutex);
    uint64_t first = end;
    for (BadPlace &bad : _bad) {
        if (bad.times == 0 || bad.range.offset >= end ||
            begin >= bad.range.offset + bad.range.length)
            continue;
        first = std::min(first, std::max(begin, bad.range.offset));
        bad.times -= bad.times > 0 ? 1 : 0;
    }
    return first;
}

Error FailingSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(_bytes.size(), offset, count))
        return error;
    ++_reads;
    if (_error != 0)
        return SystemError(_error, "read");
    const uint64_t bad = FirstBad(offset, offset + count);
    const auto good = static_cast<size_t>(bad - offset);
    std::memset(buffer, '!', count);  // as a failed read may leave it
    std::memcpy(buffer, _bytes.data() + offset, good);
    if (good == count)
        return {};
    ++_failedReads;
    Error error = SystemError(EIO, "read at " + std::to_string(bad));
    error.bytesRead = good;
    return error;
}

}  // namespace vx
