// What the workers of one export share. Ownership: borrows all of it. Threads: any.
#pragma once

#include "ArrivalPlaces.h"
#include "ArrivalSink.h"
#include "Arrivals.h"
#include "CopyProgress.h"
#include "ExportDates.h"
#include "ExportStop.h"

namespace vx {

struct CopyJob {
    const ExportPlan &plan;
    ObservedVolume &volume;
    const VolumeReports &reports;
    ArrivalPlaces &places;
    ArrivalSink &sink;
    ExportDates &dates;
    CopyProgress &progress;
    ExportStop &stop;
    Arrivals &arrivals;
    bool namesAllRanges;       // of what could not be read
    bool leavesHoles = false;  // in the copies, in place of zeros
};

}  // namespace vx
