// Opens a planned file, or a stream beside the data of a planned entry.
#pragma once

#include "ExportPlan.h"
#include "ObservedVolume.h"
#include "OpenVolumeFile.h"

namespace vx {

inline OpenVolumeFile OpenPlanned(ObservedVolume &volume, const ExportPlan &plan,
                                  ExportPlan::Number number)
{
    if (!plan.At(number).Has(PlanEntry::kIsStream))
        return OpenVolumeFile(volume, plan.PathOf(number));
    const ExportPlan::Number owner = plan.OwnerOf(number);
    const std::u16string path = owner == ExportPlan::kRoot ? u"/" : plan.PathOf(owner);
    return OpenVolumeFile(volume,
                          volume.OpenStream(path, std::u16string(plan.StreamNameOf(number))));
}

}  // namespace vx
