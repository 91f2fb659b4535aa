#include "ExportFolders.h"

namespace vx {
namespace {

bool IsSelfOrParent(std::u16string_view name)
{
    return name == u"." || name == u"..";
}

bool IsOfUse(const ExportPlan &plan, ExportPlan::Number folder)
{
    return !plan.At(folder).Has(PlanEntry::kIsUnlistable | PlanEntry::kIsRepeated) &&
           !IsSelfOrParent(plan.NameOf(folder));
}

}  // namespace

ExportFolders::ExportFolders(const ExportPlan &plan, DestinationTree &tree, const PlanNames &names)
    : _plan(plan), _tree(tree), _names(names)
{
    NoteExisting();
}

// The folders on the way stand before all others, as they were added first.
void ExportFolders::NoteExisting()
{
    std::string reason;
    int error = 0;
    for (Number folder = ExportPlan::kRoot; folder < _plan.Size(); ++folder) {
        const PlanEntry &entry = _plan.At(folder);
        if (!entry.Has(PlanEntry::kIsWay | PlanEntry::kIsNamed) && folder != ExportPlan::kRoot)
            return;
        if (entry.Has(PlanEntry::kIsWay) &&
            Enter(folder, DestinationTree::Missing::kFail, &reason, &error))
            _existing.insert(folder);
    }
}

// What was chosen wants the folders above it; a parent has a smaller number than its children.
std::vector<bool> ExportFolders::Wanted(const ExportPlan &plan)
{
    std::vector<bool> isWanted(plan.Size());
    for (auto number = static_cast<Number>(plan.Size() - 1); number > ExportPlan::kRoot; --number) {
        const PlanEntry &entry = plan.At(number);
        const bool isEmptied = entry.Has(PlanEntry::kIsThinned | PlanEntry::kIsWay);
        const bool wantsParent =
            !entry.IsFolder() || isWanted[number] || (!isEmptied && IsOfUse(plan, number));
        isWanted[number] = entry.IsFolder() && wantsParent && IsOfUse(plan, number);
        if (wantsParent)
            isWanted[entry.parent] = true;
    }
    return isWanted;
}

bool ExportFolders::HasFile(Number folder, const Arrivals &arrivals) const
{
    const Number first = _plan.At(folder).firstChild;
    const Number end = first + _plan.At(folder).children;
    for (Number child = first; child < end; ++child) {
        if (!_plan.At(child).IsFolder() && arrivals.StateOf(child) == Arrival::State::kArrived)
            return true;
    }
    return false;
}

void ExportFolders::MakeMissing(ExportStop &stop, Arrivals *arrivals)
{
    const std::vector<bool> isWanted = Wanted(_plan);
    for (Number number = ExportPlan::kRoot; number != ExportPlan::kNone && !stop.IsDue();
         number = _plan.Next(number)) {
        if (number != ExportPlan::kRoot && isWanted[number] && !HasFile(number, *arrivals))
            Make(number, stop, arrivals);
    }
}

// What keeps a folder from being made keeps those in it, too, and has been said of files in it.
void ExportFolders::Make(Number folder, ExportStop &stop, Arrivals *arrivals)
{
    Arrival arrival;
    arrival.state = Arrival::State::kFailed;
    int error = 0;
    const PlanEntry &entry = _plan.At(folder);
    const bool isSaid = arrivals->StateOf(entry.parent) == Arrival::State::kFailed;
    if (!isSaid && Enter(folder, DestinationTree::Missing::kMake, &arrival.reason, &error))
        return;
    stop.NoteError(error);
    arrival.size = entry.size;
    arrivals->Set(folder, arrival);
}

void ExportFolders::GiveDates(ExportDates *dates)
{
    if (!dates->AreWanted())
        return;
    std::string reason;
    int error = 0;
    for (auto number = static_cast<Number>(_plan.Size() - 1); number > ExportPlan::kRoot;
         --number) {
        if (!_plan.At(number).IsFolder() || !IsOfUse(_plan, number) || _existing.count(number) != 0)
            continue;
        if (const auto folder = Enter(number, DestinationTree::Missing::kFail, &reason, &error))
            dates->Give(number, folder->Get());
    }
}

// Null with an empty reason: the folder has no name here.
DestinationTree::Folder ExportFolders::Enter(Number folder, DestinationTree::Missing missing,
                                             std::string *reason, int *error) const
{
    bool isChanged = false;
    const std::string path = _names.PathOf(folder, &isChanged);
    if (path.empty())
        return nullptr;
    return _tree.Enter(path, missing, reason, error);
}

}  // namespace vx
