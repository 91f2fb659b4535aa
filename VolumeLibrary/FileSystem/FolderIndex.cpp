#include "FolderIndex.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace vx {

void FolderMap::Add(std::string_view name, const Node &node)
{
    if (_entries.size() == kMostEntries) {
        _entries = {};
        _isWhole = false;
    }
    if (_isWhole)
        _entries.push_back({HashOfName(name), node});
}

void FolderMap::Seal(bool isComplete)
{
    _isComplete = isComplete;
    SortByHash();
    _entries.shrink_to_fit();
}

// Equal hashes stay in their order. std::stable_sort would take half as much memory again.
void FolderMap::SortByHash()
{
    std::vector<uint32_t> order(_entries.size());  // which entry belongs in each place
    std::iota(order.begin(), order.end(), 0);
    std::sort(order.begin(), order.end(), [this](uint32_t a, uint32_t b) {
        return _entries[a].hash != _entries[b].hash ? _entries[a].hash < _entries[b].hash : a < b;
    });
    for (uint32_t start = 0; start < order.size(); ++start) {
        const Entry first = _entries[start];
        uint32_t place = start;
        for (uint32_t from = order[place]; from != start; from = order[place]) {
            _entries[place] = _entries[from];
            order[place] = place;
            place = from;
        }
        _entries[place] = first;
        order[place] = place;
    }
}

std::optional<Node> FolderMap::Find(std::string_view name) const
{
    const uint64_t hash = HashOfName(name);
    const auto found =
        std::lower_bound(_entries.begin(), _entries.end(), hash,
                         [](const Entry &entry, uint64_t wanted) { return entry.hash < wanted; });
    if (found == _entries.end() || found->hash != hash)
        return std::nullopt;
    return found->node;
}

std::shared_ptr<const FolderMap> FolderIndex::Find(uint64_t folder, const Way &way)
{
    const MutexLock lock(_mutex);
    const auto known = _places.find(folder);
    if (known == _places.end() || !(known->second->way == way))
        return nullptr;
    _folders.splice(_folders.begin(), _folders, known->second);
    return known->second->map;
}

void FolderIndex::Keep(uint64_t folder, const Way &way, std::shared_ptr<const FolderMap> map)
{
    const MutexLock lock(_mutex);
    const auto known = _places.find(folder);
    if (known != _places.end())
        Forget(known->second);
    if (!map->IsWhole())
        return;
    while (!_folders.empty() &&
           (_entries + map->Size() > kMostEntries || _folders.size() == kMostFolders))
        Forget(std::prev(_folders.end()));
    _entries += map->Size();
    _folders.push_front({folder, way, std::move(map)});
    _places.emplace(folder, _folders.begin());
}

void FolderIndex::Forget(Folders::iterator folder)
{
    _entries -= folder->map->Size();
    _places.erase(folder->place);
    _folders.erase(folder);
}

}  // namespace vx
