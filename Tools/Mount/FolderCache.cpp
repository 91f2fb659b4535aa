#include "FolderCache.h"

#include <iterator>

namespace vx {

FolderCache::Folder FolderCache::Find(uint64_t number)
{
    const MutexLock lock(_mutex);
    const auto place = _places.find(number);
    if (place == _places.end())
        return nullptr;
    _list.splice(_list.begin(), _list, place->second);
    return place->second->folder;
}

void FolderCache::Keep(uint64_t number, const Folder &folder)
{
    const MutexLock lock(_mutex);
    if (const auto known = _places.find(number); known != _places.end())
        Drop(known->second);
    while (!_list.empty() &&
           (_list.size() >= kMostFolders || _entries + folder->Size() > kMostEntries))
        Drop(std::prev(_list.end()));
    _list.push_front({number, folder});
    _places[number] = _list.begin();
    _entries += folder->Size();
}

void FolderCache::Drop(List::iterator kept)
{
    _entries -= kept->folder->Size();
    _places.erase(kept->number);
    _list.erase(kept);
}

}  // namespace vx
