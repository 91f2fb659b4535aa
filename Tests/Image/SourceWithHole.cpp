#include "SourceWithHole.h"

#include <cerrno>
#include <cstring>
#include <utility>

namespace vx {

SourceWithHole::SourceWithHole(std::string bytes, uint64_t begin, uint64_t end)
    : _bytes(std::move(bytes)), _begin(begin), _end(end)
{
}

void SourceWithHole::MoveHole(uint64_t begin, uint64_t end)
{
    _begin = begin;
    _end = end;
}

bitlocker::Error SourceWithHole::readAt(uint64_t offset, void *buffer, size_t count) const
{
    if (bitlocker::Error error = checkRange(_bytes.size(), offset, count))
        return error;
    if (offset < _end && offset + count > _begin)
        return {bitlocker::Status::SystemError, "bad sector", EIO};
    std::memcpy(buffer, _bytes.data() + offset, count);
    return {};
}

}  // namespace vx
