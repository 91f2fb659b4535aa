#include "PlanNames.h"

#include "FolderNames.h"
#include "LocalText.h"
#include "NameFolding.h"

#include <utility>
#include <vector>

namespace vx {

PlanNames::PlanNames(const ExportPlan &plan, const DestinationTraits &traits, std::string nameOfOne)
    : _plan(plan), _traits(traits), _nameOfOne(std::move(nameOfOne))
{
    if (!_nameOfOne.empty())
        return;
    for (Number number = ExportPlan::kRoot; number < plan.Size(); ++number) {
        if (plan.At(number).children > 0)
            FolderNames(plan, number, _traits, FoldedFor).Choose(&_changed);
    }
}

std::string PlanNames::PathOf(Number number, bool *isChanged) const
{
    *isChanged = false;
    if (!_nameOfOne.empty())
        return number == ExportPlan::kRoot ? "" : _nameOfOne;
    std::vector<Number> way;
    for (; number != ExportPlan::kRoot; number = _plan.At(number).parent)
        way.push_back(number);
    std::string path;
    for (auto step = way.rbegin(); step != way.rend(); ++step) {
        if (!AppendName(*step, &path, isChanged))
            return "";
    }
    return path;
}

bool PlanNames::AppendName(Number number, std::string *path, bool *isChanged) const
{
    if (!path->empty())
        *path += '/';
    const auto changed = _changed.find(number);
    if (changed != _changed.end()) {
        *isChanged = true;
        *path += changed->second;
        return true;
    }
    std::string text;
    if (!LocalTextOf(_plan.NameOf(number), &text))
        return false;
    std::string separator;
    for (const std::string &part : PartsOf(text)) {
        if (part == "..")
            return false;
        *path += separator + part;
        separator = "/";
    }
    return true;
}

}  // namespace vx
