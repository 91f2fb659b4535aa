// Exports files and folders of a volume to a folder of this machine and reports what arrived.
//
// Progress goes to standard error, the summary to standard output. Threads: main.
#pragma once

#include <cstdint>
#include <string>

#include "Arrivals.h"
#include "Destination.h"
#include "DestinationTree.h"
#include "ExportReport.h"
#include "Options.h"
#import "VolumeSession.h"
#import "Z5FileManager.h"

namespace vx {

class ExportCommand {
public:
    // destination: usable.
    ExportCommand(const VolumeSession &session, const Options &options, Destination destination);

    // The program's exit status.
    int Run();

private:
    struct Plan {
        Z5FileManager *engine = nil;  // nil if there is no file to copy
        NSArray *files = nil;
        int64_t bytes = 0;
    };

    Plan MakePlan(NSArray *selected) const;
    bool HasRoom(const Plan &plan, std::string *error) const;
    void Export(NSArray *selected, const Plan &plan);
    void Copy(const Plan &plan, Arrivals *arrivals);
    void Check(const Plan &plan, NSArray *selected, const Arrivals &arrivals);
    int Status() const;

    const VolumeSession &_session;
    const Options &_options;
    Destination _destination;
    DestinationTree _tree;
    ExportReport _report;
    int _signal = 0;
};

}  // namespace vx
