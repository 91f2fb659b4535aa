// Puts the files of one export into the destination, and records how each ended.
//
// A file arrives under a hidden name and takes its place when it is complete; until then the place
// keeps what it holds. A copy that is not whole replaces nothing: it is put beside a file that is
// in its place. Files that this export has written, or reads, are never replaced.
//
// Ownership: borrows all that it is made with; entries belong to the plan.
// Threads: the export's worker; the queries once that has ended.
#pragma once

#import <Foundation/Foundation.h>

#include "ArrivingFile.h"
#include "DestinationTree.h"
#import "ExportPlacing.h"
#import "LocalNames.h"
#include "PlacedFiles.h"
#include "SourceFiles.h"
#import "VolumeSession.h"

#include <cstdio>
#include <string>
#include <unordered_set>
#include <vector>

namespace vx {

struct Arrival {
    enum class State {
        kArrived,     // whole; the copy noticed no damage
        kDamaged,     // a copy is there, and not whole
        kFailed,      // there is no copy
        kUnopened,    // the volume did not open it; the obstacle says why, if it is known
        kUnfinished,  // the export stopped inside it; there is no copy
    };

    Z5FindData *entry = nil;
    State state = State::kFailed;
    std::string reason;  // follows a colon; empty for kArrived and kUnopened
    VolumeObstacle obstacle = VolumeObstacle::kNone;
    int64_t size = 0;        // in bytes
    std::string path;        // of the copy, relative to the destination
    bool isChanged = false;  // the path has another name than the volume
};

class Arrivals {
public:
    enum class Stop { kNone, kDiskFull, kDiskGone };

    Arrivals(const VolumeSession &session, DestinationTree &tree, LocalNames &names,
             const SourceFiles &sources, bool namesAllRanges)
        : _session(session),
          _tree(tree),
          _names(names),
          _sources(sources),
          _namesAllRanges(namesAllRanges)
    {
    }

    // The three operations of ExportPlacing.
    bool MakeFolder(Z5FindData *entry);
    FILE *Open(Z5FindData *entry);
    void End(Z5FindData *entry, const ExportOutcome &outcome);

    // Whether the export cannot go on: the destination is full, or the volume's disk is gone.
    bool MustStop();

    Stop StoppedBy() const { return _stop; }
    // In the order of the plan, without those that a stop left out.
    const std::vector<Arrival> &All() const { return _all; }

private:
    bool Refuse(const std::string &reason);
    bool IsFree();
    bool MayReplace(const struct stat &found);
    void Judge(const ExportOutcome &outcome, Arrival *arrival);
    void Deliver(Arrival *arrival);
    bool TakePlace();
    void DeliverDamaged(Arrival *arrival);
    void NoteUnwritten(const ExportOutcome &outcome, Arrival *arrival);
    void NoteFull(int error);
    bool IsDamaged(const Arrival &arrival) const;
    std::string DamageOf(const Arrival &arrival) const;

    const VolumeSession &_session;
    DestinationTree &_tree;
    LocalNames &_names;
    const SourceFiles &_sources;
    const bool _namesAllRanges;

    // Of the current entry.
    DestinationTree::Folder _opened;
    int _folder = -1;  // the same
    std::string _path;
    std::string _name;
    bool _isChanged = false;
    bool _replaces = false;  // an ordinary file, _replaced
    struct stat _replaced;
    std::string _reason;
    ArrivingFile _file;

    Stop _stop = Stop::kNone;
    std::unordered_set<std::u16string> _seen;
    PlacedFiles _placed{{}, 0};
    std::vector<Arrival> _all;
};

}  // namespace vx
