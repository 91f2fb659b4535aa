// Whether the disk of the destination has room for what is exported.
//
// Ownership: borrows all that it is made with. Threads: main.
#pragma once

#include <string>

#include "DestinationTree.h"
#include "FreeSpace.h"
#include "PlanNames.h"
#include "VolumeReports.h"

namespace vx {

class RoomCheck {
public:
    RoomCheck(const ExportPlan &plan, const VolumeReports &reports, const DestinationTree &tree,
              const PlanNames &names)
        : _plan(plan), _reports(reports), _tree(tree), _names(names)
    {
    }

    // shownFolder: the destination's path. False: error says in one line what is
    // missing. True as well where the system does not say what is free.
    bool HasRoom(const std::string &shownFolder, std::string *error) const;

private:
    uint64_t RoughNeed(const DiskSpace &space) const;
    uint64_t ExactNeed(const DiskSpace &space) const;
    bool IsExported(ExportPlan::Number number) const;
    int64_t GivenBackFor(ExportPlan::Number number) const;

    const ExportPlan &_plan;
    const VolumeReports &_reports;
    const DestinationTree &_tree;
    const PlanNames &_names;
};

}  // namespace vx
