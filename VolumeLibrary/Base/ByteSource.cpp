#include "ByteSource.h"

#include <algorithm>
#include <cstring>

namespace vx {

Error ByteSource::Salvage(uint64_t offset, void *buffer, size_t count, ByteRanges *gaps) const
{
    const uint64_t left = Size() - std::min(Size(), offset);
    const auto inside = static_cast<size_t>(std::min<uint64_t>(count, left));
    Error error = inside == 0 ? Error() : SalvageInside(offset, buffer, inside, gaps);
    if (inside == count)
        return error;
    std::memset(static_cast<char *>(buffer) + inside, 0, count - inside);
    AddRange(offset + inside, count - inside, gaps);
    return error ? error : CheckRange(Size(), offset, count);
}

void ByteSource::Locate(uint64_t offset, uint64_t length, const StoredPlaceVisitor &visit) const
{
    const uint64_t inside = std::min(length, Size() - std::min(Size(), offset));
    if (inside > 0)
        visit({offset, offset, inside});
}

Error ByteSource::SalvageInside(uint64_t offset, void *buffer, size_t count, ByteRanges *gaps) const
{
    Error error = ReadAt(offset, buffer, count);
    if (!error)
        return error;
    std::memset(buffer, 0, count);
    AddRange(offset, count, gaps);
    return error;
}

Error ByteSource::ReadBySalvage(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    ByteRanges gaps;
    return count == 0 ? Error() : SalvageInside(offset, buffer, count, &gaps);
}

Error ByteSource::CheckRange(uint64_t size, uint64_t offset, size_t count)
{
    if (offset <= size && count <= size - offset)
        return {};
    return {Status::kTruncatedImage, std::to_string(count) + " bytes are needed at " +
                                         std::to_string(offset) + ", but there are only " +
                                         std::to_string(size)};
}

}  // namespace vx
