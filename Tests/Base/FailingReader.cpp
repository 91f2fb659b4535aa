#include "FailingReader.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <thread>

namespace vx {
namespace {

bool Touch(const ByteRange &one, const ByteRange &other)
{
    return one.offset < other.offset + other.length && other.offset < one.offset + one.length;
}

}  // namespace

void FailingReader::FailAt(uint64_t place, int times)
{
    const MutexLock lock(_mutex);
    _transients.push_back({place, times});
}

char FailingReader::ByteAt(uint64_t place)
{
    return static_cast<char>(place * 2654435761u >> 13 | 1);
}

RawReader::Outcome FailingReader::ReadOnce(uint64_t offset, char *buffer, size_t count) const
{
    Linger({offset, count});
    const MutexLock lock(_mutex);
    ++_reads;
    _all.push_back({offset, count});
    if (_error != 0)
        return {0, _error};
    const uint64_t end = offset + count;
    const uint64_t bad = FirstBad(offset, end);
    for (uint64_t at = offset; at < std::min(bad, end); ++at)
        buffer[at - offset] = ByteAt(at);
    if (bad >= end)
        return {count, 0};
    ++_failedReads;
    if (count <= CarefulReader::kSector)
        ++_tries[bad / CarefulReader::kSector];
    std::fill(buffer + (bad - offset), buffer + count, '!');  // as a failed read may leave it
    if (_says == Says::kTooMuch)
        return {count, EIO};
    return {_says == Says::kHowFar ? bad - offset : 0, EIO};
}

// As a slow disk does.
void FailingReader::Linger(const ByteRange &read) const
{
    for (const Slow &slow : _slow) {
        if (Touch(slow.range, read)) {
            ++_slowReads;
            std::this_thread::sleep_for(std::chrono::milliseconds(slow.milliseconds));
            return;
        }
    }
}

bool FailingReader::HasRead(const ByteRange &range) const
{
    const MutexLock lock(_mutex);
    return std::any_of(_all.begin(), _all.end(),
                       [&](const ByteRange &read) { return Touch(read, range); });
}

uint64_t FailingReader::FirstBad(uint64_t offset, uint64_t end) const
{
    uint64_t first = UINT64_MAX;
    for (const ByteRange &bad : _bad) {
        if (bad.offset < end && offset < bad.offset + bad.length)
            first = std::min(first, std::max(offset, bad.offset));
    }
    for (Transient &transient : _transients) {
        if (transient.times > 0 && offset <= transient.place && transient.place < end) {
            --transient.times;
            first = std::min(first, transient.place);
        }
    }
    return first;
}

int FailingReader::MostTriesOfASector() const
{
    const MutexLock lock(_mutex);
    int most = 0;
    for (const auto &[sector, tries] : _tries)
        most = std::max(most, tries);
    return most;
}

}  // namespace vx
