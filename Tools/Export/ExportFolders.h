// The folders of an export: those that no file has brought are made, and all get their dates when
// nothing more is put into them.
//
// A folder is made if it is empty on the volume, or if nothing that was chosen of it could be
// copied; not if a filter left out all that it holds, nor if it could not be listed. A folder that
// only leads to what was named keeps its dates if it was there before.
// Ownership: borrows all that it is made with. Threads: one at a time, with no worker.
#pragma once

#include "Arrivals.h"
#include "DestinationTree.h"
#include "ExportDates.h"
#include "ExportStop.h"
#include "PlanNames.h"

#include <string>
#include <unordered_set>
#include <vector>

namespace vx {

class ExportFolders {
public:
    using Number = ExportPlan::Number;

    // By number: the folders that an export makes, whether files bring them or not.
    static std::vector<bool> Wanted(const ExportPlan &plan);

    // Before anything is copied.
    ExportFolders(const ExportPlan &plan, DestinationTree &tree, const PlanNames &names);

    // After everything is copied. A folder that could not be made is recorded as failed.
    void MakeMissing(ExportStop &stop, Arrivals *arrivals);
    // After that.
    void GiveDates(ExportDates *dates);

private:
    void NoteExisting();
    bool HasFile(Number folder, const Arrivals &arrivals) const;
    void Make(Number folder, ExportStop &stop, Arrivals *arrivals);
    DestinationTree::Folder Enter(Number folder, DestinationTree::Missing missing,
                                  std::string *reason, int *error) const;

    const ExportPlan &_plan;
    DestinationTree &_tree;
    const PlanNames &_names;
    std::unordered_set<Number> _existing;  // of those that only lead to what was named
};

}  // namespace vx
