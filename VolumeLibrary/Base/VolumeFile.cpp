#include "VolumeFile.h"

#include <algorithm>
#include <cstring>
#include <limits>

namespace vx {
namespace {

// The most that can be read at a position; no file goes further than positions do.
uint32_t Bounded(uint32_t count, int64_t position)
{
    constexpr int64_t kMaxPosition = std::numeric_limits<int64_t>::max();
    return static_cast<uint32_t>(std::min<int64_t>(count, kMaxPosition - position));
}

void Blank(char *buffer, uint32_t begin, uint32_t end)
{
    if (begin < end)  // a read of nothing may come without a buffer
        std::memset(buffer + begin, 0, end - begin);
}

}  // namespace

bool VolumeFile::Read(void *buffer, uint32_t count, uint32_t *done) noexcept
{
    auto *place = static_cast<char *>(buffer);
    *done = 0;
    try {
        ByteRanges unread;
        const uint32_t length = ReadAt(_position, place, Bounded(count, _position), &unread);
        Blank(place, length, count);
        _position += length;
        *done = length;
        for (const ByteRange &range : unread) {
            _unread.Add(range);
            *done -= static_cast<uint32_t>(range.length);
        }
        return unread.empty();
    } catch (...) {  // no memory; how far it came is unknown
        return GiveUp(buffer, count, done);
    }
}

bool VolumeFile::GiveUp(void *buffer, uint32_t count, uint32_t *done) noexcept
{
    *done = 0;
    Blank(static_cast<char *>(buffer), 0, count);
    const int64_t left = std::max<int64_t>(0, KnownSize() - _position);
    const int64_t lost = std::min<int64_t>(Bounded(count, _position), left);
    if (lost > 0)
        _unread.Add({static_cast<uint64_t>(_position), static_cast<uint64_t>(lost)});
    _position += lost;
    return false;
}

bool VolumeFile::Move(int64_t distance, uint32_t origin)
{
    int64_t start = 0;
    if (origin == static_cast<uint32_t>(Origin::kPosition))
        start = _position;
    else if (origin != static_cast<uint32_t>(Origin::kStart))
        return false;
    int64_t target = 0;
    if (__builtin_add_overflow(start, distance, &target) || target < 0)
        return false;
    _position = target;
    return true;
}

}  // namespace vx
