#include "NtfsFolder.h"

#include "NtfsAttributes.h"
#include "Wtf8.h"

#include <algorithm>

namespace vx {

NtfsFolder::NtfsFolder(const NtfsMft &mft, const ByteSource &volume, const NtfsParents &parents,
                       NtfsReference folder)
    : _mft(mft), _volume(volume), _parents(parents), _folder(folder), _index(mft, volume)
{
}

void NtfsFolder::Begin(const NtfsRecord *record, VolumeObstacle reason)
{
    if (record == nullptr) {
        _index.NoteTrouble(reason);
        return;
    }
    _index.Begin(*record, NtfsNumber(_folder));
    if (!record->IsFolder())
        _index.NoteTrouble(VolumeObstacle::kDamaged);
}

VolumeListing::Step NtfsFolder::Next(FolderEntry *entry)
{
    if (NextOfIndex() || NextLost() || NextRefused()) {
        _hasGivenEntry = true;
        entry->name = _name.name;
        entry->node = {_file, (_name.flags & NtfsIndexName::kFolder) != 0 ? kIsFolder : 0, 0};
        return VolumeListing::Step::kEntry;
    }
    const bool isAllLost = _index.Trouble() != VolumeObstacle::kNone && !_hasGivenEntry;
    return isAllLost ? VolumeListing::Step::kError : VolumeListing::Step::kEnd;
}

bool NtfsFolder::NextOfIndex()
{
    while (_index.Next(&_file, &_name)) {
        const bool isForeign = NtfsNumber(_name.parent) != NtfsNumber(_folder);
        if (isForeign)  // where names of this folder should be
            _index.NoteTrouble(VolumeObstacle::kDamaged);
        if (isForeign)
            continue;
        (_name.isShortName ? _shortNamed : _longNamed)
            .push_back(static_cast<uint32_t>(NtfsNumber(_file)));
        if (_name.isShortName)
            continue;
        if (!IsOwn()) {
            Refuse();
        } else if (IsShown()) {
            _listed.push_back(NtfsLostNames::HashOf(_file, _name.name));
            return true;
        }
    }
    return false;
}

// False if the entry contradicts the record to which it leads, or has a name that no path could
// hold. The file system's own files lie in the root.
bool NtfsFolder::IsOwn()
{
    _record = _mft.Load(_file);
    const bool isOfSystem = NtfsNumber(_file) < NtfsParents::kFirstOrdinary;
    const bool isPlausible =
        isOfSystem ? NtfsNumber(_folder) == NtfsParents::kRoot : IsEntryName(_name.name);
    return isPlausible && (!_record || IsNamedByRecord());
}

// A file of several records may have thousands of names here: they are read once.
bool NtfsFolder::IsNamedByRecord()
{
    if (_record->Base() != 0)
        return false;
    const uint64_t name = HashOfName(_name.name);
    if (!_record->Find(NtfsType::kAttributeList, {}))
        return NamesOfRecord().MayInclude(name);
    const uint64_t number = NtfsNumber(_file);
    auto known = _spread.find(number);
    if (known == _spread.end())
        known = _spread.emplace(number, NamesOfRecord()).first;
    return known->second.MayInclude(name);
}

// A record that is damaged where its names are, or has none, does not contradict.
NtfsFolder::OwnNames NtfsFolder::NamesOfRecord() const
{
    OwnNames names;
    bool hasNames = false;
    const bool areAll =
        VisitLongNames(_mft, _volume, *_record, NtfsNumber(_file), [&](const NtfsIndexName &own) {
            hasNames = true;
            if (NtfsNumber(own.parent) == NtfsNumber(_folder))
                names.here.insert(HashOfName(own.name));
            return true;
        });
    names.mayHaveOthers = !hasNames || !areAll;
    return names;
}

void NtfsFolder::Refuse()
{
    _index.NoteTrouble(VolumeObstacle::kDamaged);
    if (IsEntryName(_name.name) && _refused.size() < kMostRefused)
        _refused.emplace(_name.name, _name);
}

// A short name is always the second one of a file.
void NtfsFolder::CheckShortNames()
{
    std::sort(_longNamed.begin(), _longNamed.end());
    std::sort(_shortNamed.begin(), _shortNamed.end());
    if (!std::includes(_longNamed.begin(), _longNamed.end(), _shortNamed.begin(),
                       _shortNamed.end()))
        _index.NoteTrouble(VolumeObstacle::kDamaged);
}

bool NtfsFolder::NextLost()
{
    if (!_lost) {
        CheckShortNames();
        if (_index.Trouble() == VolumeObstacle::kNone && !_index.IsInDoubt())
            return false;
        _lost.emplace(_mft, _volume, _parents, _folder, _listed);
    }
    while (_lost->Next(&_file, &_name)) {
        if (!IsShown())
            continue;
        _index.NoteTrouble(VolumeObstacle::kDamaged);
        _record = _mft.Load(_file);
        _refused.erase(_name.name);
        ++_recovered;
        return true;
    }
    return false;
}

// What no record has leads to no record.
bool NtfsFolder::NextRefused()
{
    constexpr NtfsReference kNowhere = ~NtfsReference{0};
    if (_refused.empty())
        return false;
    _file = kNowhere;
    _record.reset();
    _name = std::move(_refused.begin()->second);
    _refused.erase(_refused.begin());
    return true;
}

bool NtfsFolder::IsShown() const
{
    return NtfsNumber(_file) >= NtfsParents::kFirstOrdinary && IsEntryName(_name.name);
}

VolumeListingReport NtfsFolder::Report() const
{
    VolumeListingReport report;
    report.reason = _index.Trouble();
    report.isWhole = report.reason == VolumeObstacle::kNone;
    report.recoveredEntries = _recovered;
    return report;
}

void NtfsFolder::Describe(VolumeFindData *record) const
{
    if (_record)
        DescribeNtfsFile(_mft, _volume, *_record, NtfsNumber(_file), record);
    else
        DescribeNtfsName(_name, record);
    if (_record && !_record->IsFolder() &&
        NtfsIndex::IsFolder(_mft, _volume, *_record, NtfsNumber(_file)))
        record->attributes |= kVolumeAttributeDirectory;
}

}  // namespace vx
