// Adds to a report what of a plan does not arrive, or would not, and why.
//
// Ownership: borrows all that it is made with. Threads: main.
#pragma once

#include "Arrivals.h"
#include "ExportReport.h"
#include "PlanBuilder.h"
#include "VolumeReports.h"

#include <string>

namespace vx {

class EntryFailures {
public:
    using Number = ExportPlan::Number;

    EntryFailures(const PlannedExport &planned, const VolumeReports &reports, ExportReport *report)
        : _planned(planned), _reports(reports), _report(*report)
    {
    }

    // The folders that could not be listed or made, or are not whole, and the entries that may have
    // more streams than were found. arrivals: null if nothing has been exported.
    void AddFolders(const Arrivals *arrivals);
    // What the volume does not open: as a failure, as one of many or as a link. reason: follows
    // the entry's path and a colon.
    void AddUnopened(Number entry, VolumeObstacle obstacle, const std::string &reason);
    // A folder that cannot be made, unless files in it say so.
    void AddUnmade(Number folder, FailureKind kind, const std::string &reason);
    void Add(Number entry, FailureKind kind, const std::string &reason);
    void Add(ExportReport::Failure failure) { _report.failures.push_back(std::move(failure)); }

private:
    void AddFolder(Number folder, const Arrivals *arrivals);
    bool HasFiles(Number folder) const;

    const PlannedExport &_planned;
    const VolumeReports &_reports;
    ExportReport &_report;
};

}  // namespace vx
