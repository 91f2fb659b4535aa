// Says what an export would do, and whether there is room for it. Writes nothing, and does not make
// the destination.
//
// What the destination does with names is not tried, which would take writing: names that it would
// refuse are not known here.
// Ownership: borrows all that it is made with. Threads: main.
#pragma once

#include "Destination.h"
#include "DestinationTree.h"
#include "Forecast.h"
#include "Options.h"
#include "PlanBuilder.h"
#include "VolumeSession.h"

#include <string>

namespace vx {

class DryRun {
public:
    // destination: usable. tree: not open.
    DryRun(const VolumeSession &session, const Options &options, const PlannedExport &planned,
           DestinationTree &tree, const ArrivalSink &sink)
        : _session(session), _options(options), _planned(planned), _tree(tree), _sink(sink)
    {
    }

    // The program's exit status.
    int Run(Destination destination, const SourceFiles &sources);

private:
    bool Look(Destination destination, const SourceFiles &sources, Forecast *forecast,
              std::string *error);
    int Status(const Forecast &forecast) const;

    const VolumeSession &_session;
    const Options &_options;
    const PlannedExport &_planned;
    DestinationTree &_tree;
    const ArrivalSink &_sink;
};

}  // namespace vx
