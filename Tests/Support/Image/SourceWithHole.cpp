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

Error SourceWithHole::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(_bytes.size(), offset, count))
        return error;
    if (offset < _end && offset + count > _begin)
        return {Status::kSystemError, "bad sector", EIO};
    std::memcpy(buffer, _bytes.data() + offset, count);
    return {};
}

}  // namespace vx
