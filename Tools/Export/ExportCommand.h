// Exports files and folders of a volume to a folder of this machine and reports what arrived.
//
// Progress goes to standard error, the summary to standard output. Threads: main.
#pragma once

#include "ArrivalSink.h"
#include "Arrivals.h"
#include "Destination.h"
#include "DestinationTree.h"
#include "ExportDates.h"
#include "ExportFolders.h"
#include "ExportReport.h"
#include "ExportStop.h"
#include "Options.h"
#include "PlanBuilder.h"
#include "PlanNames.h"
#include "SourceFiles.h"
#include "VolumeSession.h"

#include <string>

namespace vx {

class ExportCommand {
public:
    // destination: usable. sink: borrowed.
    ExportCommand(const VolumeSession &session, const Options &options, Destination destination,
                  ArrivalSink &sink);

    // The program's exit status.
    int Run();

private:
    bool MakePlan(std::string *error);
    SourceFiles Sources() const;
    bool Survey(std::string *error) const;
    int RunInto(bool isNew);
    bool MayBegin(const PlanNames &names, std::string *error);
    bool HasRoom(const PlanNames &names, std::string *error);
    void Export(const PlanNames &names);
    void Copy(const PlanNames &names, Arrivals *arrivals);
    void Finish(ExportFolders *folders, ExportDates *dates, ExportStop *stop, Arrivals *arrivals);
    void Sync();
    void Check(const PlanNames &names, const Arrivals &arrivals);
    int Report();
    int Refuse(int status, const std::string &error);
    int Status() const;

    const VolumeSession &_session;
    const Options &_options;
    Destination _destination;
    ArrivalSink &_sink;
    DestinationTree _tree;
    DestinationTraits _traits;
    PlannedExport _planned;
    ExportReport _report;
    int _signal = 0;
};

}  // namespace vx
