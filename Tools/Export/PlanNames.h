// Where each entry of a plan arrives below the destination: its names from the root down, with a
// backslash read as "/". Names that change:
// - one that is too long is cut, keeps its extension and gets a number;
// - what the destination refuses becomes "_";
// - of names that the destination takes for one, all but the first get a number;
// - a name of separators only becomes "_";
// - "" and "." between separators are left out.
//
// All names are chosen when it is made, so that the same plan gives the same names. Memory: only
// for names that change.
// Ownership: borrows the plan, which is complete. Threads: any.
#pragma once

#include "DestinationTraits.h"
#include "ExportPlan.h"

#include <string>
#include <unordered_map>

namespace vx {

class PlanNames {
public:
    using Number = ExportPlan::Number;

    // traits: of the destination. nameOfOne: what the only entry of the plan is called there, as
    // the user wants it; empty: each has the name that it has on the volume.
    PlanNames(const ExportPlan &plan, const DestinationTraits &traits, std::string nameOfOne = "");

    // The entry's path relative to the destination: "a/b.txt". isChanged: whether a name on the way
    // differs from the one on the volume, apart from backslashes. Empty for the root, and if a name
    // is not valid text or would lead out of the destination.
    std::string PathOf(Number number, bool *isChanged) const;

    // Of the destination.
    const DestinationTraits &Traits() const { return _traits; }

private:
    bool AppendName(Number number, std::string *path, bool *isChanged) const;

    const ExportPlan &_plan;
    const DestinationTraits _traits;
    const std::string _nameOfOne;
    std::unordered_map<Number, std::string> _changed;  // a name may be a path here: "a/b"
};

}  // namespace vx
