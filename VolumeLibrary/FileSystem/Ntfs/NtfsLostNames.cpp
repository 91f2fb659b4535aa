#include "NtfsLostNames.h"

#include "FileSystem.h"

#include <algorithm>

namespace vx {

NtfsLostNames::NtfsLostNames(const NtfsMft &mft, const ByteSource &volume,
                             const NtfsParents &parents, NtfsReference folder,
                             const std::vector<uint64_t> &listed)
    : _mft(mft), _volume(volume), _folder(folder), _files(parents.FilesIn(NtfsNumber(folder)))
{
    for (const uint64_t name : listed)
        _listed.Add(name);
}

uint64_t NtfsLostNames::HashOf(NtfsReference file, const std::string &name)
{
    constexpr uint64_t kSpread = 0x9E3779B97F4A7C15;
    return HashOfName(name) ^ NtfsNumber(file) * kSpread;
}

bool NtfsLostNames::Next(NtfsReference *file, NtfsIndexName *name)
{
    while (_names.empty()) {
        if (_next == _files.size())
            return false;
        LoadNames(_files[_next++]);
    }
    *file = _file;
    *name = std::move(_names.back());
    _names.pop_back();
    return true;
}

void NtfsLostNames::LoadNames(uint32_t number)
{
    const auto record = _mft.Load(number);
    if (!record || record->Base() != 0)
        return;
    _file = uint64_t{record->Sequence()} << 48 | number;
    VisitLongNames(_mft, _volume, *record, number, [this](NtfsIndexName name) {
        const uint64_t hash = HashOf(_file, name.name);
        if (IsOfFolder(name) && !_listed.Has(hash)) {
            _listed.Add(hash);
            _names.push_back(std::move(name));
        }
        return true;
    });
    std::reverse(_names.begin(), _names.end());
}

bool NtfsLostNames::IsOfFolder(const NtfsIndexName &name) const
{
    const uint16_t sequence = NtfsSequence(name.parent);
    return NtfsNumber(name.parent) == NtfsNumber(_folder) &&
           (sequence == 0 || NtfsSequence(_folder) == 0 || sequence == NtfsSequence(_folder));
}

}  // namespace vx
