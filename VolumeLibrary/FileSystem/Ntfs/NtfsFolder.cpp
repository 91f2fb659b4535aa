#include "NtfsFolder.h"

#include "NtfsAttributes.h"
#include "Wtf8.h"

namespace vx {

NtfsFolder::NtfsFolder(const NtfsMft &mft, const ByteSource &volume, const NtfsParents &parents,
                       NtfsReference folder)
    : _mft(mft), _volume(volume), _parents(parents), _folder(folder), _index(mft, volume)
{
}

void NtfsFolder::Begin(const NtfsRecord *record, VolumeObstacle reason)
{
    if (record != nullptr)
        _index.Begin(*record, NtfsNumber(_folder));
    else
        _index.NoteTrouble(reason);
}

VolumeListing::Step NtfsFolder::Next(FolderEntry *entry)
{
    const bool isThere = NextOfIndex() || NextLost();
    if (isThere) {
        entry->name = _name.name;
        entry->node = {_file, (_name.flags & NtfsIndexName::kFolder) != 0 ? kIsFolder : 0, 0};
        return VolumeListing::Step::kEntry;
    }
    const bool isAllLost =
        _index.Trouble() != VolumeObstacle::kNone && _listed.empty() && _recovered == 0;
    return isAllLost ? VolumeListing::Step::kError : VolumeListing::Step::kEnd;
}

bool NtfsFolder::NextOfIndex()
{
    while (_index.Next(&_file, &_name)) {
        const bool isForeign = NtfsNumber(_name.parent) != NtfsNumber(_folder);
        if (isForeign)  // where names of this folder should be
            _index.NoteTrouble(VolumeObstacle::kDamaged);
        if (isForeign || _name.isShortName || !IsShown())
            continue;
        _listed.push_back(NtfsLostNames::HashOf(_file, _name.name));
        return true;
    }
    return false;
}

bool NtfsFolder::NextLost()
{
    if (_index.Trouble() == VolumeObstacle::kNone)
        return false;
    if (!_lost)
        _lost.emplace(_mft, _volume, _parents, _folder, _listed);
    while (_lost->Next(&_file, &_name)) {
        if (!IsShown())
            continue;
        ++_recovered;
        return true;
    }
    return false;
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
    const auto file = _mft.Load(_file);
    if (file)
        DescribeNtfsFile(_mft, _volume, *file, NtfsNumber(_file), record);
    else
        DescribeNtfsName(_name, record);
}

}  // namespace vx
