#include "PlanBuilder.h"

#include "ExportProgress.h"
#include "Unicode.h"
#include "VolumeSelection.h"

#include <algorithm>
#include <limits>
#include <unordered_set>
#include <utility>

namespace vx {
namespace {

constexpr size_t kRootStep = 0;
// Of a stream; the size of one whose record is lost is larger.
constexpr uint64_t kLargestSize = std::numeric_limits<int64_t>::max();

PlanEntry EntryOf(const FolderRecord &record, uint8_t flags)
{
    PlanEntry entry;
    entry.created = record.created;
    entry.accessed = record.accessed;
    entry.modified = record.modified;
    entry.size = record.size;
    entry.attributes = record.attributes;
    entry.reparseTag = record.reparseTag;
    entry.flags = record.IsFolder() ? flags | PlanEntry::kIsFolder : flags;
    return entry;
}

bool IsSelfOrParent(std::u16string_view name)
{
    return name == u"." || name == u"..";
}

}  // namespace

// A named entry, or a folder on the way to one.
struct PlanBuilder::Step {
    FolderRecord record;
    std::vector<size_t> children;  // in the order of the command line
    bool isNamed = false;
};

bool PlanBuilder::Build(const std::vector<std::string> &paths, PlannedExport *planned,
                        std::string *error)
{
    _planned = planned;
    std::vector<Step> steps(1);
    steps[kRootStep].isNamed = paths.empty();
    for (const std::string &path : paths) {
        NamedEntry entry;
        if (!FindEntry(_shelf, path, &entry, error))
            return false;
        Select(entry, &steps);
    }
    AddSteps(steps);
    ReadAll();
    if (_isTooLarge)
        *error = "there are too many files and folders for one export; name some of them";
    return !_isTooLarge;
}

// What lies in a named folder is left out: that folder brings it.
void PlanBuilder::Select(const NamedEntry &entry, std::vector<Step> *steps)
{
    size_t at = kRootStep;
    for (const FolderRecord &record : entry.way) {
        if ((*steps)[at].isNamed)
            return;
        const std::vector<size_t> &children = (*steps)[at].children;
        const auto known =
            std::find_if(children.begin(), children.end(), [steps, &record](size_t child) {
                return (*steps)[child].record.name == record.name;
            });
        if (known != children.end()) {
            at = *known;
            continue;
        }
        const size_t added = steps->size();
        steps->push_back({record, {}, false});
        (*steps)[at].children.push_back(added);
        at = added;
    }
    (*steps)[at].isNamed = true;
    (*steps)[at].children.clear();
}

void PlanBuilder::AddSteps(const std::vector<Step> &steps)
{
    ExportPlan &plan = _planned->plan;
    if (steps[kRootStep].isNamed)
        plan.At(ExportPlan::kRoot).flags = PlanEntry::kIsFolder;
    std::vector<std::pair<size_t, Number>> folders = {{kRootStep, ExportPlan::kRoot}};
    for (size_t i = 0; i < folders.size(); ++i) {
        const auto [folder, number] = folders[i];
        std::u16string path = plan.PathOf(number);
        for (const size_t child : steps[folder].children) {
            const uint8_t flag = steps[child].isNamed ? PlanEntry::kIsNamed : PlanEntry::kIsWay;
            const Number added = AddEntry(number, &path, steps[child].record, flag);
            if (added != ExportPlan::kNone)
                folders.push_back({child, added});
        }
        AddStreamsIn(number);
    }
}

void PlanBuilder::ReadAll()
{
    ExportPlan &plan = _planned->plan;
    for (Number number = ExportPlan::kRoot; number != ExportPlan::kNone && !_isTooLarge;
         number = plan.Next(number)) {
        PlanEntry &entry = plan.At(number);
        if (!entry.IsFolder() || entry.Has(PlanEntry::kIsWay) || entry.Has(PlanEntry::kIsRepeated))
            continue;
        const std::u16string_view name = plan.NameOf(number);
        const bool isRoot = number == ExportPlan::kRoot;
        if (!isRoot && (name.empty() || !IsUtf16(name)))
            entry.flags |= PlanEntry::kIsUnlistable;
        else if (!IsSelfOrParent(name))
            ReadFolderOf(number);
    }
}

void PlanBuilder::ReadFolderOf(Number folder)
{
    std::u16string path = _planned->plan.PathOf(folder);
    const auto report =
        _shelf.Take(path, [this, folder, place = path](const FolderRecord &record) mutable {
            AddEntry(folder, &place, record, 0);
        });
    if (!report)
        _planned->plan.At(folder).flags |= PlanEntry::kIsUnlistable;
    else if (!report->isWhole || report->recoveredEntries > 0)
        _planned->damagedFolders.insert({folder, *report});
    MarkRepeated(folder);
    if (_addsStreams && folder == ExportPlan::kRoot)
        AddStreamsOf(folder);
    AddStreamsIn(folder);
}

// After all other entries of the folder, since a listing ends before other questions are asked.
void PlanBuilder::AddStreamsIn(Number folder)
{
    if (!_addsStreams)
        return;
    const ExportPlan &plan = _planned->plan;
    constexpr uint8_t kWithout = PlanEntry::kIsWay | PlanEntry::kIsRepeated | PlanEntry::kIsStream;
    const Number first = plan.At(folder).firstChild;
    const Number end = first + plan.At(folder).children;
    for (Number child = first; child < end; ++child) {
        const std::u16string_view name = plan.NameOf(child);
        const bool hasPath = !name.empty() && IsUtf16(name) && !IsSelfOrParent(name);
        if (hasPath && (plan.At(child).flags & kWithout) == 0)
            AddStreamsOf(child);
    }
    if (plan.At(folder).firstChild + plan.At(folder).children > end)
        MarkRepeated(folder);
}

void PlanBuilder::AddStreamsOf(Number owner)
{
    ExportPlan &plan = _planned->plan;
    std::vector<VolumeStream> streams;
    const std::u16string path = plan.PathOf(owner);
    if (!_reports.VisitStreams(path.empty() ? u"/" : path, &streams))
        _planned->lackingStreams.push_back(owner);
    for (const VolumeStream &stream : streams) {
        const int64_t size = stream.size <= kLargestSize ? static_cast<int64_t>(stream.size) : 0;
        if (plan.AddStream(owner, stream.name, size) == ExportPlan::kNone)
            _isTooLarge = true;
        ++_planned->files;
        _planned->bytes = AddSizes(_planned->bytes, size);
    }
}

// path: the folder's, and so again when this returns.
PlanBuilder::Number PlanBuilder::AddEntry(Number folder, std::u16string *path,
                                          const FolderRecord &record, uint8_t flags)
{
    const PlanEntry entry = EntryOf(record, flags);
    if (_filter && !entry.Has(PlanEntry::kIsWay)) {
        const size_t length = path->size();
        path->append(u"/").append(record.name);
        const bool isChosen = _filter(*path, entry);
        path->resize(length);
        if (!isChosen) {
            _planned->plan.At(folder).flags |= PlanEntry::kIsThinned;
            return ExportPlan::kNone;
        }
    }
    const Number added = _planned->plan.Add(folder, entry, record.name);
    if (added == ExportPlan::kNone) {
        _isTooLarge = true;
    } else if (!entry.IsFolder()) {
        ++_planned->files;
        _planned->bytes = AddSizes(_planned->bytes, std::max<int64_t>(entry.size, 0));
    }
    return added;
}

// Names are compared only where their hashes are equal, so that nothing is kept for each name.
void PlanBuilder::MarkRepeated(Number folder)
{
    ExportPlan &plan = _planned->plan;
    const Number first = plan.At(folder).firstChild;
    const Number end = first + plan.At(folder).children;
    const std::hash<std::u16string_view> hashOf;
    std::vector<size_t> hashes;
    hashes.reserve(end - first);
    for (Number child = first; child < end; ++child)
        hashes.push_back(hashOf(plan.NameOf(child)));
    std::sort(hashes.begin(), hashes.end());
    std::unordered_set<size_t> suspects;
    for (size_t i = 1; i < hashes.size(); ++i) {
        if (hashes[i] == hashes[i - 1])
            suspects.insert(hashes[i]);
    }
    if (suspects.empty())
        return;
    std::unordered_set<std::u16string_view> seen;
    for (Number child = first; child < end; ++child) {
        const std::u16string_view name = plan.NameOf(child);
        if (suspects.count(hashOf(name)) != 0 && !seen.insert(name).second)
            plan.At(child).flags |= PlanEntry::kIsRepeated;
    }
}

}  // namespace vx
