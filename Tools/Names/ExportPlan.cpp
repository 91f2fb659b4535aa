#include "ExportPlan.h"

#include "FolderRecords.h"

#include <algorithm>

namespace vx {
namespace {

constexpr size_t kPieceUnits = size_t{1} << 16;
constexpr size_t kMostPieces = (size_t{1} << 32) / kPieceUnits;

}  // namespace

bool PlanEntry::IsLink() const
{
    return (attributes & kAttributeReparsePoint) != 0 &&
           (reparseTag == 0 || (reparseTag & kReparseTagNameSurrogate) != 0);
}

ExportPlan::ExportPlan()
{
    PlanEntry root;
    root.flags = PlanEntry::kIsFolder | PlanEntry::kIsWay;
    _entries.push_back(root);
}

ExportPlan::Number ExportPlan::Add(Number folder, const PlanEntry &entry, std::u16string_view name)
{
    name = name.substr(0, std::min(name.size(), kPieceUnits - 1));
    if (_names.empty() || _names.back().size() + name.size() > kPieceUnits) {
        _names.emplace_back();
        _names.back().reserve(kPieceUnits);
    }
    if (_names.size() > kMostPieces || _entries.size() >= kNone)
        return kNone;
    const auto number = static_cast<Number>(_entries.size());
    PlanEntry added = entry;
    added.parent = folder;
    added.firstChild = 0;
    added.children = 0;
    added.nameBegin =
        static_cast<uint32_t>((_names.size() - 1) * kPieceUnits + _names.back().size());
    added.nameUnits = static_cast<uint16_t>(name.size());
    _names.back().append(name);
    _entries.push_back(added);
    if (_entries[folder].children++ == 0)
        _entries[folder].firstChild = number;
    return number;
}

ExportPlan::Number ExportPlan::AddStream(Number owner, std::u16string_view stream, int64_t size)
{
    constexpr uint32_t kNotOfStreams = kVolumeAttributeDirectory | kAttributeReparsePoint;
    PlanEntry entry = _entries[owner];
    entry.size = size;
    entry.attributes &= ~kNotOfStreams;
    entry.reparseTag = 0;
    entry.flags = PlanEntry::kIsStream;
    const std::u16string name = std::u16string(NameOf(owner)).append(u":").append(stream);
    const Number added = Add(_entries[owner].parent, entry, name);
    if (added != kNone)
        _entries[added].firstChild = owner;
    return added;
}

std::u16string_view ExportPlan::StreamNameOf(Number stream) const
{
    return NameOf(stream).substr(NameOf(OwnerOf(stream)).size() + 1);
}

std::u16string_view ExportPlan::NameOf(Number number) const
{
    const PlanEntry &entry = _entries[number];
    if (entry.nameUnits == 0)
        return {};
    const std::u16string_view piece = _names[entry.nameBegin / kPieceUnits];
    return piece.substr(entry.nameBegin % kPieceUnits, entry.nameUnits);
}

std::u16string ExportPlan::PathOf(Number number) const
{
    std::vector<Number> way;
    for (; number != kRoot; number = _entries[number].parent)
        way.push_back(number);
    std::u16string path;
    for (auto step = way.rbegin(); step != way.rend(); ++step)
        path.append(u"/").append(NameOf(*step));
    return path;
}

ExportPlan::Number ExportPlan::Next(Number number) const
{
    const PlanEntry &entry = _entries[number];
    return entry.children > 0 ? entry.firstChild : NextBeside(number);
}

ExportPlan::Number ExportPlan::NextBeside(Number number) const
{
    while (number != kRoot) {
        const PlanEntry &folder = _entries[_entries[number].parent];
        if (number + 1 < folder.firstChild + folder.children)
            return number + 1;
        number = _entries[number].parent;
    }
    return kNone;
}

}  // namespace vx
