// Where the files of one export arrive, and what may stand there. An existing file is replaced by a
// complete one only; files that this export has written, or reads, are never replaced.
//
// Ownership: borrows all that it is made with. Threads: any. A free place is taken in one step, and
// so is any other after the last look at it.
// Errors: a reason in words, ready to follow a colon, and an errno where the system gave one.
#pragma once

#include "ArrivingFile.h"
#include "DestinationTree.h"
#include "LocalFileOpening.h"
#include "Mutex.h"
#include "PlacedFiles.h"
#include "PlanNames.h"
#include "SourceFiles.h"

#include <memory>
#include <string>
#include <sys/stat.h>

namespace vx {

struct ArrivalPlace {
    ArrivingFile::Folder folder;
    std::string folderPath;  // relative to the destination
    std::string name;
    bool isChanged = false;  // a name on the way is not the one on the volume

    std::string Path() const { return folderPath.empty() ? name : folderPath + "/" + name; }
};

// What is in a place before the file arrives.
struct Standing {
    LocalTarget target = LocalTarget::kNothing;
    struct stat found = {};

    // Whether an ordinary file is replaced.
    bool IsFile() const { return target != LocalTarget::kNothing && S_ISREG(found.st_mode); }
};

struct PlaceError {
    std::string reason;
    int error = 0;
};

class ArrivalPlaces {
public:
    using Number = ExportPlan::Number;

    ArrivalPlaces(const ExportPlan &plan, DestinationTree &tree, const PlanNames &names,
                  const SourceFiles &sources);

    const PartialNames &Partials() const { return _partials; }
    const DestinationTraits &Traits() const { return _names.Traits(); }

    // place: of the file before, whose folder is often the same. missing: what is done about
    // folders on the way; ENOENT if they are not made.
    bool Find(Number number, DestinationTree::Missing missing, ArrivalPlace *place,
              PlaceError *error);

    // Whether the file may arrive.
    bool MayTake(const ArrivalPlace &place, Standing *standing, PlaceError *error);

    // Leaves what is complete in its place, where no later file of this export may come.
    bool Keep(Number number, const ArrivalPlace &place, PlaceError *error);
    // Puts a complete file into its place.
    bool Deliver(Number number, const ArrivalPlace &place, ArrivingFile *file, PlaceError *error);
    // Puts a damaged copy into its place if that is free, and beside it if not. The name of the
    // copy; empty: error.
    std::string DeliverDamaged(Number number, const ArrivalPlace &place, ArrivingFile *file,
                               PlaceError *error);

private:
    bool RefuseTaken(Number earlier, PlaceError *error) const;
    bool MayReplace(const ArrivalPlace &place, const struct stat &found, PlaceError *error);
    // How an ArrivingFile takes its place.
    using Move = bool (ArrivingFile::*)();
    bool Put(Number number, const ArrivalPlace &place, ArrivingFile *file, Move move,
             PlaceError *error);

    const ExportPlan &_plan;
    const PlanNames &_names;
    const SourceFiles &_sources;
    const PartialNames _partials;
    // Held from the last look at a place that is not simply free until it is taken.
    Mutex _mutex;
    DestinationTree &_tree;
    PlacedFiles _placed;
};

}  // namespace vx
