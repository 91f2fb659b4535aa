#include "UnpackedPieces.h"

#include <algorithm>
#include <atomic>

namespace vx {
namespace {

std::atomic<size_t> bytesOfAll{0};

bool TakeRoom(size_t bytes)
{
    if (bytesOfAll.fetch_add(bytes) + bytes <= UnpackedPieces::kBytesOfAll)
        return true;
    bytesOfAll.fetch_sub(bytes);
    return false;
}

}  // namespace

UnpackedPieces::~UnpackedPieces()
{
    bytesOfAll.fetch_sub(_bytes);
}

UnpackedPieces::Piece UnpackedPieces::Find(uint64_t number) const
{
    const MutexLock lock(_mutex);
    const auto found = std::find_if(_kept.begin(), _kept.end(),
                                    [&](const Kept &kept) { return kept.number == number; });
    return found != _kept.end() ? found->piece : nullptr;
}

void UnpackedPieces::Keep(uint64_t number, const Piece &piece)
{
    const MutexLock lock(_mutex);
    const size_t bytes = piece->size();
    while (!_kept.empty() && _bytes + bytes > kBytes)
        DropOldest();
    while (!TakeRoom(bytes)) {
        if (_kept.empty())
            return;
        DropOldest();
    }
    _kept.push_back({number, piece});
    _bytes += bytes;
}

void UnpackedPieces::DropOldest()
{
    const size_t bytes = _kept.front().piece->size();
    _kept.pop_front();
    _bytes -= bytes;
    bytesOfAll.fetch_sub(bytes);
}

}  // namespace vx
