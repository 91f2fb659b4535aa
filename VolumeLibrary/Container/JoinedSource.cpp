#include "JoinedSource.h"

#include <algorithm>

namespace vx {

JoinedSource::JoinedSource(std::vector<std::shared_ptr<const ByteSource>> parts)
{
    for (auto &part : parts) {
        const uint64_t size = part->Size();
        _parts.push_back({_size, std::move(part)});
        _size += size;
    }
}

Error JoinedSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(_size, offset, count))
        return error;
    auto *place = static_cast<uint8_t *>(buffer);
    auto part =
        std::upper_bound(_parts.begin(), _parts.end(), offset,
                         [](uint64_t at, const Part &candidate) { return at < candidate.begin; });
    while (count > 0) {
        const Part &here = *std::prev(part);
        const uint64_t skip = offset - here.begin;
        const auto piece =
            static_cast<size_t>(std::min<uint64_t>(count, here.source->Size() - skip));
        if (Error error = here.source->ReadAt(skip, place, piece)) {
            error.bytesRead += static_cast<size_t>(place - static_cast<uint8_t *>(buffer));
            return error;
        }
        offset += piece;
        place += piece;
        count -= piece;
        ++part;
    }
    return {};
}

}  // namespace vx
