// What an earlier export has put into the destination beside the files of this plan: its records
// stay in the hash list as long as the file is in its place with its size. Damaged copies are left
// out.
//
// Ownership: borrows all that it is made with. Memory: 8 bytes for each file of the plan and each
// such record. Threads: one.
#pragma once

#include "ArrivalSink.h"
#include "EarlierRecords.h"

#include <vector>

namespace vx {

class UnplannedRecords {
public:
    UnplannedRecords(const EarlierRecords &earlier, const ExportPlan &plan, const PlanNames &names,
                     DestinationTree &tree);

    // The next one, in the order in which they arrived; false at the end.
    bool Next(ManifestRecord *record);

private:
    bool IsInPlace(const ManifestRecord &record);

    const EarlierRecords &_earlier;
    DestinationTree &_tree;
    std::vector<int64_t> _places;
    size_t _next = 0;
};

}  // namespace vx
