// Why an entry of the plan does not open.
#pragma once

#include "ExportPlan.h"
#include "VolumeReports.h"

#include <string>

namespace vx {

// path: the entry's on the volume. A reparse point without a tag is a link only where the library
// cannot say more of it.
inline VolumeObstacle ObstacleOf(const PlanEntry &entry, const std::u16string &path,
                                 const VolumeReports &reports)
{
    VolumeEntryReport report;
    const bool isDescribed = reports.DescribeEntry(path, &report);
    const bool isLink = entry.IsLink() && (entry.reparseTag != 0 || !isDescribed);
    return report.obstacle == VolumeObstacle::kNone && isLink ? VolumeObstacle::kLink
                                                              : report.obstacle;
}

// Whether what can be read of such an entry is exported.
inline bool HasCopy(VolumeObstacle obstacle)
{
    return obstacle == VolumeObstacle::kNone || obstacle == VolumeObstacle::kDamaged ||
           obstacle == VolumeObstacle::kUnreadable;
}

// Of a stream: what keeps all of its owner's data from being read.
inline VolumeObstacle ObstacleOf(const ExportPlan &plan, ExportPlan::Number number,
                                 const VolumeReports &reports)
{
    if (!plan.At(number).Has(PlanEntry::kIsStream))
        return ObstacleOf(plan.At(number), plan.PathOf(number), reports);
    VolumeEntryReport owner;
    reports.DescribeEntry(plan.PathOf(plan.OwnerOf(number)), &owner);
    const bool isOfAllData = owner.obstacle == VolumeObstacle::kEncryptedFile;
    return isOfAllData ? owner.obstacle : VolumeObstacle::kNone;
}

}  // namespace vx
