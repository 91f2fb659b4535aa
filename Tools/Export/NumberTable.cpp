#include "NumberTable.h"

#include <algorithm>
#include <utility>

namespace vx {
namespace {

constexpr size_t kFewest = 64;

// A quarter of the slots stays free, so that a search is short.
constexpr size_t SlotsFor(size_t keys)
{
    return keys + keys / 3 + 1;
}

// A free slot has the hash 0.
uint64_t NotZero(uint64_t hash)
{
    return std::max<uint64_t>(hash, 1);
}

}  // namespace

NumberTable::NumberTable(size_t expected)
{
    Resize(SlotsFor(std::max(expected, kFewest)));
}

void NumberTable::Resize(size_t slots)
{
    const std::vector<uint64_t> hashes = std::exchange(_hashes, std::vector<uint64_t>(slots));
    const std::vector<uint32_t> numbers = std::exchange(_numbers, std::vector<uint32_t>(slots));
    _used = 0;
    for (size_t i = 0; i < hashes.size(); ++i) {
        if (hashes[i] != 0 && numbers[i] != kNone)
            Set(hashes[i], numbers[i]);
    }
}

// The key's slot, or the free one where it belongs.
size_t NumberTable::SlotOf(uint64_t hash) const
{
    size_t slot = hash % _hashes.size();
    while (_hashes[slot] != 0 && _hashes[slot] != hash)
        slot = slot + 1 < _hashes.size() ? slot + 1 : 0;
    return slot;
}

void NumberTable::Set(uint64_t hash, uint32_t number)
{
    const uint64_t key = NotZero(hash);
    size_t slot = SlotOf(key);
    if (_hashes[slot] == 0 && SlotsFor(_used + 1) > _hashes.size()) {
        Resize(2 * _hashes.size());
        slot = SlotOf(key);
    }
    _used += _hashes[slot] == 0 ? 1 : 0;
    _hashes[slot] = key;
    _numbers[slot] = number;
}

uint32_t NumberTable::At(uint64_t hash) const
{
    const size_t slot = SlotOf(NotZero(hash));
    return _hashes[slot] == 0 ? kNone : _numbers[slot];
}

}  // namespace vx
