// What an export would do to its destination, found without writing anything.
#pragma once

#include "ArrivalPlaces.h"
#include "ArrivalSink.h"
#include "EntryFailures.h"
#include "ExportReport.h"
#include "FreeSpace.h"
#include "PlanBuilder.h"
#include "PlanNames.h"
#include "SourceFiles.h"
#include "VolumeReports.h"

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <vector>

namespace vx {

struct Forecast {
    ExportReport report;            // what would arrive, and what would not
    int64_t folders = 0;            // that it would be in, the destination aside
    int64_t complete = 0;           // files that are there already, and are not copied again
    int64_t replaced = 0;           // files of this machine
    std::optional<DiskSpace> disk;  // nothing: the system does not say
    uint64_t neededBytes = 0;       // at any time at most

    bool Fits() const { return !disk || neededBytes <= disk->freeBytes; }
    // "not enough room on the disk of X: ..."; one line without a line end.
    std::string ShortageText() const;
};

// verbose: names everything that is only counted otherwise.
void PrintForecast(const Forecast &forecast, const ExportPlan &plan, bool verbose, FILE *stream);

// Whether the disk of an open folder has room for all files of a plan, even if none of them
// replaces another one. True as well where the system does not say.
bool HasRoomForAll(const ExportPlan &plan, int folder);

// Ownership: borrows all that it is made with. Threads: main.
class Forecaster {
public:
    struct Scene {
        const PlannedExport &planned;
        const VolumeReports &reports;
        const PlanNames &names;
        const SourceFiles &sources;
        DestinationTree &tree;
        const ArrivalSink &sink;
        int disk;    // an open folder on the destination's disk
        bool isNew;  // the destination is still to be made; the tree is not open
        bool makesEmptyFolders;
    };

    explicit Forecaster(const Scene &scene);

    // destination: its path, to be shown. Called once.
    Forecast Run(const std::string &destination);

private:
    using Number = ExportPlan::Number;

    void AddFile(Number file);
    bool FindPlace(Number file, PlaceError *error);
    void AddArrival(Number file);
    void MarkFolders(Number file);
    void AddEmptyFolders();
    std::string ReasonBlocked(Number folder);

    const Scene _scene;
    const ExportPlan &_plan;
    const std::optional<DiskSpace> _disk;
    Forecast _forecast;
    RoomCount _room;
    EntryFailures _failures;
    ArrivalPlaces _places;
    ArrivalPlace _place;        // of the file before
    std::vector<bool> _isMade;  // by number: folders that would be there
};

}  // namespace vx
