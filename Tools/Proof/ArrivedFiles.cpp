#include "ArrivedFiles.h"

#include <algorithm>

namespace vx {
namespace {

bool ComesBefore(const ArrivedFiles::File &left, const ArrivedFiles::File &right)
{
    return left.number < right.number;
}

}  // namespace

static_assert(sizeof(ArrivedFiles::File) <= 48, "there may be a million of them");

void ArrivedFiles::Add(const File &file, const std::string &path)
{
    const MutexLock lock(_mutex);
    _files.push_back(file);
    if (!path.empty())
        _paths[file.number] = path;
}

void ArrivedFiles::Forget(uint32_t number)
{
    const MutexLock lock(_mutex);
    _forgotten.insert(number);
}

void ArrivedFiles::Sort()
{
    const MutexLock lock(_mutex);
    const std::set<uint32_t> forgotten = _forgotten;
    _files.erase(std::remove_if(
                     _files.begin(), _files.end(),
                     [&forgotten](const File &file) { return forgotten.count(file.number) != 0; }),
                 _files.end());
    std::sort(_files.begin(), _files.end(), ComesBefore);
}

const ArrivedFiles::File *ArrivedFiles::Find(uint32_t number) const
{
    File wanted;
    wanted.number = number;
    const auto found = std::lower_bound(_files.begin(), _files.end(), wanted, ComesBefore);
    return found != _files.end() && found->number == number ? &*found : nullptr;
}

std::string ArrivedFiles::OtherPathOf(uint32_t number) const
{
    const MutexLock lock(_mutex);
    const auto found = _paths.find(number);
    return found == _paths.end() ? "" : found->second;
}

}  // namespace vx
