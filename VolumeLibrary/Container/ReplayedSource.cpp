#include "ReplayedSource.h"

#include <algorithm>
#include <cstring>

namespace vx {

// After this no change reaches across the place.
void FileChanges::Split(uint64_t at)
{
    auto next = _changes.lower_bound(at);
    if (next == _changes.begin())
        return;
    Change &before = std::prev(next)->second;
    if (before.end <= at)
        return;
    Change rest = before;
    rest.begin = at;
    before.end = at;
    _changes.emplace(at, rest);
}

bool FileChanges::Add(const Change &change)
{
    if (change.begin == change.end)
        return true;
    Split(change.begin);
    Split(change.end);
    _changes.erase(_changes.lower_bound(change.begin), _changes.lower_bound(change.end));
    _changes[change.begin] = change;
    return _changes.size() <= kMostChanges;
}

std::vector<FileChanges::Change> FileChanges::Take() const
{
    std::vector<Change> all;
    all.reserve(_changes.size());
    for (const auto &entry : _changes)
        all.push_back(entry.second);
    return all;
}

ReplayedSource::ReplayedSource(const std::shared_ptr<const ByteSource> &file,
                               const FileChanges &changes, uint64_t size)
    : _changes(changes.Take()),
      _file(file, std::max({file->Size(), size, _changes.empty() ? 0 : _changes.back().end}))
{
}

Error ReplayedSource::ReadAt(uint64_t offset, void *buffer, size_t count) const
{
    if (Error error = CheckRange(Size(), offset, count))
        return error;
    auto *const begin = static_cast<uint8_t *>(buffer);
    auto *place = begin;
    auto next = std::upper_bound(_changes.begin(), _changes.end(), offset,
                                 [](uint64_t at, const Change &change) { return at < change.end; });
    while (count > 0) {
        const bool isChanged = next != _changes.end() && next->begin <= offset;
        const uint64_t left = next == _changes.end() ? count
                              : isChanged            ? next->end - offset
                                                     : next->begin - offset;
        const auto piece = static_cast<size_t>(std::min<uint64_t>(count, left));
        Error error = isChanged ? ReadChanged(*next, offset, place, piece)
                                : _file.ReadAt(offset, place, piece);
        if (error) {
            error.bytesRead += static_cast<size_t>(place - begin);
            return error;
        }
        next += isChanged ? 1 : 0;
        offset += piece;
        place += piece;
        count -= piece;
    }
    return {};
}

Error ReplayedSource::ReadChanged(const Change &change, uint64_t offset, uint8_t *place,
                                  size_t count) const
{
    if (change.storedAt == 0) {
        std::memset(place, 0, count);
        return {};
    }
    std::array<uint8_t, FileChanges::kPageBytes> page;
    if (Error error = _file.ReadAt(change.storedAt, page.data(), page.size())) {
        error.bytesRead = 0;
        return error;
    }
    std::copy(change.first.begin(), change.first.end(), page.begin());
    std::copy(change.last.begin(), change.last.end(), page.end() - change.last.size());
    std::memcpy(place, page.data() + (offset - change.begin), count);
    return {};
}

}  // namespace vx
