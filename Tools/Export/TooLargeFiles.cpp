#include "TooLargeFiles.h"

#include "EntryObstacle.h"
#include "NumberText.h"
#include "PlanText.h"
#include "ThreadChecks.h"

#include <algorithm>
#include <cstdio>
#include <vector>

namespace vx {
namespace {

using Number = ExportPlan::Number;

// Named without --verbose.
constexpr size_t kFewNamed = 20;

std::vector<Number> TooLarge(const ExportPlan &plan, const VolumeReports &reports, int64_t largest)
{
    std::vector<Number> files;
    for (Number file = ExportPlan::kRoot; file != ExportPlan::kNone; file = plan.Next(file)) {
        const PlanEntry &entry = plan.At(file);
        if (!entry.IsFolder() && entry.size > largest && HasCopy(ObstacleOf(plan, file, reports)))
            files.push_back(file);
    }
    return files;
}

}  // namespace

void NameTooLargeFiles(const ExportPlan &plan, const VolumeReports &reports,
                       const DestinationTraits &traits, bool verbose)
{
    AssertMainThread();
    const std::vector<Number> files = TooLarge(plan, reports, traits.largestFile);
    if (files.empty())
        return;
    const size_t shown = verbose ? files.size() : std::min(files.size(), kFewNamed);
    fprintf(stderr,
            "Too large for the destination, whose disk takes files of up to %s, and not exported: "
            "%s%s\n",
            SizeText(traits.largestFile).c_str(),
            CountText(static_cast<int64_t>(files.size()), "file", "files").c_str(),
            shown < files.size() ? " (--verbose names them all)" : "");
    for (size_t i = 0; i < shown; ++i)
        fprintf(stderr, "  %s: %s\n", ShownPathOf(plan, files[i]).c_str(),
                SizeText(plan.At(files[i]).size).c_str());
}

std::string ReasonTooLarge(const DestinationTraits &traits)
{
    return "too large: the destination's disk takes files of up to " +
           ExactSizeText(traits.largestFile);
}

}  // namespace vx
