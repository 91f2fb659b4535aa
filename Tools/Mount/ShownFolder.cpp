#include "ShownFolder.h"

#include "CodePoints.h"
#include "FolderNames.h"
#include "LocalText.h"
#include "OpenVolumeFile.h"

#include <algorithm>
#include <limits>
#include <numeric>

namespace vx {
namespace {

constexpr size_t kLongestName = DestinationTraits::kUsualLongestName;

std::u16string Utf16Of(std::string_view text)
{
    std::u16string units;
    while (!text.empty()) {
        const char32_t point = TakeCharacter(&text);
        units += FirstUnit(point);
        if (UnitCount(point) == 2)
            units += SecondUnit(point);
    }
    return units;
}

// A long name with a backslash would be cut into folders.
bool CanBeShown(std::string_view text)
{
    const bool isPlain = text.size() <= kLongestName || text.find('\\') == text.npos;
    return isPlain && !text.empty() && text != "." && text != ".." && text.find('/') == text.npos;
}

// Every difference counts on this machine.
std::string Unfolded(const DestinationTraits &, const std::string &path)
{
    return path;
}

}  // namespace

std::shared_ptr<const ShownFolder> ShownFolder::Read(IVolume &volume, const VolumeReports &reports,
                                                     const std::u16string &path)
{
    auto folder = std::make_shared<ShownFolder>();
    const auto report = VisitFolder(volume, reports, path,
                                    [&folder](const FolderRecord &entry) { folder->Add(entry); });
    if (!report)
        return nullptr;
    if (!report->isWhole || report->recoveredEntries > 0)
        folder->_isWhole = false;
    folder->SortByName();
    folder->DropRepeated();
    if (folder->_hasLongNames)
        folder->ShortenNames();
    if (folder->_hasLinks)
        folder->FindLinks(volume, path);
    return folder;
}

void ShownFolder::Add(const FolderRecord &record)
{
    std::string name;
    const size_t room = std::numeric_limits<uint32_t>::max() - _names.size();
    if (!LocalTextOf(record.name, &name) || !CanBeShown(name) || name.size() > room) {
        _isWhole = false;
        return;
    }
    ShownEntry entry;
    entry.accessed = record.accessed;
    entry.modified = record.modified;
    entry.size = record.IsFolder() ? 0 : std::max<int64_t>(record.size, 0);
    entry.kind = record.IsLink()     ? ShownEntry::Kind::kLink
                 : record.IsFolder() ? ShownEntry::Kind::kFolder
                                     : ShownEntry::Kind::kFile;
    _hasLongNames = _hasLongNames || name.size() > kLongestName;
    _hasLinks = _hasLinks || (record.IsLink() && !record.IsFolder());
    AppendName(name, &entry);
    _entries.push_back(entry);
}

void ShownFolder::AppendName(std::string_view name, ShownEntry *entry)
{
    entry->nameBegin = static_cast<uint32_t>(_names.size());
    entry->nameBytes = static_cast<uint16_t>(name.size());
    _names += name;
}

// Of equal names the first one stays the first.
void ShownFolder::SortByName()
{
    _byName.resize(_entries.size());
    std::iota(_byName.begin(), _byName.end(), 0);
    std::sort(_byName.begin(), _byName.end(), [this](uint32_t one, uint32_t other) {
        const int order = NameOf(one).compare(NameOf(other));
        return order != 0 ? order < 0 : one < other;
    });
}

// The volume opens only the first of them.
void ShownFolder::DropRepeated()
{
    std::vector<bool> isRepeated;
    for (size_t i = 1; i < _byName.size(); ++i) {
        if (NameOf(_byName[i]) != NameOf(_byName[i - 1]))
            continue;
        isRepeated.resize(_entries.size());
        isRepeated[_byName[i]] = true;
    }
    if (isRepeated.empty())
        return;
    size_t kept = 0;
    for (size_t i = 0; i < _entries.size(); ++i) {
        if (!isRepeated[i])
            _entries[kept++] = _entries[i];
    }
    _entries.resize(kept);
    _isWhole = false;
    SortByName();
}

void ShownFolder::ShortenNames()
{
    ExportPlan plan;
    for (size_t i = 0; i < _entries.size(); ++i)
        plan.Add(ExportPlan::kRoot, PlanEntry(), Utf16Of(NameOf(i)));
    FolderNames::Names names;
    const DestinationTraits traits;
    FolderNames(plan, ExportPlan::kRoot, traits, Unfolded).Choose(&names);
    for (const auto &[number, name] : names) {
        const uint32_t place = number - plan.At(ExportPlan::kRoot).firstChild;
        if (_entries[place].nameBytes <= kLongestName)
            continue;
        _changed.emplace(place, Utf16Of(NameOf(place)));
        AppendName(name, &_entries[place]);
    }
    SortByName();
}

// A plain folder shows a link to one of its files as that file.
void ShownFolder::FindLinks(IVolume &volume, const std::u16string &path)
{
    for (size_t i = 0; i < _entries.size(); ++i) {
        if (_entries[i].kind != ShownEntry::Kind::kLink)
            continue;
        if (OpenVolumeFile(volume, path + u"/" + VolumeNameOf(i)))
            _entries[i].kind = ShownEntry::Kind::kFile;
    }
}

std::u16string ShownFolder::VolumeNameOf(size_t place) const
{
    const auto changed = _changed.find(static_cast<uint32_t>(place));
    return changed != _changed.end() ? changed->second : Utf16Of(NameOf(place));
}

std::optional<size_t> ShownFolder::Find(std::string_view name) const
{
    const auto found = std::lower_bound(
        _byName.begin(), _byName.end(), name,
        [this](uint32_t place, std::string_view wanted) { return NameOf(place) < wanted; });
    if (found == _byName.end() || NameOf(*found) != name)
        return std::nullopt;
    return *found;
}

}  // namespace vx
