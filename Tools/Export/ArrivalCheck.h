// Checks afterwards whether each planned file has arrived: what the arrivals recorded, whether its
// copy is where it was put, with the size that it had on the volume, and on request whether it
// still is what was written to it.
//
// Ownership: borrows all that it is made with. Threads: main, with no worker left.
#pragma once

#include "ArrivalSink.h"
#include "Arrivals.h"
#include "CopyProgress.h"
#include "DestinationTree.h"
#include "EntryFailures.h"
#include "ExportReport.h"
#include "PlanBuilder.h"
#include "PlanNames.h"
#include "VolumeSession.h"

#include <string>

namespace vx {

class ArrivalCheck {
public:
    using Number = ExportPlan::Number;

    struct Settings {
        bool verifies = false;
        // By a StopRequest; not if the export was stopped.
        bool mayBeStopped = false;
    };

    ArrivalCheck(const VolumeSession &session, const PlannedExport &planned, DestinationTree &tree,
                 const PlanNames &names, ArrivalSink &sink, Settings settings,
                 CopyProgress &progress, ExportReport *report);

    // Adds the result of the plan.
    void CheckFiles(const Arrivals &arrivals);

private:
    struct Copy {
        Number number;
        Arrival arrival;
        std::string path;  // relative to the destination
        bool isChanged = false;
    };

    void CheckFile(Number file, const Arrival &arrival);
    void CheckArrived(const Copy &copy);
    void CheckDamaged(const Copy &copy);
    Copy CopyOf(Number file, const Arrival &arrival) const;
    void NoteName(const Copy &copy);
    void NoteUnreached(Number file);
    void Count(const Copy &copy);
    std::string Difference(const Copy &copy, FailureKind *kind);
    bool WasStopped() const;

    const ExportPlan &_plan;
    DestinationTree &_tree;
    const PlanNames &_names;
    ArrivalSink &_sink;
    const Settings _settings;
    CopyProgress &_progress;
    ExportReport &_report;
    EntryFailures _failures;
};

}  // namespace vx
